// Messages: the head of a message record, the one way into a plug-in's code, and the send that needs no acquire.
#include "MVp_Accesses.h"
#include "MVp_Edge.h"
#include "MVp_Suites.h"
#include "U_Err.h"
#include "U_SubString.h"
#include "U_TrySection.h"
#include "U_ZString.h"
#include "zvkcore/string/Convert.h"

namespace {

// Where its report says it comes from: the plug-in host, behind its files and its folders.
constexpr unsigned kExceptionLocation = 0x000A0003;

void WriteHead(MVPlugin* plugin, MVMessageData* data)
{
    *data = {MV_CHECK, plugin, plugin->globals, &mvBasicSuite};
}

// The plug-in that is called is the current one, and the one before it is again, on every way out.
class CurrentScope {
  public:
    explicit CurrentScope(MVPlugin* plugin) : m_former(g_mvRuntime->current)
    {
        g_mvRuntime->current = plugin;
    }
    ~CurrentScope() { g_mvRuntime->current = m_former; }
    CurrentScope(const CurrentScope&) = delete;
    CurrentScope& operator=(const CurrentScope&) = delete;

  private:
    MVPlugin* m_former;
};

class CallScope {
  public:
    explicit CallScope(MVAccess* access) : m_access(access) { ++access->calls; }
    ~CallScope() { --m_access->calls; }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

  private:
    MVAccess* m_access;
    MVBusy m_busy;
};

// A 0 that is thrown is no success.
Err ReportThrown(int code)
{
    mvDebug("an error code left a plug-in as an exception: %d", code);
    const auto words =
        U_ZStringToUTF16String("$$$/QL/MV/ThrownCode=A plug-in let the error code ^1 out as an exception.");
    const auto number = zvkcore::string::UTF8to16(std::to_string(code));
    U_ReportError(kExceptionLocation, U_Sev_WARNING, U_SubString16(words, number));
    return code != 0 ? code : U_Err_UNKNOWN;
}

Err ReportThrown(std::exception& exception)
{
    mvDebug("an exception left a plug-in: %s", exception.what());
    return U_TranslateAndReportException(exception);
}

// Through the plug-in behind the adapter, which hands the message on and returns what the plug-in returned.
Err CallThroughAdapter(MVPlugin* plugin, const char* caller, const char* selector, void* message,
                       int32_t* result)
{
    MVAdapterMessage wrapped = {};
    wrapped.adapter = plugin->adapter;
    wrapped.plugin = plugin;
    wrapped.caller = caller;
    wrapped.selector = selector;
    wrapped.message = message;
    return mvSendToAdapter(plugin->adapter, kNameSendMessage, &wrapped, result);
}

// The only thing that a plug-in with a V1 adapter can be asked, and it is the adapter's plug-in that answers.
Err SendAbout(MVPlugin* plugin, int32_t* result)
{
    MVPlugin* host = plugin->adapter->host;
    if (!host) return MV_Err_NOT_ACQUIRED;
    MVAccess* access = nullptr;
    if (const Err error = MVAcquirePlugin(host, &access); error != U_Err_NONE) return error;
    MVAdapterMessage message = {};
    message.adapter = plugin->adapter;
    message.plugin = plugin;
    const auto& names = g_mvRuntime->names;
    Err error = MVSetupMessageData(host, &message.data);
    if (error == U_Err_NONE) {
        error = MVCallPlugin(access, names[kNameAdapters], names[kNameAbout], &message, result);
        MVEmptyMessageData(host, &message.data);
    }
    MVReleasePlugin(access);
    return error;
}

// Behind a call that gave a code the access keeps its count, so the plug-in stays loaded. Wanted: what went wrong in
// it may still be on some stack or in some callback.
Err SendAcquired(MVPlugin* plugin, MVAccess* access, const char* caller, const char* selector,
                 MVMessageData* message, int32_t* result)
{
    WriteHead(plugin, message);
    const Err error = mvCallAccess(access, caller, selector, message, result);
    plugin->globals = message->globals;
    return error != U_Err_NONE ? error : MVReleasePlugin(access);
}

}  // namespace

Err mvCallEntry(MVPluginEntry entry, const char* caller, const char* selector, void* message, int32_t* result)
{
    *result = 0;
    return U_TrySection([&]() -> Err {
        try {
            *result = entry(caller, selector, message);
            return U_Err_NONE;
        } catch (int code) {
            return ReportThrown(code);
        } catch (std::exception& exception) {
            return ReportThrown(exception);
        } catch (...) {
            std::exception unknown;
            return ReportThrown(unknown);
        }
    });
}

Err mvCallAccess(MVAccess* access, const char* caller, const char* selector, void* message, int32_t* result)
{
    *result = 0;
    MVPlugin* plugin = access->plugin;
    const CurrentScope current(plugin);
    const CallScope call(access);
    if (!mvIsBuiltIn(plugin)) return CallThroughAdapter(plugin, caller, selector, message, result);
    if (plugin->hostEntry) return mvCallEntry(plugin->hostEntry, caller, selector, message, result);
    return mvEdgeCallPlugin(plugin, {access->info, access->entry}, caller, selector, message, result);
}

Err MVSetupMessageData(MVPlugin* plugin, MVMessageData* data)
{
    if (!g_mvRuntime || !plugin || !data) return MV_Err_PARAMETER;
    if (mvIsV1(plugin)) return MV_Err_V1_PLUGIN;
    WriteHead(plugin, data);
    return U_Err_NONE;
}

Err MVEmptyMessageData(MVPlugin* plugin, MVMessageData* data)
{
    if (!g_mvRuntime || !plugin || !data) return MV_Err_PARAMETER;
    if (mvIsV1(plugin)) return MV_Err_V1_PLUGIN;
    plugin->globals = data->globals;
    return U_Err_NONE;
}

Err MVSendMessage(MVPlugin* plugin, const char* caller, const char* selector, void* message, int32_t* result)
{
    if (!g_mvRuntime || !plugin || !caller || !selector || !result) return MV_Err_PARAMETER;
    *result = 0;
    const bool isInterface = mvIsName(caller, kNameInterface);
    if (mvIsV1(plugin))
        return isInterface && mvIsName(selector, kNameAbout) ? SendAbout(plugin, result) : MV_Err_V1_PLUGIN;
    if (mvHas(plugin, kStateInAccess | kStateInMessage)) return MV_Err_IN_ACCESS_CALL;
    MVMessageData onlyHead = {};
    auto* head = message ? static_cast<MVMessageData*>(message) : &onlyHead;
    MVAccess* access = nullptr;
    if (const Err error = MVAcquirePlugin(plugin, &access); error != U_Err_NONE) return error;
    if (!isInterface && !mvIsName(caller, kNameProperties))
        return SendAcquired(plugin, access, caller, selector, head, result);
    const MVStateScope inMessage(plugin, kStateInMessage);
    return SendAcquired(plugin, access, caller, selector, head, result);
}

Err MVGetCurrentPlugin(MVPlugin** plugin)
{
    if (!g_mvRuntime || !plugin) return MV_Err_PARAMETER;
    *plugin = g_mvRuntime->current;
    return U_Err_NONE;
}

Err MVSetCurrentPlugin(MVPlugin* plugin)
{
    if (!g_mvRuntime) return MV_Err_PARAMETER;
    g_mvRuntime->current = plugin;
    return U_Err_NONE;
}
