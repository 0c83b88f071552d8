#include <MVPlugins.h>
#include <U.h>
#include <stdio.h>

#include "wobble.h"

int main(int argc, char** argv)
{
    if (argc != 2 || U_Birth("try_wobble", true) != 0) return 2;
    if (MVInit(NULL, NULL, argv[1]) != 0 || MVStartupPlugins() != 0) return 3;

    MVPlugin* plugin = NULL;
    int32_t result = 0;
    WobbleMessage message = {.time = 0.25};
    MVGetNamedPlugin(NULL, "Wobble", &plugin);
    if (!plugin || MVSendMessage(plugin, "Wobble", "Offset", &message, &result) != 0) return 4;
    printf("by message: %.1f\n", message.offset);

    const void* procs = NULL;
    if (MVAcquireSuite(NULL, "Wobble Suite", 1, 0, &procs) != 0) return 5;
    printf("by suite: %.1f\n", ((const WobbleSuite*)procs)->Offset(0.75));
    MVReleaseSuite(NULL, "Wobble Suite", 1, 0);

    MVShutdownPlugins();
    MVTerm();
    return U_Death();
}
