#include "Up_StackCrawl.h"

#include <cstdio>

#include "zvkcore/debug/StackTrace.h"

namespace {

constexpr size_t kMostFrames = 50;
constexpr size_t kNameSize = 512;

}  // namespace

[[gnu::noinline]] void Up_StackCrawl(char* text, size_t size)
{
    void* frames[kMostFrames];
    Up_FramesText(frames, zvkcore::debug::GenerateStackTrace(frames, kMostFrames, 1), text, size);
}

void Up_FramesText(void* const* frames, size_t count, char* text, size_t size)
{
    size_t used = 0;
    text[0] = 0;
    for (size_t at = 0; at < count && used + 1 < size; ++at) {
        char name[kNameSize];
        if (!zvkcore::debug::StackFrameFunctionName(frames[at], name, sizeof name)) {
            std::snprintf(name, sizeof name, "??? <%p>", frames[at]);
        }
        const int written = std::snprintf(text + used, size - used, "%s\n", name);
        used += written > 0 ? static_cast<size_t>(written) : 0;
    }
}
