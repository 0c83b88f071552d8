#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <string>

#include "Up_KeyEvents.h"

namespace {

// The look at the keys runs in a child whose standard input is the terminal that this test types into. The
// child says what it saw by its exit code.
template <class Body>
int InTerminal(const std::string& typed, Body body)
{
    int master = -1;
    int ready[2] = {-1, -1};
    EXPECT_EQ(0, pipe(ready));
    termios modes = {};
    cfmakeraw(&modes);
    modes.c_lflag = ICANON | ECHO | ISIG;
    const pid_t child = forkpty(&master, nullptr, &modes, nullptr);
    if (child == 0) {
        char go = 0;
        _exit(read(ready[0], &go, 1) == 1 ? body() : 99);
    }
    EXPECT_EQ(static_cast<ssize_t>(typed.size()), write(master, typed.data(), typed.size()));
    EXPECT_EQ(1, write(ready[1], "g", 1));
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    for (const int fd : {master, ready[0], ready[1]}) close(fd);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// How many looks of four see the Escape key, in tens, and how many another one.
int CountLooks(bool flush)
{
    termios before = {}, after = {};
    tcgetattr(STDIN_FILENO, &before);
    const U_KeyEventSource source = Up_TerminalKeyEventSource();
    if (flush) source.flush(source.refcon);
    int seen = 0;
    for (int i = 0; i < 4; ++i) {
        uint16_t code = 0;
        if (source.next(source.refcon, &code)) seen += code == kU_KeyCode_Escape ? 10 : 1;
    }
    tcgetattr(STDIN_FILENO, &after);
    const bool kept = before.c_lflag == after.c_lflag && before.c_cc[VMIN] == after.c_cc[VMIN];
    return kept ? seen : 98;
}

TEST(TerminalKeys, AreSeenOneALookAndModesStay)
{
    struct Row {
        const char* name;
        const char* typed;
        int seen;
        bool flush = false;
    };
    for (const Row& row :
         {Row{"nothing", "", 0}, Row{"letters", "ab", 2}, Row{"Escape", "\x1b", 10},
          Row{"a letter, then Escape", "a\x1b", 11}, Row{"an arrow is no Escape", "\x1b[A", 1},
          Row{"a function key is no Escape", "\x1b[15~", 1}, Row{"dropped", "abc", 0, true}}) {
        EXPECT_EQ(row.seen, InTerminal(row.typed, [&] { return CountLooks(row.flush); })) << row.name;
    }
}

}  // namespace
