/* A host in C: births the library, and lets each header's file call what it declares. */
#include <stdio.h>

#include "U.h"

int CheckALOG(void);
int CheckMVPlugins(void);
int CheckM_Matrix(void);
int CheckM_Polygon(void);
int CheckM_Rotation(void);
int CheckU(void);
int CheckU_Err(void);

int main(void)
{
    static const struct {
        const char* header;
        int (*check)(void);
    } checks[] = {{"ALOG.h", CheckALOG},
                  {"MVPlugins.h", CheckMVPlugins},
                  {"M_Matrix.h", CheckM_Matrix},
                  {"M_Polygon.h", CheckM_Polygon},
                  {"M_Rotation.h", CheckM_Rotation},
                  {"U.h", CheckU},
                  {"U_Err.h", CheckU_Err}};
    int failed = U_Birth("a host in C", 1);
    for (size_t at = 0; failed == 0 && at < sizeof checks / sizeof *checks; ++at) {
        failed = checks[at].check();
        if (failed != 0) fprintf(stderr, "%s\n", checks[at].header);
    }
    return failed != 0 || U_Death() != 0;
}
