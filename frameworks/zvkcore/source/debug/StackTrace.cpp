// Capturing walks the unwinder's frames. Naming is dear, so names are kept by address; they are dropped
// whenever the process has loaded or unloaded a file since, because another function may stand at the address
// now.
//
// State: the kept names. Their lock is not held while a name is looked for or made: the loader has a lock of
// its own, which it holds while the code of a file that is being loaded starts up, and that code may report.
#include "zvkcore/debug/StackTrace.h"

#include <link.h>
#include <unwind.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "ExitSafe.h"
#include "FunctionNames.h"

namespace zvkcore::debug {
namespace {

constexpr size_t kDefaultDepth = 32;

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

bool CopyName(const std::string& text, char* name, size_t size)
{
    const size_t length = std::min(text.size(), size - 1);
    std::memcpy(name, text.data(), length);
    name[length] = 0;
    return !text.empty();
}

// A frame has one slot, which the next frame of the same slot takes from it.
class Names {
  public:
    struct Slot {
        void* frame = nullptr;
        std::unique_ptr<const std::string> name;  // never null beside a frame; empty for one without a name
    };

    Slot& SlotOf(void* frame)
    {
        const auto mixed = reinterpret_cast<uintptr_t>(frame) * uintptr_t{0x9E3779B97F4A7C15};
        return m_slots[mixed >> (sizeof(mixed) * 8 - kSlotBits)];
    }

    void ForgetAfterLoading(const LoadCounts& loads)
    {
        if (loads == m_loads) return;
        m_loads = loads;
        for (Slot& slot : m_slots) slot = {};
    }

  private:
    static constexpr int kSlotBits = 12;
    std::array<Slot, size_t{1} << kSlotBits> m_slots;
    LoadCounts m_loads;
};

constinit ExitSafe<Names> g_names;
ExitSafe<Names>::Closer g_namesCloser(g_names);

bool CopyKeptName(void* frame, char* name, size_t size, const LoadCounts& loads, bool& found)
{
    bool kept = false;
    g_names.With([&](Names& names) {
        names.ForgetAfterLoading(loads);
        const Names::Slot& slot = names.SlotOf(frame);
        kept = slot.frame == frame;
        if (kept) found = CopyName(*slot.name, name, size);
    });
    return kept;
}

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
        const LoadCounts loads = CountLoads();
        if (CopyKeptName(frame, name, size, loads, found)) return found;
        Names::Slot slot{frame, std::make_unique<const std::string>(FindFunctionName(frame))};
        found = CopyName(*slot.name, name, size);
        g_names.With([&](Names& names) { std::swap(names.SlotOf(frame), slot); });
    } catch (...) {
        // A name that memory does not suffice for is none, unless it has been copied already.
    }
    return found;
}

size_t GetDefaultCallstackDepth() noexcept
{
    return kDefaultDepth;
}

}  // namespace zvkcore::debug
