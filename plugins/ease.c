/* A plug-in that publishes a suite. Its table lies in its code, so it is withdrawn when the code goes, and published
   again when the code is back. */
#include <string.h>

#include "MVPluginEntry.h"
#include "SampleMessages.h"

static double EaseIn(double t)
{
    return t * t;
}

static double EaseOut(double t)
{
    return t * (2.0 - t);
}

static const EaseSuite kEase = {EaseIn, EaseOut};

static int Publish(const MVMessageData* data)
{
    const Err err = MVAddSuite(NULL, data->self, EASE_SUITE, kEaseSuiteAPIVersion, kEaseSuiteInternalVersion,
                               &kEase, NULL);
    return err == MV_Err_SUITE_EXISTS ? 0 : err;
}

MV_PLUGIN_ENTRY(caller, selector, message)
{
    if (strcmp(caller, MV_Caller_INTERFACE) == 0 && strcmp(selector, MV_Selector_STARTUP) == 0)
        return Publish(message);
    if (strcmp(caller, MV_Caller_ACCESS) == 0 && strcmp(selector, MV_Selector_RELOAD) == 0) {
        const MVAccessMessage* access = message;
        return access->accessPoint == MV_AccessPoint_RUNTIME ? Publish(&access->data) : 0;
    }
    return 0;
}
