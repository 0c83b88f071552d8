/* A plug-in that refuses to leave memory, as one does that has handed out the address of something of its own. */
#include <string.h>

#include "MVPluginEntry.h"

enum { kStillInUse = 0x496E5573 }; /* "InUs", this plug-in's own code */

MV_PLUGIN_ENTRY(caller, selector, message)
{
    (void)message;
    return strcmp(caller, "MV Access") == 0 && strcmp(selector, "Unload") == 0 ? kStillInUse : 0;
}
