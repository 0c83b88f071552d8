// A terminal as a source of key events: standard input, put into raw mode for the moment of one look. One thread
// looks at a time, or one would take another's raw mode for the mode to put back.
//
// Signals wait during the look, so that the terminal's modes are restored on every way out. A process in the
// background looks at nothing: touching the terminal would stop it. An escape byte with bytes behind it is the
// sequence of another key, such as an arrow.
#include <pthread.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <mutex>

#include "Up_KeyEvents.h"

namespace {

constexpr uint16_t kOtherKey = 0xffff;
constexpr char kEscapeByte = 0x1b;
constexpr int kLongestSequence = 32;  // longer than any key's; what goes on behind it are keys of its own

constinit std::mutex g_looking;  // from load to exit; held for one look, behind the blocked signals

class RawTerminal {
  public:
    RawTerminal()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_signals);
        g_looking.lock();
        if (tcgetpgrp(STDIN_FILENO) != getpgrp() || tcgetattr(STDIN_FILENO, &m_modes) != 0) return;
        termios raw = m_modes;
        raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        raw.c_cc[VMIN] = 0;
        raw.c_cc[VTIME] = 0;
        m_raw = tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
    }
    ~RawTerminal()
    {
        if (m_raw) tcsetattr(STDIN_FILENO, TCSANOW, &m_modes);
        g_looking.unlock();
        pthread_sigmask(SIG_SETMASK, &m_signals, nullptr);
    }
    RawTerminal(const RawTerminal&) = delete;
    RawTerminal& operator=(const RawTerminal&) = delete;

    bool Read(char* byte) const { return m_raw && read(STDIN_FILENO, byte, 1) == 1; }
    void Drop() const
    {
        if (m_raw) tcflush(STDIN_FILENO, TCIFLUSH);
    }

  private:
    sigset_t m_signals;
    termios m_modes;
    bool m_raw = false;
};

bool NextKey(void* /*refcon*/, uint16_t* key_code)
{
    const RawTerminal terminal;
    char byte = 0;
    if (!terminal.Read(&byte)) return false;
    *key_code = kOtherKey;
    if (byte != kEscapeByte) return true;
    if (!terminal.Read(&byte)) {
        *key_code = kU_KeyCode_Escape;
    } else if (byte == '[' || byte == 'O') {
        // The rest of the sequence ends with a byte from '@' to '~'.
        for (int size = 2; size < kLongestSequence && terminal.Read(&byte); ++size) {
            if (byte >= '@' && byte <= '~') break;
        }
    }
    return true;
}

void DropKeys(void* /*refcon*/)
{
    RawTerminal{}.Drop();
}

}  // namespace

U_KeyEventSource Up_TerminalKeyEventSource()
{
    return {NextKey, DropKeys, nullptr};
}
