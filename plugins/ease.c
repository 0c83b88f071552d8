/* A plug-in that publishes a suite in two versions. The tables lie in its code, so they are withdrawn when the code
   goes, and published again when it is back. */
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
static const EaseSuite kFormerEase = {EaseIn, NULL};

static Err PublishOne(const MVMessageData* data, int32_t internalVersion, const EaseSuite* procs)
{
    const Err err =
        MVAddSuite(NULL, data->self, EASE_SUITE, kEaseSuiteAPIVersion, internalVersion, procs, NULL);
    return err == MV_Err_SUITE_EXISTS ? 0 : err;
}

static int Publish(const MVMessageData* data)
{
    const Err err = PublishOne(data, 1, &kFormerEase);
    return err ? err : PublishOne(data, kEaseSuiteInternalVersion, &kEase);
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
