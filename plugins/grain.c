/* A plug-in that is started for its export, by the first who wants it. It calls the library like any package. */
#include <string.h>

#include "MVPluginEntry.h"
#include "RND.h"
#include "SampleMessages.h"

static int Draw(GrainMessage* message)
{
    RND_FloatState state;
    if (message->count < 0 || !message->values) return U_Err_BAD_PARAMETER;
    RND_InitFloatState(message->seed, &state);
    return RND_GetNextRandomFloats(&state, message->count, message->values, -1.0, 1.0);
}

MV_PLUGIN_ENTRY(caller, selector, message)
{
    return strcmp(caller, GRAIN_CALLER) == 0 && strcmp(selector, GRAIN_DRAW) == 0 ? Draw(message) : 0;
}
