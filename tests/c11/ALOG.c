#include "ALOG.h"

int CheckALOG(void);

int CheckALOG(void)
{
    return ALOG_Log(0, "HOST", "Start", "100%") | ALOG_sprintf(0, "HOST", "Frame", "%d of %s", 12, "Layer 7");
}
