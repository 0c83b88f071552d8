// Adapters: who serves which kind of plug-in. The runtime keeps them, the built-in one last in the list.
#include "MVp_Read.h"
#include "MVp_Runtime.h"

Err mvBirthAdapters()
{
    return MVAddAdapter(nullptr, MV_BUILT_IN_ADAPTER, 2, 0, nullptr, &g_mvRuntime->builtIn);
}

void mvDeathAdapters()
{
    while (MVAdapter* adapter = g_mvRuntime->adapters) {
        g_mvRuntime->adapters = adapter->next;
        mvDelete(adapter);
    }
}

Err mvSendToAdapter(MVAdapter* adapter, MVName selector, void* message, int32_t* result)
{
    *result = 0;
    if (!adapter->host) return MV_Err_NOT_ACQUIRED;
    const auto& names = g_mvRuntime->names;
    return MVSendMessage(adapter->host, names[kNameAdapters], names[selector], message, result);
}

Err mvTellAdapter(MVAdapter* adapter, MVName selector, MVPlugin* plugin)
{
    MVAdapterMessage message = {};
    message.adapter = adapter;
    message.plugin = plugin;
    int32_t result = 0;
    const Err error = mvSendToAdapter(adapter, selector, &message, &result);
    return error != U_Err_NONE ? error : result;
}

Err MVAddAdapter(MVPlugin* host, const char* name, int32_t version, uint32_t flags, void* info,
                 MVAdapter** adapter)
{
    MVAdapter* known = nullptr;
    if (const Err error = MVFindAdapter(name, &known); error != U_Err_NONE) return error;
    if (known) return MV_Err_PARAMETER;
    const char* pooled = nullptr;
    if (const Err error = MVMakeWString(nullptr, name, &pooled); error != U_Err_NONE) return error;
    MVAdapter* added = mvNew<MVAdapter>("an adapter");
    if (!added) return U_Err_OUT_OF_MEMORY;
    *added = {g_mvRuntime->adapters, host, pooled, version, flags, info, 0};
    g_mvRuntime->adapters = added;
    if (adapter) *adapter = added;
    return U_Err_NONE;
}

Err MVFindAdapter(const char* name, MVAdapter** adapter)
{
    if (!g_mvRuntime || !name || !adapter) return MV_Err_PARAMETER;
    *adapter = g_mvRuntime->adapters;
    while (*adapter && std::strcmp((*adapter)->name, name) != 0) *adapter = (*adapter)->next;
    return U_Err_NONE;
}

Err MVNextAdapter(const MVAdapter* former, MVAdapter** adapter)
{
    if (!g_mvRuntime || !adapter) return MV_Err_PARAMETER;
    *adapter = former ? former->next : g_mvRuntime->adapters;
    return U_Err_NONE;
}

Err MVGetAdapterHost(const MVAdapter* adapter, MVPlugin** host)
{
    return mvRead(adapter, &MVAdapter::host, host);
}

Err MVGetAdapterName(const MVAdapter* adapter, const char** name)
{
    return mvRead(adapter, &MVAdapter::name, name);
}

Err MVGetAdapterVersion(const MVAdapter* adapter, int32_t* version)
{
    return mvRead(adapter, &MVAdapter::version, version);
}

Err MVGetAdapterFlags(const MVAdapter* adapter, uint32_t* flags)
{
    return mvRead(adapter, &MVAdapter::flags, flags);
}

Err MVGetAdapterInfo(const MVAdapter* adapter, void** info)
{
    return mvRead(adapter, &MVAdapter::info, info);
}

Err MVGetAdapterCount(const MVAdapter* adapter, int32_t* count)
{
    return mvRead(adapter, &MVAdapter::count, count);
}
