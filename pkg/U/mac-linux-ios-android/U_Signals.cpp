#include "Up_Signals.h"

#include <csignal>
#include <cstring>
#include <initializer_list>

void Up_SetSignalAction(void (*handler)(int signal))
{
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = handler ? handler : SIG_DFL;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGBUS, SIGILL, SIGSEGV, SIGUSR1}) sigaction(signal, &action, nullptr);
}

bool Up_IsAbortSignal(int signal)
{
    return signal == SIGUSR1;
}
