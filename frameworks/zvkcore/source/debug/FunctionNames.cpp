// The dynamic loader knows exported functions and answers in a microsecond, for files loaded a moment ago
// too. For the others libbacktrace reads the symbol tables of the files that are loaded when it is first
// asked, which takes tens of milliseconds once.
//
// It is called here without Boost.Stacktrace in front of it, whose inline state would be an exported symbol
// that no lock of ours guards and that keeps the library from being unloaded.
//
// State: the reader's, made at the first need, and the mutex that guards it. The reader cannot be given back
// and lives as long as the process. The mutex is never held while the loader is asked or memory is taken from
// the heap.
#include "FunctionNames.h"

#include <dlfcn.h>

#include <boost/core/demangle.hpp>
#include <cstdint>
#include <mutex>
#include <string_view>
#include QL_BACKTRACE_HEADER

namespace zvkcore::debug {
namespace {

constinit std::mutex g_readerMutex;

void IgnoreFailure(void*, const char*, int) {}

// The callback must not throw through C code, so it only notes the name, which lives as long as the state.
void NoteName(void* out, uintptr_t, const char* name, uintptr_t, uintptr_t)
{
    *static_cast<const char**>(out) = name;
}

const char* FindInSymbolTables(void* address)
{
    const std::lock_guard lock(g_readerMutex);
    static backtrace_state* s_state = backtrace_create_state(nullptr, 0, IgnoreFailure, nullptr);
    const char* name = nullptr;
    if (s_state != nullptr) {
        backtrace_syminfo(s_state, reinterpret_cast<uintptr_t>(address), NoteName, IgnoreFailure, &name);
    }
    return name;
}

}  // namespace

std::string FindFunctionName(void* address)
{
    Dl_info info{};
    const char* name = dladdr(address, &info) != 0 ? info.dli_sname : nullptr;
    if (name == nullptr) name = FindInSymbolTables(address);
    if (name == nullptr) return {};
    // Only what was mangled: to the demangler, a C function of the name "f" is the type float.
    return std::string_view(name).starts_with("_Z") ? boost::core::demangle(name) : std::string(name);
}

}  // namespace zvkcore::debug
