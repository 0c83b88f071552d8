// A plug-in that breaks rules, for tests: it throws, publishes its own table for the host, and messages itself, and
// starts and shuts down all plug-ins, where that is not allowed.
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "MVPluginEntry.h"
#include "MVPlugins.h"

namespace {

const int kTable = 0;

int BreakRule(std::string_view rule, MVMessageData* data)
{
    if (rule == "Throw") throw std::runtime_error("the plug-in has given up");
    if (rule == "Publish for the host")
        return MVAddSuite(nullptr, nullptr, "Unruly Suite", 1, 1, &kTable, nullptr);
    if (rule == "Start all") return MVStartupPlugins();
    if (rule == "Shut down all") return MVShutdownPlugins();
    int32_t result = 0;
    if (rule == "Message itself") return MVSendMessage(data->self, "Unruly", "Do nothing", nullptr, &result);
    return 0;
}

}  // namespace

MV_PLUGIN_ENTRY(caller, selector, message)
{
    if (std::strcmp(caller, "Unruly") == 0) return BreakRule(selector, static_cast<MVMessageData*>(message));
    // Inside these nothing of the kind may go through, so each must be refused.
    const bool inInterface = std::strcmp(caller, MV_Caller_INTERFACE) == 0;
    if (!inInterface && std::strcmp(caller, MV_Caller_ACCESS) != 0) return 0;
    for (const char* rule : {"Message itself", "Start all", "Shut down all"}) {
        if (BreakRule(rule, static_cast<MVMessageData*>(message)) != MV_Err_IN_ACCESS_CALL) return 78;
        if (!inInterface) break;
    }
    return 0;
}
