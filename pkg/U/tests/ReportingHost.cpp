// The host that docs/guides/reporting-and-lifecycle.md shows. It is built and run with the tests.
#include <ALOG.h>
#include <U.h>
#include <U_Err.h>
#include <U_String.h>

#include <zvkcore/console/ConsoleLogFile.h>
#include <cstdio>

int Hear(void*, unsigned location, U_Severity severity, const char* text)
{
    return std::printf("%08x %d %s\n", location, severity, text) < 0;
}

int main()
{
    zvkcore::console::ConsoleLogFile::GetInstance()->Open("reporting_host.log", false);
    if (U_Birth("Sample", 0) != 0) return 1;
    U_AddLoggingCallback(Hear, nullptr);
    U_ReportError(0x00120003, U_Sev_WARNING, U_AsciiToUTF16String("the footage is missing"));
    ALOG_sprintf(0, "SAMPLE", "Frame", "%d of %d", 12, 60);
    return U_Death();
}
