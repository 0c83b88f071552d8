// Gaussian streams by the polar method. No state of its own.
//
// Pairs are drawn in batches: first the accepted ones are gathered without a branch, then their factors are
// computed side by side, so that neither the rejections nor the logarithm are waited for one by one.

#include <algorithm>
#include <cmath>

#include "RND.h"
#include "RNDp_Generator.h"

namespace {

constexpr int kBatch = 64;

// Of all pairs 79 in 100 are accepted. A batch that takes so many comes from a damaged state, whose mask
// leaves no pair inside the circle.
constexpr int kMostAttempts = 100 * kBatch;

struct Pair {
    double a;
    double b;
    double square;
};

// Draws until `count` pairs lie inside the unit circle; gives how many do, which is less for a damaged state.
int DrawPairs(RND_GaussianState& state, int count, Pair* pairs)
{
    const uint32_t mask = state.mask;
    const uint32_t shift = state.shift & 31;
    uint32_t x = state.seed;
    const auto draw = [&] {
        x = RNDp_Next(x);
        const double r = ((x & mask) >> shift) * RNDp_kUnit;
        return r + r - 1;
    };
    int accepted = 0;
    for (int attempts = 0; accepted < count && attempts < kMostAttempts; ++attempts) {
        const double a = draw();
        const double b = draw();
        const double square = a * a + b * b;
        pairs[accepted] = {a, b, square};
        accepted += static_cast<int>(square < 1) & static_cast<int>(square != 0);
    }
    state.seed = x;
    return accepted;
}

double FactorOf(double square)
{
    return std::sqrt(std::log(square) * -2 / square);
}

}  // namespace

Err RND_InitGaussianState(uint32_t seed, RND_GaussianState* state)
{
    *state = {0, 0, 0, 0, seed, UINT32_MAX, 0};
    return U_Err_NONE;
}

Err RND_GetNextGaussianFloats(RND_GaussianState* state, int32_t count, double* out)
{
    if (count <= 0) return U_Err_NONE;
    double* const end = out + count;
    if (state->hasSpare != 0) {
        *out++ = state->v * state->factor;
        state->hasSpare = 0;
    }
    Pair pairs[kBatch];
    while (out != end) {
        const auto wanted = static_cast<int>(std::min<ptrdiff_t>((end - out + 1) / 2, kBatch));
        if (DrawPairs(*state, wanted, pairs) != wanted) return U_Err_BAD_PARAMETER;
        for (int i = 0; i < wanted; ++i) {
            const Pair& pair = pairs[i];
            const double factor = FactorOf(pair.square);
            *out++ = pair.a * factor;
            state->hasSpare = out == end;
            if (out != end) *out++ = pair.b * factor;
            state->u = pair.a;
            state->v = pair.b;
            state->factor = factor;
        }
    }
    return U_Err_NONE;
}
