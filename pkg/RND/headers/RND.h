/// Reproducible random streams: integers, floats, Gaussian and band-limited values from a caller's seed.
///
///     RND_GaussianState state;
///     RND_InitGaussianState(seed, &state);
///     RND_GetNextGaussianFloats(&state, count, jitter);
///
/// Equal seeds give equal streams on every machine and in every release: projects store seeds and expect the
/// same grain next year. A stream does not depend on how it is cut into calls. All of them draw from
/// x' = x * 1664525 + 1013904223 modulo 2^32, the quick generator of Numerical Recipes: fast and repeatable,
/// with a period of 2^32. For statistics or secrets take another.
///
/// Ground rules. A state belongs to its caller and may be copied; it needs no lock while one thread uses it.
/// A count of 0 or less draws nothing. Pointers are not null unless that is said.
///
/// errors  0; 3 for a bad parameter; 4 when memory ran out
#ifndef RND_H
#define RND_H

#include "U_Types.h"

// --- States ------------------------------------------------------------------------------------------------

/// A stream of integers or floats. One draw advances the seed once and is (seed & mask) >> shift.
typedef struct RND_LongState {
    uint32_t count;  ///< always 0
    uint32_t seed;
    uint32_t mask;
    uint32_t shift;
} RND_LongState;
typedef RND_LongState RND_FloatState;

typedef struct RND_GaussianState {
    double u, v, factor;  ///< the last pair of the polar method
    uint32_t hasSpare;    ///< v * factor is the next value
    uint32_t seed;
    uint32_t mask;
    uint32_t shift;
} RND_GaussianState;

/// The mark of a living band-limited state.
#define RND_kBandLimitedSignature 0x9AFF9AFFu

/// A moving average of white noise; it lives in a handle with `size` doubles of window.
typedef struct RND_BandLimitedState {
    uint32_t count;  ///< always 0
    uint32_t seed;
    uint32_t mask;
    uint32_t shift;
    uint32_t signature;  ///< RND_kBandLimitedSignature
    int32_t index;       ///< the window's oldest entry
    int32_t size;
    bool clip;
    double low, high, sum, gain;
    double window[1];  ///< `size` of them
} RND_BandLimitedState;
typedef RND_BandLimitedState** RND_BandLimitedHandle;

#ifdef __cplusplus
extern "C" {
#endif

// --- The family --------------------------------------------------------------------------------------------

/// Logs "RND Birth" and fills the table, at the first call. Streams need no birth. Returns 0.
U_EXPORT Err RND_Birth(void);

/// Logs "RND Death". Returns 0.
U_EXPORT Err RND_Death(void);

/// A table of 4093 random words, a prime count: all zeros before `RND_Birth`, constant after it. Either
/// pointer may be null.
U_EXPORT void RND_GetPrimeSizedTable(const uint32_t** table, int32_t* size);

/// Spreads a value over 32 bits: v * 0x9E3779B9, Knuth's multiplicative hash.
U_EXPORT uint32_t RND_HashInt(uint32_t value);

// --- Integers ----------------------------------------------------------------------------------------------

/// Begins a stream of draws from 0 up to the next power of two above `max` less one: max 5 draws 0 to 7.
///
/// returns  0; 3 for max 0, and then every draw is 0
U_EXPORT Err RND_InitLongState(uint32_t seed, uint32_t max, RND_LongState* state);

/// Draws as the state's mask leaves them.
U_EXPORT Err RND_GetNextRandomMaskedLongs(RND_LongState* state, int32_t count, uint32_t* out);

/// Draws brought into low to high, both included, by the remainder: (draw mod (high - low + 1)) + low in
/// unsigned arithmetic, so pick a `max` that is large against the range. The full range of 32 bits adds low.
U_EXPORT Err RND_GetNextRandomLongs(RND_LongState* state, int32_t low, int32_t high, int32_t count,
                                    int32_t* out);

// --- Floats ------------------------------------------------------------------------------------------------

U_EXPORT Err RND_InitFloatState(uint32_t seed, RND_FloatState* state);

/// Values from low to high, both included, in steps of (high - low) / (2^32 - 1).
U_EXPORT Err RND_GetNextRandomFloats(RND_FloatState* state, int32_t count, double* out, double low,
                                     double high);

// --- Gaussian ----------------------------------------------------------------------------------------------

U_EXPORT Err RND_InitGaussianState(uint32_t seed, RND_GaussianState* state);

/// Values of mean 0 and standard deviation 1.
///
/// returns  0; 3 for a damaged state that could draw for ever; values may be missing then
/// source  G. Marsaglia, T. A. Bray, "A convenient method for generating normal variables" (polar method)
U_EXPORT Err RND_GetNextGaussianFloats(RND_GaussianState* state, int32_t count, double* out);

// --- Band-limited ------------------------------------------------------------------------------------------

/// Makes a stream of slowly moving values: the mean of the last `size` white values, its spread restored by a
/// gain. The gain works around 0.5, so the stream is centred for ranges about 0.5.
///
/// clip        hold values inside low and high
/// size        samples in the mean, 1 or more
/// out         the new handle, the caller's to dispose of; null on failure
/// confidence  above 0, up to 1; 1 takes no gain, every other value takes the same
/// returns     0; 3 for a bad size or confidence, after a report; 4
/// threads     any, once the library is born
U_EXPORT Err RND_NewBandLimitedState(uint32_t seed, bool clip, int32_t size, RND_BandLimitedHandle* out,
                                     double confidence, double low, double high);

/// returns  0; 3 for a null handle or one that is no band-limited state, after a report
U_EXPORT Err RND_GetNextBLFloats(RND_BandLimitedHandle handle, int32_t count, double* out);

/// Frees the handle. returns  0; 3 as above, and nothing is freed
U_EXPORT Err RND_DisposeBandLimitedState(RND_BandLimitedHandle handle);

#ifdef __cplusplus
}
#endif
#endif
