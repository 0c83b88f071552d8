// Integer and float streams, the hash, and the family's birth.
//
// State: one table of random words, written by the first birth of the process and constant from then on.

#include "RND.h"

#include <array>
#include <bit>
#include <mutex>

#include "ALOG.h"
#include "RNDp_Generator.h"
#include "RNDp_Lanes.h"

namespace {

constexpr int32_t kTableSize = 4093;
constexpr uint32_t kTableSeed = 1785686885;

std::array<uint32_t, kTableSize> g_table;
std::once_flag g_tableOnce;

}  // namespace

Err RND_Birth(void)
{
    ALOG_Log(10, "RND", "Birth", "RND Birth");
    std::call_once(g_tableOnce, [] {
        uint32_t x = kTableSeed;
        for (uint32_t& entry : g_table) entry = x = RNDp_Next(x);
    });
    return U_Err_NONE;
}

Err RND_Death(void)
{
    ALOG_Log(10, "RND", "Death", "RND Death");
    return U_Err_NONE;
}

void RND_GetPrimeSizedTable(const uint32_t** table, int32_t* size)
{
    if (table != nullptr) *table = g_table.data();
    if (size != nullptr) *size = kTableSize;
}

uint32_t RND_HashInt(uint32_t value)
{
    return value * 0x9E3779B9u;
}

// --- Integers ----------------------------------------------------------------------------------------------

// The mask keeps as many of the generator's top bits as max has bits: its low bits repeat soon.
Err RND_InitLongState(uint32_t seed, uint32_t max, RND_LongState* state)
{
    if (max == 0) {
        *state = {0, seed, 0, 0};
        return U_Err_BAD_PARAMETER;
    }
    const int shift = std::countl_zero(max);
    *state = {0, seed, UINT32_MAX << shift, static_cast<uint32_t>(shift)};
    return U_Err_NONE;
}

Err RND_GetNextRandomMaskedLongs(RND_LongState* state, int32_t count, uint32_t* out)
{
    RNDp_DrawEach(*state, count, [out](int32_t i, uint32_t draw) { out[i] = draw; });
    return U_Err_NONE;
}

Err RND_GetNextRandomLongs(RND_LongState* state, int32_t low, int32_t high, int32_t count, int32_t* out)
{
    const uint32_t base = static_cast<uint32_t>(low);
    const uint32_t range = static_cast<uint32_t>(high) - base + 1;
    if (range == 0) {
        RNDp_DrawEach(*state, count,
                      [=](int32_t i, uint32_t draw) { out[i] = static_cast<int32_t>(draw + base); });
    } else {
        const RNDp_Remainder remainder(range);
        RNDp_DrawEach(*state, count, [=](int32_t i, uint32_t draw) {
            out[i] = static_cast<int32_t>(remainder(draw) + base);
        });
    }
    return U_Err_NONE;
}

// --- Floats ------------------------------------------------------------------------------------------------

Err RND_InitFloatState(uint32_t seed, RND_FloatState* state)
{
    *state = {0, seed, UINT32_MAX, 0};
    return U_Err_NONE;
}

Err RND_GetNextRandomFloats(RND_FloatState* state, int32_t count, double* out, double low, double high)
{
    const double range = high - low;
    RNDp_DrawEach(*state, count,
                  [=](int32_t i, uint32_t draw) { out[i] = range * (draw * RNDp_kUnit) + low; });
    return U_Err_NONE;
}
