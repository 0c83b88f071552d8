/* A plug-in that needs a function which nobody has. */
#include "MVPluginEntry.h"

int AFunctionOfAnotherHost(void);

MV_PLUGIN_ENTRY(caller, selector, message)
{
    (void)caller, (void)selector, (void)message;
    return AFunctionOfAnotherHost();
}
