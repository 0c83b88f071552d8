#include "wobble.h"

#include <MVPluginEntry.h>
#include <math.h>
#include <string.h>

static double Offset(double time)
{
    return 10.0 * sin(6.283185307179586 * time);
}

static const WobbleSuite kSuite = {Offset};

static int Publish(MVMessageData* data)
{
    Err err = MVAddSuite(NULL, data->self, "Wobble Suite", 1, 1, &kSuite, NULL);
    return err == MV_Err_SUITE_EXISTS ? 0 : err;
}

MV_PLUGIN_ENTRY(caller, selector, message)
{
    if (strcmp(caller, MV_Caller_INTERFACE) == 0 && strcmp(selector, MV_Selector_STARTUP) == 0)
        return Publish(message);

    /* The suite's table lies in this code, so it went with the code and comes back with it. */
    if (strcmp(caller, MV_Caller_ACCESS) == 0 && strcmp(selector, MV_Selector_RELOAD) == 0)
        return ((MVAccessMessage*)message)->accessPoint == MV_AccessPoint_RUNTIME ? Publish(message) : 0;

    if (strcmp(caller, "Wobble") == 0 && strcmp(selector, "Offset") == 0) {
        WobbleMessage* wobble = message;
        wobble->offset = Offset(wobble->time);
    }
    return 0;
}
