/// The trail of a process: its last checkpoints, for whoever analyses a crash.
///
/// A checkpoint is a small dictionary of texts and the call stack of its thread. The last 64 are kept; an older
/// one is forgotten for each new one. Every report that reaches a person leaves one here.
///
///     Dictionary checkpoint;
///     checkpoint.Set(kCheckpointLevel, string::Units(kCheckpointLevel_Warning));
///     checkpoint.Set(kCheckpointName, string::Units("Decode"));
///     LeaveTrail(std::move(checkpoint), CaptureCallstack(GetDefaultCallstackDepth(), 0));
///
/// threads  any, for everything in this header
#ifndef ZVKCORE_DEBUG_TRAILMARK_H
#define ZVKCORE_DEBUG_TRAILMARK_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "zvkcore/config/Export.h"
#include "zvkcore/utility/Dictionary.h"

namespace zvkcore::debug::trailmark {

/// The keys of a checkpoint. A host may add keys of its own.
inline constexpr std::string_view kCheckpointLevel = "CheckpointLevel";
inline constexpr std::string_view kCheckpointCategory = "CheckpointCategory";
inline constexpr std::string_view kCheckpointName = "CheckpointName";
inline constexpr std::string_view kDebugSourceLocation = "DebugSourceLocation";
inline constexpr std::string_view kDebugMessage = "DebugMessage";

/// The values of `kCheckpointLevel`.
inline constexpr std::string_view kCheckpointLevel_Debug = "Debug";
inline constexpr std::string_view kCheckpointLevel_Warning = "Warning";
inline constexpr std::string_view kCheckpointLevel_Error = "Error";

/// How many checkpoints are kept.
inline constexpr size_t kTrailLength = 64;

struct Checkpoint {
    uint64_t number = 0;  ///< counts all checkpoints of the process, from 1
    unsigned long thread = 0;
    std::chrono::system_clock::time_point time;
    utility::Dictionary texts;
    std::vector<void*> callstack;  ///< innermost first; see StackTrace.h for the names
};

/// Leaves a checkpoint on behalf of the calling thread. When memory runs out, it is lost without a word.
ZVKCORE_EXPORT void LeaveTrail(utility::Dictionary texts, std::vector<void*> callstack) noexcept;

/// Copies the checkpoints that are kept, the oldest first.
ZVKCORE_EXPORT std::vector<Checkpoint> GetTrail();

/// Forgets them; the numbers go on.
ZVKCORE_EXPORT void ClearTrail() noexcept;

}  // namespace zvkcore::debug::trailmark

#endif
