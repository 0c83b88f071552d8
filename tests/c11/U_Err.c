#include "U_Err.h"

static int Hear(void* refcon, unsigned int location, U_Severity severity, const char* utf8_text)
{
    *(int*)refcon += location == 0x170001 && severity == U_Sev_PROBLEM && utf8_text != 0;
    return 0;
}

int CheckU_Err(void);

int CheckU_Err(void)
{
    int heard = 0;
    int errors = 0;
    U_IncrementPostErrors();
    if (U_AddLoggingCallback(Hear, &heard) != 0) return 1;
    U_ReportFailedVerification(0x170001, __LINE__, __FILE__, "wanted by this test");
    if (U_RemoveLoggingCallback(Hear, &heard) != 0 || U_GetHowManyErrors(&errors) != 0) return 1;
    U_DecrementPostErrors();
    return heard == 1 && errors == 1 ? 0 : 1;
}
