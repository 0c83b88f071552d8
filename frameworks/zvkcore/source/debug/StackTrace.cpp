// Capturing walks the unwinder's frames. Naming is dear, so names are kept by address; they are dropped whenever
// the process has loaded or unloaded a file since, because another function may stand at the address now.
//
// State: the kept names. Their lock is held while a name is found, too, since the finder is not safe for threads.
#include "zvkcore/debug/StackTrace.h"

#include <link.h>
#include <unwind.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <unordered_map>

#include "ExitSafe.h"
#include "FunctionNames.h"

namespace zvkcore::debug {
namespace {

constexpr size_t kDefaultDepth = 32;
constexpr size_t kMaxNames = 16384;  // a bound for hosts that make code as they run

struct Walk {
    void** frames;
    size_t room;
    size_t skip;
    size_t written = 0;
};

// The unwinder gives the address behind a call, but the exact one for a frame that a signal interrupted.
_Unwind_Reason_Code Visit(_Unwind_Context* context, void* argument)
{
    Walk& walk = *static_cast<Walk*>(argument);
    if (walk.skip != 0) {
        --walk.skip;
        return _URC_NO_REASON;
    }
    int exact = 0;
    const uintptr_t address = _Unwind_GetIPInfo(context, &exact);
    if (address == 0 || walk.written == walk.room) return _URC_END_OF_STACK;
    walk.frames[walk.written++] = reinterpret_cast<void*>(exact != 0 ? address : address - 1);
    return walk.written < walk.room ? _URC_NO_REASON : _URC_END_OF_STACK;
}

struct LoadCounts {
    unsigned long long added = 0;
    unsigned long long removed = 0;
    bool operator==(const LoadCounts&) const = default;
};

LoadCounts CountLoads()
{
    LoadCounts counts;
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* out) {
            *static_cast<LoadCounts*>(out) = {info->dlpi_adds, info->dlpi_subs};
            return 1;
        },
        &counts);
    return counts;
}

class Names {
  public:
    // Empty for a frame without a name.
    const std::string& Of(void* frame)
    {
        if (const LoadCounts loads = CountLoads(); loads != m_loads || m_names.size() >= kMaxNames) {
            m_names.clear();
            m_loads = loads;
        }
        const auto known = m_names.find(frame);
        if (known != m_names.end()) return known->second;
        return m_names.emplace(frame, FindFunctionName(frame)).first->second;
    }

  private:
    std::unordered_map<void*, std::string> m_names;
    LoadCounts m_loads;
};

constinit ExitSafe<Names> g_names;
ExitSafe<Names>::Closer g_namesCloser(g_names);

}  // namespace

__attribute__((noinline)) size_t GenerateStackTrace(void** frames, size_t count, size_t skip) noexcept
{
    if (frames == nullptr || count == 0) return 0;
    Walk walk{frames, count, skip == SIZE_MAX ? skip : skip + 1};
    _Unwind_Backtrace(Visit, &walk);
    return walk.written;
}

__attribute__((noinline)) std::vector<void*> CaptureCallstack(size_t depth, size_t skip)
{
    std::vector<void*> frames(depth);
    frames.resize(GenerateStackTrace(frames.data(), depth, skip == SIZE_MAX ? skip : skip + 1));
    return frames;
}

bool StackFrameFunctionName(void* frame, char* name, size_t size) noexcept
{
    if (name == nullptr || size == 0) return false;
    *name = 0;
    if (frame == nullptr) return false;
    bool found = false;
    try {
        g_names.With([&](Names& names) {
            const std::string& text = names.Of(frame);
            const size_t length = std::min(text.size(), size - 1);
            std::memcpy(name, text.data(), length);
            name[length] = 0;
            found = !text.empty();
        });
    } catch (...) {
        return false;
    }
    return found;
}

size_t GetDefaultCallstackDepth() noexcept
{
    return kDefaultDepth;
}

}  // namespace zvkcore::debug
