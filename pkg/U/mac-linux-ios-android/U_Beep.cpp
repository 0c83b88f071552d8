// A beep is the terminal's bell: a process whose errors go to a file or a pipe stays silent.
#include <unistd.h>

#include "Up_Globals.h"

void Up_Beep()
{
    if (!isatty(STDERR_FILENO)) return;
    const char bell = '\a';
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, &bell, 1);
}
