// Band-limited streams: a moving average over a window of white noise, in a handle. No state of its own.

#include <cmath>
#include <cstddef>

#include "RND.h"
#include "RNDp_Generator.h"
#include "U_Err.h"
#include "U_Memory.h"

namespace {

constexpr uint32_t kNewLocation = RNDp_kModule | 1;
constexpr uint32_t kNextLocation = RNDp_kModule | 2;
constexpr uint32_t kDisposeLocation = RNDp_kModule | 3;

constexpr uint64_t kHeaderSize = offsetof(RND_BandLimitedState, window);
static_assert(kHeaderSize == 64 && offsetof(RND_BandLimitedState, low) == 32);

bool IsBandLimited(RND_BandLimitedHandle handle)
{
    return handle != nullptr && *handle != nullptr && (*handle)->signature == RND_kBandLimitedSignature;
}

double GainOf(int32_t size, double confidence)
{
    if (confidence == 1) return 1;
    return std::fmax(std::log(static_cast<double>(size) + 1) / 1.3, 1);
}

// White noise without the gain, which only later entries take.
void FillWindow(RND_BandLimitedState& state)
{
    double* const window = state.window;
    for (int32_t i = 0; i < state.size; ++i) {
        state.seed = RNDp_Next(state.seed);
        window[i] = ((state.high - state.low) * (state.seed * RNDp_kUnit) + state.low) / state.size;
        state.sum += window[i];
    }
}

double NextValue(RND_BandLimitedState& state)
{
    double value = state.sum;
    if (state.clip) value = value < state.low ? state.low : value > state.high ? state.high : value;

    state.seed = RNDp_Next(state.seed);
    const double r = ((state.seed & state.mask) >> (state.shift & 31)) * RNDp_kUnit;
    double* const window = state.window;
    double& entry = window[state.index];
    state.sum -= entry;
    // Wanted: the gain works around 0.5 whatever the range is, as it always did.
    entry = ((state.low + (state.high - state.low) * r - 0.5) * state.gain + 0.5) / state.size;
    state.sum += entry;
    state.index = state.index + 1 < state.size ? state.index + 1 : 0;
    return value;
}

}  // namespace

Err RND_NewBandLimitedState(uint32_t seed, bool clip, int32_t size, RND_BandLimitedHandle* out,
                            double confidence, double low, double high)
{
    *out = nullptr;
    if (size < 1) {
        U_ReportFailedVerification(kNewLocation, __LINE__, nullptr, nullptr);
        return U_Err_BAD_PARAMETER;
    }
    if (!(confidence > 0 && confidence <= 1)) {
        U_ReportFailedVerification(kNewLocation, __LINE__, nullptr, "bad confidence");
        return U_Err_BAD_PARAMETER;
    }
    const uint64_t bytes = kHeaderSize + static_cast<uint64_t>(size) * sizeof(double);
    const auto handle = reinterpret_cast<RND_BandLimitedHandle>(
        U_AllocateHandleClear(kNewLocation, RNDp_String(RNDp_Text_BAND_LIMITED), bytes));
    if (handle == nullptr) return U_Err_OUT_OF_MEMORY;

    RND_BandLimitedState& state = **handle;
    state.seed = seed;
    state.mask = UINT32_MAX;
    state.signature = RND_kBandLimitedSignature;
    state.size = size;
    state.clip = clip;
    state.low = low;
    state.high = high;
    state.gain = GainOf(size, confidence);
    FillWindow(state);
    *out = handle;
    return U_Err_NONE;
}

Err RND_GetNextBLFloats(RND_BandLimitedHandle handle, int32_t count, double* out)
{
    if (!IsBandLimited(handle)) {
        U_ReportFailedVerification(kNextLocation, __LINE__, nullptr, nullptr);
        return U_Err_BAD_PARAMETER;
    }
    for (int32_t i = 0; i < count; ++i) out[i] = NextValue(**handle);
    return U_Err_NONE;
}

Err RND_DisposeBandLimitedState(RND_BandLimitedHandle handle)
{
    if (!IsBandLimited(handle)) {
        U_ReportFailedVerification(kDisposeLocation, __LINE__, nullptr, nullptr);
        return U_Err_BAD_PARAMETER;
    }
    return U_FreeHandle(reinterpret_cast<char**>(handle));
}
