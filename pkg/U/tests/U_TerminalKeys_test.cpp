#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <string>

#include "Up_KeyEvents.h"

namespace {

// The look at the keys runs in a child whose standard input is the terminal that this test types into. The
// child says what it saw by its exit code.
int InTerminal(const std::string& typed, int (*body)())
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

struct Look {
    const char* name;
    const char* typed;
    int escapes;  // how many looks of four answer yes
    int others;   // how many of the others see another key
};

class TerminalKeys : public testing::TestWithParam<Look> {};

int CountLooks()
{
    termios before = {}, after = {};
    tcgetattr(STDIN_FILENO, &before);
    const U_KeyEventSource source = Up_TerminalKeyEventSource();
    int escapes = 0, others = 0;
    for (int i = 0; i < 4; ++i) {
        uint16_t code = 0;
        if (!source.next(source.refcon, &code)) continue;
        ++(code == kU_KeyCode_Escape ? escapes : others);
    }
    tcgetattr(STDIN_FILENO, &after);
    if (before.c_lflag != after.c_lflag || before.c_cc[VMIN] != after.c_cc[VMIN]) return 98;
    return escapes * 10 + others;
}

TEST_P(TerminalKeys, AreSeenOneALookAndModesStay)
{
    EXPECT_EQ(GetParam().escapes * 10 + GetParam().others, InTerminal(GetParam().typed, CountLooks));
}

INSTANTIATE_TEST_SUITE_P(Typed, TerminalKeys,
                         testing::Values(Look{"Nothing", "", 0, 0}, Look{"Letters", "ab", 0, 2},
                                         Look{"Escape", "\x1b", 1, 0},
                                         Look{"LetterThenEscape", "a\x1b", 1, 1},
                                         Look{"ArrowIsNoEscape", "\x1b[A", 0, 1},
                                         Look{"FunctionKeyIsNoEscape", "\x1b[15~", 0, 1}),
                         [](const auto& row) { return std::string{row.param.name}; });

TEST(TerminalKeysFlush, DropsWhatIsTyped)
{
    EXPECT_EQ(0, InTerminal("abc", [] {
                  const U_KeyEventSource source = Up_TerminalKeyEventSource();
                  source.flush(source.refcon);
                  uint16_t code = 0;
                  return source.next(source.refcon, &code) ? 1 : 0;
              }));
}

}  // namespace
