#include "U.h"

#include <string.h>

int CheckU(void);

int CheckU(void)
{
    char name[31];
    if (U_GetName(name) != 0 || strcmp(name, "a host in C") != 0) return 1;
    U_RegisterRenderThread();
    const bool isOn = U_IsOnRenderThread() && U_IsOnMainThread() && U_IsQLRunningAsLibrary();
    U_DeregisterRenderThread();
    return isOn && U_SetRunMode(3) == U_GetRunMode() ? 0 : 1;
}
