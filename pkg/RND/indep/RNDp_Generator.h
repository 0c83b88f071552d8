/// The one generator under every stream, and running it several steps at a time.
#ifndef RNDP_GENERATOR_H
#define RNDP_GENERATOR_H

#include <cstdint>

#include "U_LStr.h"

// The quick generator of Numerical Recipes.
constexpr uint32_t RNDp_kMultiplier = 1664525;
constexpr uint32_t RNDp_kIncrement = 1013904223;

/// 1 / (2^32 - 1) as streams have always had it: the largest draw gives 1.
constexpr double RNDp_kUnit = 2.3283064370807974e-10;

/// Module number of this family in the locations of reports.
constexpr uint32_t RNDp_kModule = 0x130000;

constexpr uint32_t RNDp_Next(uint32_t x)
{
    return x * RNDp_kMultiplier + RNDp_kIncrement;
}

/// `steps` steps in one: x * multiplier + increment.
struct RNDp_Jump {
    uint32_t multiplier = 1;
    uint32_t increment = 0;

    constexpr explicit RNDp_Jump(int steps)
    {
        for (int i = 0; i < steps; ++i) {
            multiplier *= RNDp_kMultiplier;
            increment = RNDp_Next(increment);
        }
    }

    constexpr uint32_t operator()(uint32_t x) const { return x * multiplier + increment; }
};
static_assert(RNDp_Jump(3)(5) == RNDp_Next(RNDp_Next(RNDp_Next(5))));

extern U_ZLStrCache_Opaque* RND_G_zref;

/// Row `row` of the family's texts in the user's language.
const char* RNDp_String(int row);

enum RNDp_Text : int { RNDp_Text_BAND_LIMITED = 1 };

#endif
