/* A plug-in whose startup fails. The host marks it as broken, tells who listens, and never tries it again. */
#include <string.h>

#include "MVPluginEntry.h"

enum { kNoLicence = 0x4E4C6963 }; /* "NLic", this plug-in's own code */

MV_PLUGIN_ENTRY(caller, selector, message)
{
    (void)message;
    return strcmp(caller, "MV Interface") == 0 && strcmp(selector, "Startup") == 0 ? kNoLicence : 0;
}
