/// The stack of the calling thread as text for the log.
#ifndef UP_STACKCRAWL_H
#define UP_STACKCRAWL_H

#include <cstddef>

/// Writes at most 50 frames, innermost first, each with a newline behind it: the function's name (at most
/// 511 bytes), or "??? <address>". The first frame is the caller. Text that `size` has no room for is left
/// off, and the frames behind it are not named at all. The text is always terminated; nothing is allocated
/// here.
void Up_StackCrawl(char* text, size_t size);

/// Writes these frames in the same form.
void Up_FramesText(void* const* frames, size_t count, char* text, size_t size);

#endif
