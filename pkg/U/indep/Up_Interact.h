/// The list of interact masks: what the newest one says decides how far a report reaches.
///
/// A severity's bit in the low 16 bits lets it reach the user, and with it the log line; the same bit shifted
/// left by 16 lets it reach the log line and the logging callbacks. The list exists from load time and is
/// process-wide: a temporary mask counts on every thread. Any thread may call; one mutex guards the list.
#ifndef UP_INTERACT_H
#define UP_INTERACT_H

#include <cstdint>

/// The mask that a birth sets: all but continued and debug texts reach the user, all but debug texts the log.
constexpr uint32_t Up_kBirthInteract = 0xffbfff9f;

/// The newest mask; 0 for an empty list.
uint32_t Up_GetInteract();

/// Empties the list and makes `mask` its only entry.
void Up_SetInteract(uint32_t mask);

/// Puts a mask in front and returns its receipt. Throws std::bad_alloc.
int32_t Up_SetInteractTemp(uint32_t mask);

/// Removes the mask of a receipt, wherever it stands. An unknown receipt is ignored.
void Up_SetInteractTempComplete(int32_t receipt);

/// Whether `mask` lets a severity reach the user.
constexpr bool Up_InteractShows(uint32_t mask, uint16_t severity)
{
    return (mask & severity) != 0;
}

/// Whether `mask` lets a severity reach the logging callbacks.
constexpr bool Up_InteractLogs(uint32_t mask, uint16_t severity)
{
    return ((mask >> 16) & severity) != 0;
}

#endif
