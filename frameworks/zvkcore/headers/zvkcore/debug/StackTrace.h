/// Where the calling thread is: the frames of its stack, and the names of their functions.
///
/// A frame is an address inside the calling instruction, not the one behind it, so it can be looked up as it is.
/// The address of a function is a frame too.
///
/// threads  any, for everything in this header; not for signal handlers, but for `GenerateStackTrace` after a
///          first call outside of one
#ifndef ZVKCORE_DEBUG_STACKTRACE_H
#define ZVKCORE_DEBUG_STACKTRACE_H

#include <stddef.h>

#include <vector>

#include "zvkcore/config/Export.h"

namespace zvkcore::debug {

/// Captures the stack, innermost frame first. Some microseconds for 30 frames.
///
/// count    room in `frames`; what lies further out is left off
/// skip     frames to leave out in front: with 0 the first one is in the caller of this function
/// returns  the number of frames written
ZVKCORE_EXPORT size_t GenerateStackTrace(void** frames, size_t count, size_t skip) noexcept;

/// The same as a list.
ZVKCORE_EXPORT std::vector<void*> CaptureCallstack(size_t depth, size_t skip);

/// Names the function of a frame, demangled; hidden and static functions too, when the file that holds them has
/// its symbol table and was loaded before the first such function was asked for. Names are kept, so a frame costs
/// some microseconds only once; the first function of the process that is not exported costs tens of
/// milliseconds, as the symbols of all files are read.
///
/// name     receives the name, cut to `size - 1` bytes and ended by a zero; the empty text without a name
/// returns  true if a name was found
ZVKCORE_EXPORT bool StackFrameFunctionName(void* frame, char* name, size_t size) noexcept;

/// How many frames a record for later analysis should hold.
ZVKCORE_EXPORT size_t GetDefaultCallstackDepth() noexcept;

}  // namespace zvkcore::debug

#endif
