// Where pending key events come from. The terminal is the default; a host, or a test, stands in for it.
#ifndef UP_KEYEVENTS_H
#define UP_KEYEVENTS_H

#include "U_Context.h"

/// The source in force, never with null functions. Any thread.
U_KeyEventSource Up_CurrentKeyEventSource();

/// The terminal as a source: standard input, looked at without waiting and without leaving a mode changed.
U_KeyEventSource Up_TerminalKeyEventSource();

#endif
