// A plug-in that breaks rules, for tests: it throws, and it messages itself where that is not allowed.
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "MVPluginEntry.h"
#include "MVPlugins.h"

namespace {

struct NotAnException {};

int BreakRule(std::string_view rule, MVMessageData* data)
{
    if (rule == "Throw code") throw 77;
    if (rule == "Throw exception") throw std::runtime_error("the plug-in has given up");
    if (rule == "Throw anything") throw NotAnException{};
    int32_t result = 0;
    if (rule == "Message itself") return MVSendMessage(data->self, "Unruly", "Do nothing", nullptr, &result);
    return 0;
}

}  // namespace

MV_PLUGIN_ENTRY(caller, selector, message)
{
    if (std::strcmp(caller, "Unruly") == 0) return BreakRule(selector, static_cast<MVMessageData*>(message));
    // Inside these no message may come in, so the inner one must be refused.
    if (std::strcmp(caller, MV_Caller_ACCESS) == 0 || std::strcmp(caller, MV_Caller_INTERFACE) == 0)
        return BreakRule("Message itself", static_cast<MVMessageData*>(message)) == MV_Err_IN_ACCESS_CALL
                   ? 0
                   : 78;
    return 0;
}
