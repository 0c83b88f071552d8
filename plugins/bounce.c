/* A plug-in that needs another's suite. By its property "StsP" it starts before "Ease", finds no suite, gives the
   code for that back, and is started again when the suite has come. */
#include <math.h>
#include <string.h>

#include "MVPluginEntry.h"
#include "SampleMessages.h"

/* The suite is what it keeps between messages; held, it keeps the code of "Ease" in memory. */
static int Start(MVMessageData* data)
{
    const void* ease = NULL;
    const Err err = data->basic->AcquireSuite(EASE_SUITE, kEaseSuiteAPIVersion, 0, &ease);
    data->globals = (void*)ease;
    return err;
}

static int Stop(MVMessageData* data)
{
    data->globals = NULL;
    return data->basic->ReleaseSuite(EASE_SUITE, kEaseSuiteAPIVersion, 0);
}

/* Down by EaseIn, up by EaseOut, four times lower at each bounce. */
static int Height(BounceMessage* message)
{
    const EaseSuite* ease = message->data.globals;
    if (!ease || !(message->t >= 0.0 && message->t <= 1.0)) return U_Err_BAD_PARAMETER;
    const double place = message->t * 3.0;
    const double bounce = fmin(floor(place), 2.0);
    const double phase = place - bounce;
    const double shape = phase < 0.5 ? ease->EaseOut(phase * 2.0) : 1.0 - ease->EaseIn(phase * 2.0 - 1.0);
    message->height = shape * pow(0.25, bounce);
    return 0;
}

MV_PLUGIN_ENTRY(caller, selector, message)
{
    if (strcmp(caller, MV_Caller_INTERFACE) == 0) {
        if (strcmp(selector, MV_Selector_STARTUP) == 0) return Start(message);
        if (strcmp(selector, MV_Selector_SHUTDOWN) == 0) return Stop(message);
    }
    if (strcmp(caller, BOUNCE_CALLER) == 0 && strcmp(selector, BOUNCE_HEIGHT) == 0) return Height(message);
    return 0;
}
