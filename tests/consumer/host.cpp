#include <U.h>
#include <U_Err.h>
#include <U_Memory.h>

int main()
{
    if (U_Birth("my host", false) != 0) return 1;
    U_SetMemUsageLimits(uint64_t{6} << 30, uint64_t{8} << 30);
    void* frame = U_AllocatePtr(0, "a frame", 1920 * 1080 * 4);
    if (!frame) U_ReportError(0, U_Sev_WARNING, U_UTF16String{'n', 'o', ' ', 'f', 'r', 'a', 'm', 'e'});
    U_FreePtr(frame);
    return U_Death();
}
