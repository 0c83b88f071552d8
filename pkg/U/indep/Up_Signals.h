/// The signals by which a hardware fault reaches the library: facts of the platform.
#ifndef UP_SIGNALS_H
#define UP_SIGNALS_H

/// Makes `handler` the action of the four signals (bus error, illegal instruction, segmentation violation,
/// user signal 1, in this order), with an empty mask and no flags; null restores the default disposition.
/// Safe inside a signal handler.
void Up_SetSignalAction(void (*handler)(int signal));

/// Whether the signal is the one that asks for an abort: user signal 1. The others are raised by an
/// instruction, which runs again, and faults again, when the handler returns.
bool Up_IsAbortSignal(int signal);

#endif
