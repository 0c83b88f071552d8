// Deferred reporting and the report that only posts.
//
// Deferring rests on two things of the whole process, the interact mask and the error count: the mask holds
// errors back, and a count that has moved tells that something failed. The text of the last report is the
// thread's own. The record between start and end is the caller's, so this file has no state.
#include <cstring>

#include "U_Err.h"
#include "U_ErrState.h"
#include "U_Memory.h"
#include "U_String.h"
#include "U_TrySection.h"
#include "Up_Err.h"
#include "Up_ErrState.h"
#include "Up_Globals.h"
#include "Up_Interact.h"
#include "Up_Posted.h"

namespace {

constexpr uint32_t kUserHalf = 0x0000ffff;
constexpr uint32_t kLogHalf = 0xffff0000;

class TemporaryMask {
  public:
    explicit TemporaryMask(uint32_t mask) : m_receipt(Up_SetInteractTemp(mask)) {}
    ~TemporaryMask() { Up_SetInteractTempComplete(m_receipt); }
    TemporaryMask(const TemporaryMask&) = delete;
    TemporaryMask& operator=(const TemporaryMask&) = delete;

  private:
    int32_t m_receipt;
};

// Without memory the text is not saved, and then it is not put back either: no failure of the start.
char* CopyOfThreadText()
{
    const char* buffer = Up_GetThreadLoggingBufferEx(true);
    if (!buffer) return nullptr;
    const size_t size = std::strlen(buffer) + 1;
    auto* copy = static_cast<char*>(U_AllocatePtrQuiet(size));
    if (copy) std::memcpy(copy, buffer, size);
    return copy;
}

Err Forget(const U_DeferredReportingState& state)
{
    Up_SetHowManyErrors(state.error_count);
    char* buffer = state.saved_text ? Up_GetThreadLoggingBufferEx(true) : nullptr;
    return buffer ? U_CopyString(state.saved_text, Up_kLoggingBufferSize, buffer) : U_Err_NONE;
}

U_UTF16String FallbackText(const char* fallback_text)
{
    return fallback_text ? U_MBToUTF16String(fallback_text)
                         : U_AsciiToUTF16String("missing deferred error information.");
}

Err ReportLastError(bool async, const char* fallback_text)
{
    U_Severity severity = U_Sev_FATAL;
    unsigned int location = 0;
    U_UTF16String text;
    const Err read = U_TrySection([&] { text = U_GetLastError(&severity, &location, nullptr); });
    const Err reported = U_TrySection([&] {
        if (text.empty()) text = FallbackText(fallback_text);
        if (!async) {
            U_ReportError(location, severity, text);
        } else if (read == U_Err_NONE) {
            U_AsyncReport(location, severity, text);
        }
    });
    return reported != U_Err_NONE ? reported : read;
}

Err ReportWhatFailed(const U_DeferredReportingState& state, bool async, const char* fallback_text)
{
    int count = 0;
    const Err err = U_GetHowManyErrors(&count);
    if (err != U_Err_NONE || count == state.error_count) return err;
    // What was logged while deferred is not logged a second time.
    const uint32_t logged = Up_GetInteract() & kLogHalf;
    const TemporaryMask mask((state.saved_interact & kUserHalf) |
                             (state.saved_interact & kLogHalf & ~logged));
    return ReportLastError(async, fallback_text);
}

}  // namespace

Err U_DeferredReportingStart(unsigned int mask, U_DeferredReportingState* state)
{
    if (!state) return U_Err_BAD_PARAMETER;
    *state = U_DeferredReportingState{};
    const Err err = U_TrySection([&]() -> Err {
        const Err counted = U_GetHowManyErrors(&state->error_count);
        if (counted != U_Err_NONE) return counted;
        state->saved_interact = Up_GetInteract();
        state->interact_receipt = Up_SetInteractTemp(state->saved_interact & mask);
        return U_Err_NONE;
    });
    state->saved_text = CopyOfThreadText();
    return err;
}

Err U_DeferredReportingEnd(bool report, const char* fallback_text, U_DeferredReportingState* state)
{
    return U_DeferredReportingEndAsync(report, false, fallback_text, state);
}

Err U_DeferredReportingEndAsync(bool report, bool async, const char* fallback_text,
                                U_DeferredReportingState* state)
{
    if (!state) return U_Err_BAD_PARAMETER;
    const Err err = U_TrySection(
        [&] { return report ? ReportWhatFailed(*state, async, fallback_text) : Forget(*state); });
    Up_SetInteractTempComplete(state->interact_receipt);
    U_FreePtr(state->saved_text);
    state->saved_text = nullptr;
    return err;
}

void U_AsyncReport(unsigned int location, unsigned short severity, const U_UTF16String& text)
{
    U_TrySection([&] { U_AsyncReport(Up_LocationText(location), severity, text); });
}

void U_AsyncReport(const U_UTF16String& location_text, unsigned short severity, const U_UTF16String& text)
{
    U_TrySection([&]() -> Err {
        if (!Up_InteractShows(Up_GetInteract(), severity)) return U_Err_NONE;
        const bool silenced = (Up_GetPerThreadErrorFlags() & Up_ErrorState_NoDisplay) != 0;
        if (silenced && severity != U_Sev_FATAL) return U_Err_NONE;
        return Up_PostError(location_text, severity, Up_ReportErrorFormatter16(severity, text), true);
    });
}
