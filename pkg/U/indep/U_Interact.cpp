// The interact masks: a short list of pairs, newest first, that exists from load time.
#include "Up_Interact.h"

#include <algorithm>
#include <list>
#include <mutex>

namespace {

struct Mask {
    int32_t receipt;
    uint32_t mask;
};

constexpr int32_t kBaseReceipt = -1;  // 0xffffffff: that of the mask that stands under all temporary ones

// Process-wide, from load to unload. Nothing is allocated or freed under the mutex: memory that runs out is
// reported through the new handler, and a report asks for the mask.
std::mutex g_mutex;
std::list<Mask> g_masks;
int32_t g_nextReceipt = 1;

}  // namespace

uint32_t Up_GetInteract()
{
    const std::lock_guard lock(g_mutex);
    return g_masks.empty() ? 0 : g_masks.front().mask;
}

void Up_SetInteract(uint32_t mask)
{
    std::list<Mask> masks{{kBaseReceipt, mask}};
    const std::lock_guard lock(g_mutex);
    g_masks.swap(masks);
}

int32_t Up_SetInteractTemp(uint32_t mask)
{
    std::list<Mask> added{{0, mask}};
    const std::lock_guard lock(g_mutex);
    const int32_t receipt = g_nextReceipt;
    // Receipts stay above 0 when the counter has gone round, so that none is ever taken for the base's.
    g_nextReceipt = receipt == INT32_MAX ? 1 : receipt + 1;
    added.front().receipt = receipt;
    g_masks.splice(g_masks.begin(), added);
    return receipt;
}

void Up_SetInteractTempComplete(int32_t receipt)
{
    std::list<Mask> removed;
    const std::lock_guard lock(g_mutex);
    const auto found = std::find_if(g_masks.begin(), g_masks.end(),
                                    [&](const Mask& entry) { return entry.receipt == receipt; });
    if (found != g_masks.end()) removed.splice(removed.begin(), g_masks, found);
}
