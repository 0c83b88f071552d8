// Birth and death of the math family. Its only state is the tables, which outlive both.

#include "M.h"

#include "ALOG.h"
#include "Mp_Err.h"
#include "U_TrySection.h"

void Mp_TestAreEqual() {}

Err M_Birth(uint32_t flags, uint32_t* out)
{
    ALOG_Log(10, "M", "Birth", "M Birth");
    const Err err = U_TrySection([flags] {
        if ((flags & M_Birth_TRIG) != 0) M_GetTrigTable();
        if ((flags & M_Birth_CHARACTER_MATH) != 0) {
            M_GetCharMultiplyTable();
            M_GetCharDivideTable();
        }
    });
    if (out != nullptr) *out = 0;
    Mp_TestAreEqual();
    return err;
}

Err M_Death(void)
{
    ALOG_Log(10, "M", "Death", "M Death");
    return U_Err_NONE;
}
