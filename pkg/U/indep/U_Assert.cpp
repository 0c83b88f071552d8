// Checks of the library's own that failed: they report and trace, and never end the process.
#include <cstdio>

#include "U_SubString.h"
#include "U_TrySection.h"
#include "Up_Err.h"
#include "Up_ErrText.h"
#include "zvkcore/debug/Assert.h"

namespace {

constexpr int kVerificationTextSize = 512;

}  // namespace

Err Up_AssertFailed(const char* expression, const char* file, int line)
{
    Up_SetThreadLastError(0);
    std::snprintf(Up_GetThreadLoggingBuffer(), Up_kLoggingBufferSize,
                  "assertion failed\n%s\nline: %d of file: %s.", expression ? expression : "", line,
                  file ? file : "");
    Up_ReportError(0, U_Sev_PROBLEM);
    return U_Err_NONE;
}

Err Up_AssertImpl(const char* message, const char* expression, const char* file, int line,
                  unsigned char* result)
{
    bool ignore = false;
    const bool breaks = zvkcore::debug::BreakAfterAssertDialog(
        &ignore, message, expression, file, line,
        "std::int32_t Up_AssertImpl(const char *, const char *, const char *, int, Boolean *)");
    if (breaks && zvkcore::debug::IsDebuggerAttached()) zvkcore::debug::BreakIntoDebugger();
    if (result) *result = ignore;
    return U_Err_NONE;
}

void Up_SimpleAssert(const char* file, int line, const char* function, const char* expression,
                     const char* message)
{
    const bool breaks = zvkcore::debug::DoSimpleAssert(file, line, function, expression, message);
    if (breaks && zvkcore::debug::IsDebuggerAttached()) zvkcore::debug::BreakIntoDebugger();
}

void U_ReportFailedVerification(unsigned int location, int line, const char* file, const char* message)
{
    U_TrySection([&] {
        char lineText[16];
        std::snprintf(lineText, sizeof lineText, "%d", line);
        if (!message) message = lineText;
        char text[kVerificationTextSize];
        if (file) {
            U_SubString(text, sizeof text, Up_String(111), file, message);
        } else {
            U_SubString(text, sizeof text, Up_String(110), message);
        }
        Up_ReportErrString(location, U_Sev_PROBLEM, text);
    });
}
