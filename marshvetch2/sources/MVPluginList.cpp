// Plug-in records and their list: adding, finding, walking, and the readers and writers of fields.
#include <cstdlib>
#include <string>
#include <string_view>

#include "MVp_Accesses.h"
#include "MVp_Edge.h"
#include "MVp_Plugins.h"
#include "MVp_Read.h"
#include "MVp_Suites.h"
#include "U_TrySection.h"

struct MVPluginListIterator {
    MVPlugin* next;
};

namespace {

MVPluginList* OrRuntimes(MVPluginList* list)
{
    return list || !g_mvRuntime ? list : g_mvRuntime->plugins;
}

// The file's name without its folder and last extension.
std::string NameOf(const MVFileSpec* file)
{
    const char* path = "";
    if (file) MVGetFilePath(file, &path);
    std::string name = path;
    name.erase(0, name.rfind('/') + 1);
    if (const size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0) name.erase(dot);
    return name;
}

Err AddPlugin(MVPluginList* list, const char* name, const MVPlugin& values, MVPlugin** plugin)
{
    list = OrRuntimes(list);
    if (!g_mvRuntime || !list) return MV_Err_PARAMETER;
    const char* pooled = nullptr;
    if (const Err error = MVMakeWString(list->strings, name, &pooled); error != U_Err_NONE) return error;
    MVPlugin* added = mvNew<MVPlugin>("an MVPlugin");
    if (!added) return U_Err_OUT_OF_MEMORY;
    *added = values;
    added->name = pooled;
    added->list = list;
    if (!added->adapter) added->adapter = g_mvRuntime->builtIn;
    linkPlugin(list, added);
    if (plugin) *plugin = added;
    return U_Err_NONE;
}

// Adapters outlive the lists of a host: those whose plug-in goes serve nobody any more.
void TakeFromAdapters(const MVPluginList* list)
{
    for (MVAdapter* adapter = g_mvRuntime->adapters; adapter; adapter = adapter->next)
        if (adapter->host && adapter->host->list == list) adapter->host = nullptr;
}

}  // namespace

void linkPlugin(MVPluginList* list, MVPlugin* plugin)
{
    plugin->next = list->head;
    list->head = plugin;
    ++list->count;
}

void unlinkPlugin(MVPluginList* list, MVPlugin* plugin)
{
    MVPlugin** link = &list->head;
    while (*link != plugin) link = &(*link)->next;
    *link = plugin->next;
    plugin->next = nullptr;
    --list->count;
}

// By way of a list of its own, since any of them may fail for want of memory.
Err mvAddPlugins(MVPluginList* list, std::span<const MVFoundPlugin> found)
{
    MVPluginList staged = {nullptr, 0, 0, list->strings};
    Err error = U_Err_NONE;
    for (auto one = found.begin(); one != found.end() && error == U_Err_NONE; ++one)
        error = MVAddPlugin(&staged, one->file, one->properties, one->name, nullptr, nullptr, nullptr);
    while (MVPlugin* plugin = staged.head) {
        unlinkPlugin(&staged, plugin);
        if (error != U_Err_NONE) {
            mvDelete(plugin);
            continue;
        }
        plugin->list = list;
        linkPlugin(list, plugin);
    }
    return error;
}

void mvDisposeInfos(const MVPluginList* list)
{
    for (MVPlugin* plugin = list->head; plugin; plugin = plugin->next)
        if (plugin->adapterInfo && plugin->adapter->host)
            mvTellAdapter(plugin->adapter, kNameDisposeInfo, plugin);
}

void mvDeletePluginList(MVPluginList* list)
{
    mvForgetPlugins(list);
    while (MVPlugin* plugin = list->head) {
        unlinkPlugin(list, plugin);
        if (plugin->propertyList) MVFreePropertyList(plugin->propertyList);
        mvDelete(plugin);
    }
    mvDelete(list);
}

Err MVAllocatePluginList(MVStringPool* strings, MVPluginList** list)
{
    if (!strings && g_mvRuntime) strings = g_mvRuntime->strings;
    if (!list || !strings) return MV_Err_PARAMETER;
    *list = mvNew<MVPluginList>("a plug-in list");
    if (!*list) return U_Err_OUT_OF_MEMORY;
    (*list)->strings = strings;
    return U_Err_NONE;
}

Err MVFreePluginList(MVPluginList* list)
{
    if (!list || (g_mvRuntime && list == g_mvRuntime->plugins)) return MV_Err_PARAMETER;
    if (g_mvRuntime) {
        if (g_mvRuntime->depth > 0) return MV_Err_IN_ACCESS_CALL;
        mvUnloadAll(list);
        TakeFromAdapters(list);
    }
    mvDeletePluginList(list);
    return U_Err_NONE;
}

Err MVAddPlugin(MVPluginList* list, MVFileSpec* file, MVPropertyList* properties, const char* name,
                MVAdapter* adapter, void* adapterInfo, MVPlugin** plugin)
{
    if (!file && !name) return MV_Err_PARAMETER;
    return U_TrySection([&] {
        MVPlugin values = {};
        values.fileSpec = file;
        values.propertyList = properties;
        values.adapter = adapter;
        values.adapterInfo = adapterInfo;
        return AddPlugin(list, name ? name : NameOf(file).c_str(), values, plugin);
    });
}

Err MVAddHostPlugin(MVPluginList* list, MVPluginEntry entry, void* hostInfo, const char* name,
                    MVPropertyList* properties, MVPlugin** plugin)
{
    if (!entry || !name) return MV_Err_PARAMETER;
    MVPlugin values = {};
    values.hostEntry = entry;
    values.hostInfo = hostInfo;
    values.propertyList = properties;
    return AddPlugin(list, name, values, plugin);
}

Err MVAddPluginFolder(MVPluginList* list, const char* folder)
{
    list = OrRuntimes(list);
    if (!g_mvRuntime || !list || !folder) return MV_Err_PARAMETER;
    return U_TrySection([&] { return mvEdgeAddPlugins(list, g_mvRuntime->files, folder); });
}

Err MVGetNamedPlugin(MVPluginList* list, const char* name, MVPlugin** plugin)
{
    list = OrRuntimes(list);
    if (!list || !name || !plugin) return MV_Err_PARAMETER;
    *plugin = nullptr;
    const char* pooled = nullptr;
    if (const Err error = MVMakeWString(list->strings, name, &pooled); error != U_Err_NONE) return error;
    for (MVPlugin* one = list->head; one && !*plugin; one = one->next)
        if (one->name == pooled) *plugin = one;
    return U_Err_NONE;
}

// --- Walking -----------------------------------------------------------------------------------------------

Err MVNewPluginListIterator(MVPluginList* list, MVPluginListIterator** iterator)
{
    list = OrRuntimes(list);
    if (!list || !iterator) return MV_Err_PARAMETER;
    *iterator = mvNew<MVPluginListIterator>("a plug-in list iterator");
    if (!*iterator) return U_Err_OUT_OF_MEMORY;
    (*iterator)->next = list->head;
    return U_Err_NONE;
}

Err MVNextPlugin(MVPluginListIterator* iterator, MVPlugin** plugin)
{
    if (!iterator || !plugin) return MV_Err_PARAMETER;
    *plugin = iterator->next;
    if (*plugin) iterator->next = (*plugin)->next;
    return U_Err_NONE;
}

Err MVDeletePluginListIterator(MVPluginListIterator* iterator)
{
    mvDelete(iterator);
    return iterator ? U_Err_NONE : Err{MV_Err_PARAMETER};
}

Err MVGetPluginListCount(MVPluginList* list, int32_t* count)
{
    return mvRead(OrRuntimes(list), &MVPluginList::count, count);
}

Err MVGetPluginListNeededSuiteAvailable(MVPluginList* list, int32_t* available)
{
    list = OrRuntimes(list);
    const Err error = mvRead(list, &MVPluginList::neededSuiteAvailable, available);
    if (error == U_Err_NONE) list->neededSuiteAvailable = 0;
    return error;
}

// --- Properties --------------------------------------------------------------------------------------------

Err MVFindPluginProperty(const MVPlugin* plugin, int32_t vendor, int32_t key, int32_t id,
                         const MVProperty** property)
{
    if (!plugin || !property) return MV_Err_PARAMETER;
    *property = nullptr;
    if (plugin->propertyList) MVFindProperty(plugin->propertyList, vendor, key, id, property);
    return *property ? U_Err_NONE : Err{MV_Err_NO_PROPERTY};
}

const MVProperty* mvStartProperty(const MVPlugin* plugin, int32_t key)
{
    const MVProperty* property = nullptr;
    MVFindPluginProperty(plugin, MV_VENDOR, key, 0, &property);
    return property;
}

bool mvAccepts(const MVPlugin* plugin, int bit)
{
    const MVProperty* flags = mvStartProperty(plugin, MV_Key_ACCEPTS);
    return flags && flags->size > 0 && (*static_cast<const uint8_t*>(flags->data) & bit) != 0;
}

// --- Fields ------------------------------------------------------------------------------------------------

Err MVGetPluginName(const MVPlugin* plugin, const char** name)
{
    return mvRead(plugin, &MVPlugin::name, name);
}

Err MVSetPluginName(MVPlugin* plugin, const char* name)
{
    if (!plugin || !name) return MV_Err_PARAMETER;
    const char* pooled = nullptr;
    const Err error = MVMakeWString(plugin->list->strings, name, &pooled);
    if (error == U_Err_NONE) plugin->name = pooled;
    return error;
}

Err MVGetPluginFileSpec(const MVPlugin* plugin, MVFileSpec** file)
{
    return mvRead(plugin, &MVPlugin::fileSpec, file);
}

Err MVGetPluginHostEntry(const MVPlugin* plugin, MVPluginEntry* entry)
{
    return mvRead(plugin, &MVPlugin::hostEntry, entry);
}

Err MVGetPluginPropertyList(const MVPlugin* plugin, MVPropertyList** list)
{
    return mvRead(plugin, &MVPlugin::propertyList, list);
}

Err MVGetPluginGlobals(const MVPlugin* plugin, void** globals)
{
    return mvRead(plugin, &MVPlugin::globals, globals);
}

Err MVSetPluginGlobals(MVPlugin* plugin, void* globals)
{
    return mvWrite(plugin, &MVPlugin::globals, globals);
}

Err MVGetPluginAdapter(const MVPlugin* plugin, MVAdapter** adapter)
{
    return mvRead(plugin, &MVPlugin::adapter, adapter);
}

Err MVGetPluginHostInfo(const MVPlugin* plugin, void** info)
{
    return mvRead(plugin, &MVPlugin::hostInfo, info);
}

Err MVSetPluginHostInfo(MVPlugin* plugin, void* info)
{
    return mvWrite(plugin, &MVPlugin::hostInfo, info);
}

Err MVGetPluginAdapterInfo(const MVPlugin* plugin, void** info)
{
    return mvRead(plugin, &MVPlugin::adapterInfo, info);
}

Err MVSetPluginAdapterInfo(MVPlugin* plugin, void* info)
{
    return mvWrite(plugin, &MVPlugin::adapterInfo, info);
}

// --- State -------------------------------------------------------------------------------------------------

static Err GetBit(const MVPlugin* plugin, int bit, int32_t* value)
{
    if (!plugin || !value) return MV_Err_PARAMETER;
    *value = mvHas(plugin, bit);
    return U_Err_NONE;
}

static Err SetBit(MVPlugin* plugin, int bit, int32_t value)
{
    if (!plugin) return MV_Err_PARAMETER;
    mvSet(plugin, bit, value != 0);
    return U_Err_NONE;
}

Err MVGetPluginStarted(const MVPlugin* plugin, int32_t* started)
{
    return GetBit(plugin, kStateStarted, started);
}

Err MVSetPluginStarted(MVPlugin* plugin, int32_t started)
{
    return SetBit(plugin, kStateStarted, started);
}

Err MVGetPluginBroken(const MVPlugin* plugin, int32_t* broken)
{
    return GetBit(plugin, kStateBroken, broken);
}

Err MVSetPluginBroken(MVPlugin* plugin, int32_t broken)
{
    return SetBit(plugin, kStateBroken, broken);
}

Err MVGetPluginSkipShutdown(const MVPlugin* plugin, int32_t* skip)
{
    return GetBit(plugin, kStateSkipShutdown, skip);
}

Err MVSetPluginSkipShutdown(MVPlugin* plugin, int32_t skip)
{
    return SetBit(plugin, kStateSkipShutdown, skip);
}
