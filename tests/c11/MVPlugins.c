/* Includes the headers of the plug-in host's whole family: each includes the one below it. */
#include "MVPlugins.h"

#include <string.h>

int CheckMVPlugins(void);

static int Entry(const char* caller, const char* selector, void* message)
{
    MVMessageData* data = message;
    if (data->MVCheck != MV_CHECK) return 1;
    if (strcmp(caller, MV_Caller_INTERFACE) == 0 && strcmp(selector, MV_Selector_STARTUP) == 0)
        return MVAddSuite(NULL, data->self, "C Suite", 1, 1, data->basic, NULL);
    return 0;
}

int CheckMVPlugins(void)
{
    const void* procs = NULL;
    if (MVInit(NULL, NULL, NULL) != 0 || MVAddHostPlugin(NULL, Entry, NULL, "C", NULL, NULL) != 0) return 1;
    if (MVStartupPlugins() != 0 || MVAcquireSuite(NULL, "C Suite", 1, 0, &procs) != 0) return 1;
    if (MVReleaseSuite(NULL, "C Suite", 1, 0) != 0 || MVShutdownPlugins() != 0 || MVTerm() != 0) return 1;
    return procs ? 0 : 1;
}
