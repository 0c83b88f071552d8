#include "Up_StackCrawl.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

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
    char* at = text;
    char* const end = text + size - 1;
    // Names are written where they stay; a frame is begun only with room for one byte and its newline.
    for (size_t frame = 0; frame < count && end - at >= 2; ++frame) {
        const size_t room = std::min(static_cast<size_t>(end - at), kNameSize);
        if (!zvkcore::debug::StackFrameFunctionName(frames[frame], at, room)) {
            std::snprintf(at, room, "??? <%p>", frames[frame]);
        }
        at += std::strlen(at);
        *at++ = '\n';
    }
    *at = 0;
}
