// How an error of the math family becomes a report: a table from codes to texts, and one formatter. No state.

#include <cstdio>
#include <string_view>

#include "M.h"
#include "Mp_Err.h"
#include "U_Types.h"
#include "Up_Err.h"

namespace {

constexpr uint32_t kModule = 0x110000;

enum class Argument : uint8_t { kNone, kText, kCode };

struct Row {
    uint32_t code;
    int format;
    Argument argument;
    U_Severity severity;
};

constexpr Row kRows[] = {
    {M_Err_OVERFLOW, 2, Argument::kText, U_Sev_PROBLEM},
    {M_Err_UNDERFLOW, 1, Argument::kText, U_Sev_WARNING},
    {M_Err_DIVIDE_BY_ZERO, 3, Argument::kText, U_Sev_PROBLEM},
    {M_Err_UNREQUESTED_SERVICE, 7, Argument::kText, U_Sev_PROBLEM},
    {M_Err_ZERO_DENOMINATOR, 10, Argument::kText, U_Sev_PROBLEM},
    {M_Err_MATRIX_NOT_INVERTIBLE, 24, Argument::kNone, U_Sev_PROBLEM},
    {M_Err_MATRIX_NOT_DECOMPOSABLE, 34, Argument::kNone, U_Sev_PROBLEM},
    {M_Err_NORMAL_VECTOR_FAILED, 36, Argument::kNone, U_Sev_PROBLEM},
    {M_Err_PLANE_NOT_INTERSECTED, 37, Argument::kNone, U_Sev_PROBLEM},
};

Row RowOf(uint32_t code)
{
    for (const Row& row : kRows) {
        if (row.code == code) return row;
    }
    return {code, 0, Argument::kCode, U_Sev_PROBLEM};
}

// Writes the format with the argument in the place of its first "%s" or "%d", cut at the buffer's end. The
// format may be a translation, so it is not given to `sprintf`: a wrong directive in it would read what was
// never passed.
void Write(char* buffer, std::string_view format, const char* argument)
{
    size_t place = format.find("%s");
    if (place == std::string_view::npos) place = format.find("%d");
    if (place == std::string_view::npos) {
        std::snprintf(buffer, Up_kLoggingBufferSize, "%s", format.data());
        return;
    }
    std::snprintf(buffer, Up_kLoggingBufferSize, "%.*s%s%s", static_cast<int>(place), format.data(), argument,
                  format.data() + place + 2);
}

void Write(char* buffer, const Row& row, int text)
{
    char number[16];
    const char* argument = "";
    if (row.argument == Argument::kText) argument = Mp_String(text);
    if (row.argument == Argument::kCode) {
        std::snprintf(number, sizeof number, "%d", static_cast<int>(row.code));
        argument = number;
    }
    Write(buffer, Mp_String(row.format), argument);
}

}  // namespace

uint32_t Mp_ReportErr(uint32_t location, uint32_t code, int text)
{
    if (code == 0) return 0;
    const Row row = RowOf(code);
    Up_SetThreadLastError(static_cast<int>(code));
    Write(Up_GetThreadLoggingBuffer(), row, text);
    Up_ReportError(kModule | (location & 0xFFFF), row.severity);
    return code;
}
