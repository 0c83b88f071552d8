// Code of plug-in files in memory, by the dynamic loader. Binding is local, so that plug-ins with functions of the
// same name do not meet, and complete at the load, so that a missing function is known then and not in mid-call.
#include <dlfcn.h>

#include <cstring>
#include <string>

#include "MVp_Edge.h"
#include "MVp_EdgeFile.h"

namespace {

// A name without a folder would be looked for along the loader's path instead of here.
std::string LoaderPath(const char* path)
{
    return std::strchr(path, '/') ? path : std::string{"./"} + path;
}

// What the loader says, without the path that it puts in front.
std::string LoaderReason(const std::string& path)
{
    const char* said = dlerror();
    std::string reason = said ? said : "the loader refuses the file";
    if (reason.starts_with(path + ": ")) reason.erase(0, path.size() + 2);
    return reason;
}

const void* LoadedAt(const void* address)
{
    dl_find_object found;
    return _dl_find_object(const_cast<void*>(address), &found) == 0 ? found.dlfo_map_start : nullptr;
}

}  // namespace

Err mvEdgeCreateAccess(MVPlugin* plugin, MVEdgeCode* code)
{
    MVFileSpec* file = nullptr;
    MVGetPluginFileSpec(plugin, &file);
    if (!file) return MV_Err_NOT_ACQUIRED;
    const std::string path = LoaderPath(mvFilePath(file));
    void* loaded = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!loaded) {
        mvReportUnusable(file, LoaderReason(path).c_str());
        return MV_Err_NOT_ACQUIRED;
    }
    void* entry = dlsym(loaded, MV_ENTRY_NAME);
    if (!entry) {
        dlclose(loaded);
        mvReportUnusable(file, "it has no function " MV_ENTRY_NAME);
        return MV_Err_NOT_ACQUIRED;
    }
    MVSetFileReason(file, nullptr);
    *code = {loaded, reinterpret_cast<MVPluginEntry>(entry)};
    return U_Err_NONE;
}

Err mvEdgeCallPlugin(MVPlugin*, const MVEdgeCode& code, const char* caller, const char* selector,
                     void* message, int32_t* result)
{
    return mvCallEntry(code.entry, caller, selector, message, result);
}

Err mvEdgeDestroyAccess(MVPlugin*, const MVEdgeCode& code)
{
    return dlclose(code.info) == 0 ? Err{U_Err_NONE} : Err{MV_Err_NOT_ACQUIRED};
}

// The loader keeps nothing beyond accesses: what is closed is gone at once.
int32_t mvEdgeFlushAccess(int32_t)
{
    return 0;
}

bool mvEdgeHoldsAddress(const MVEdgeCode& code, const void* address)
{
    const void* base = LoadedAt(reinterpret_cast<const void*>(code.entry));
    return base && LoadedAt(address) == base;
}
