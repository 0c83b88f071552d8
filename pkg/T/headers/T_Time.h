/// Rational time: a signed count over an unsigned scale, the time value of the whole application.
///
/// A scale is units per second, so a frame at 29.97 is exactly 100/2997 and a thousand of them are exactly
/// 100000/2997. Times of different scales need no preparation: sums work on the least common scale.
///
///     T_Time end;
///     Err err = T_AddTime(&start, &duration, &end);      // C, with the error code
///     T_Time next = start + duration;                    // C++, T_BadTime after a failure
///
/// Ground rules. Arithmetic is that of M_Ratio.h under one policy: never fail on precision. A result that
/// does not fit even after reduction becomes the best approximation without a word, on a scale that the
/// approximation chooses; what is out of range even so, or has a zero scale, is reported once by the ratio
/// layer and yields `T_BadTime`. So a failed chain stays recognisable to its end. Pointers are not null
/// unless that is said; an output may be one of the inputs. Values that leave 32 bits at the extremes wrap.
///
/// threads  any; the maximum frame rate is the only shared state, and atomic
/// errors   0; a code of M.h; 3 (bad parameter) where told
#ifndef T_TIME_H
#define T_TIME_H

#include "M_Ratio.h"

// --- Types -------------------------------------------------------------------------------------------------

/// A time: the two words of an `M_Ratio`.
typedef struct T_Time {
    int32_t value;   ///< the count, carries the sign
    uint32_t scale;  ///< units per second; 0 marks a failure
} T_Time;

/// A stretch of time, half open: it contains its start and not its end. Normalised when its duration is not
/// negative.
typedef struct T_TimeSpan {
#ifdef __cplusplus
    T_Time start{0, 1};
    T_Time duration{0, 1};

    /// Turns a span of negative duration around: the same stretch, started at its other end. If that start is
    /// out of range it becomes `T_BadTime`, and the duration still loses its sign.
    U_EXPORT T_TimeSpan& Normalize();

    U_EXPORT bool Contains(const T_Time& time) const;

    /// True when the other span starts inside this one and ends inside or with it. An empty span that lies on
    /// the end of this one is outside.
    U_EXPORT bool Contains(const T_TimeSpan& span) const;
#else
    T_Time start;
    T_Time duration;
#endif
} T_TimeSpan;

/// Ticks in a second. It divides by all common frame and sample rates.
#define T_kTicksPerSecond 2.54016e11

#ifdef __cplusplus
extern "C" {
#endif

/// What a failed operation yields: value -2^31, scale 0.
U_EXPORT extern const T_Time T_BadTime;

// --- Arithmetic --------------------------------------------------------------------------------------------
//
// Each returns the error code, and writes `T_BadTime` on failure.

U_EXPORT Err T_AddTime(const T_Time* a, const T_Time* b, T_Time* out);
/// A failure is reported as one of ratio addition: the second value is negated and added.
U_EXPORT Err T_SubTime(const T_Time* a, const T_Time* b, T_Time* out);
U_EXPORT Err T_MulTime(const T_Time* time, const M_Ratio* factor, T_Time* out);
/// Divides by a ratio of any sign.
U_EXPORT Err T_DivTime(const T_Time* time, const M_Ratio* divisor, T_Time* out);

/// The same two words.
U_EXPORT M_Ratio T_TimeToRatio(T_Time time);

/// Divides both words by their greatest common divisor, as `M_ReduceRatio`; `reduced` may be null.
U_EXPORT Err T_ReduceTime(const T_Time* in, T_Time* out, uint8_t* reduced);

/// Turns the bytes of both words around, in place.
U_EXPORT void T_TimeSwap(T_Time* time);

// --- Order -------------------------------------------------------------------------------------------------

/// Gives a value with the sign of a - b: `M_CompareRatio`. Keeps the error code, which operators drop.
U_EXPORT Err T_CompareTime(const T_Time* a, const T_Time* b, int32_t* result);

U_EXPORT Err T_MinTime(const T_Time* a, const T_Time* b, T_Time* out);
U_EXPORT Err T_MaxTime(const T_Time* a, const T_Time* b, T_Time* out);

/// Holds a time inside low and high. low above high is reported and returns 3.
U_EXPORT Err T_ClipTime(const T_Time* time, const T_Time* low, const T_Time* high, T_Time* out);

/// Holds a time inside start and start + duration, both included. That sum must be exact.
U_EXPORT Err T_SpanClipTime(const T_Time* time, const T_Time* start, const T_Time* duration, T_Time* out);

// --- Scales, doubles and ticks -----------------------------------------------------------------------------

/// Expresses a time on another scale, rounding to the nearest value, halves towards positive infinity. When
/// the value does not fit, the time is reduced and converted again; a second overflow is reported and its
/// code returned. A failure leaves 0/0.
///
/// exact  may be null; 1 if nothing was rounded
U_EXPORT Err T_ConvTime(const T_Time* time, uint32_t scale, T_Time* out, uint8_t* exact);

/// The same on bare integers; a failure gives 0.
U_EXPORT Err T_ShortConvTime(int32_t value, uint32_t scale, uint32_t new_scale, int32_t* out);

/// The time nearest to seconds in a double, on the scale that suits it (`M_FpLong2Ratio`).
///
/// returns  0; 3 for a magnitude of 2^31 or more, after a report, and `out` is 0/0
U_EXPORT Err T_FpLong2Time(T_Time* out, double seconds);

/// The value of seconds on a scale, rounded and held inside 32 bits. Never -2^31, the value of `T_BadTime`.
U_EXPORT int32_t T_FpLong2TimeValue(uint32_t scale, double seconds);

/// Ticks of a time, rounded to the nearest, halves up. What leaves 64 bits is held at their ends; a zero
/// scale gives the end of the value's sign, or 0.
U_EXPORT int64_t T_TimeToTicks(T_Time time);

/// The time of a count of ticks on a scale, rounded and held inside 32 bits.
U_EXPORT T_Time T_TicksToTime(int64_t ticks, uint32_t scale);

/// The whole number nearest to a fractional count of units, halves away from zero, modulo 2^32.
U_EXPORT int32_t T_FloatTimeValueToTimeValue(double value);

// --- Frames ------------------------------------------------------------------------------------------------
//
// A frame rate is frames per second in 16.16 fixed point: 29.97 is 1964114.

/// The duration of a frame, in lowest terms. Rates within 4 of 29.97, 59.94, 23.976, 11.988 and 14.985 give
/// that decimal rate exactly (100/2997), others the rate rounded to thousandths, or as it is when whole.
/// A rate of 0, or one that rounds to 0 thousandths, gives a scale of 0. Returns 0.
U_EXPORT Err T_FrameRate2Duration(int32_t rate, T_Time* out);

/// How many frames a duration holds, by magnitudes: a negative duration counts like a positive one. A frame
/// begun at the end counts with `round_up`. A failure gives 0.
U_EXPORT Err T_CountFrames(const T_Time* duration, const T_Time* frame_duration, bool round_up, int32_t* out);
/// The same whole number as a double.
U_EXPORT Err T_CountFramesFloat(const T_Time* duration, const T_Time* frame_duration, bool round_up,
                                double* out);

/// Rounds a time to the nearest multiple of a quantum, halves away from zero, on the quantum's scale. When
/// that scale is too fine for the time the work is done in doubles, halves go up, and the result takes a
/// scale of its own. A quantum of 0 rounds to units of its scale. Uses deferred reporting, so the library is
/// born.
///
/// returns  0; 3 when the result is out of range even so, after a report
U_EXPORT Err T_RoundToNearestTime(const T_Time* time, const T_Time* quantum, T_Time* out);

/// The highest frame rate that the host works with, 1 to 999; what is outside is held there. 999 at first.
U_EXPORT void T_SetMaxFPS(int32_t fps);
U_EXPORT int32_t T_GetMaxFPS(void);

// --- Spans -------------------------------------------------------------------------------------------------
//
//   a            [-----------)
//   b                  [-----------)
//   intersection       [-----)
//   union        [-----------------)
//
// A result that would have a negative duration gets the value 0 and keeps its scale. When an end is out of
// range both outputs stay as they were; when only the duration is, it becomes 0/0 and the start is written.

U_EXPORT Err T_IntersectSpanTime(const T_Time* a_start, const T_Time* a_duration, const T_Time* b_start,
                                 const T_Time* b_duration, T_Time* out_start, T_Time* out_duration);
/// Covers both spans and the gap between them.
U_EXPORT Err T_UnionSpanTime(const T_Time* a_start, const T_Time* a_duration, const T_Time* b_start,
                             const T_Time* b_duration, T_Time* out_start, T_Time* out_duration);

#ifdef __cplusplus
}  // extern "C"

/// The same for span values. A failure is thrown as an `int`.
U_EXPORT T_TimeSpan T_IntersectSpans(const T_TimeSpan& a, const T_TimeSpan& b);
U_EXPORT T_TimeSpan T_UnionSpans(const T_TimeSpan& a, const T_TimeSpan& b);

/// A normalised copy (`T_TimeSpan::Normalize`).
U_EXPORT T_TimeSpan T_NormalizeSpan(const T_TimeSpan& span);

/// A time with fractions of a unit of its scale, for computations that need them.
struct T_FloatTime {
    double value = 0.0;
    uint32_t scale = 1;

    T_FloatTime() = default;
    T_FloatTime(double value_, uint32_t scale_) : value(value_), scale(scale_) {}
    explicit T_FloatTime(const T_Time& time) : value(time.value), scale(time.scale) {}

    /// The time on the same scale, its value rounded by `T_FloatTimeValueToTimeValue`.
    T_Time ToStandardTime() const { return {T_FloatTimeValueToTimeValue(value), scale}; }

    T_FloatTime& MultiplyWith(const M_Ratio& factor)
    {
        value *= static_cast<double>(factor.num) / static_cast<double>(factor.den);
        return *this;
    }
};

// --- Operators ---------------------------------------------------------------------------------------------
//
// The result alone, `T_BadTime` after a failure. Comparisons drop the error code: a time of scale 0 is
// reported, and then compares equal to everything.

U_EXPORT T_Time operator+(const T_Time& a, const T_Time& b);
U_EXPORT T_Time operator-(const T_Time& a, const T_Time& b);
U_EXPORT T_Time operator*(const T_Time& time, const M_Ratio& factor);
U_EXPORT T_Time operator*(const T_Time& time, int factor);
U_EXPORT T_Time operator/(const T_Time& time, const M_Ratio& divisor);
U_EXPORT T_Time operator/(const T_Time& time, int divisor);

inline T_Time operator*(const T_Time& a, const T_Time& b)
{
    return a * T_TimeToRatio(b);
}

inline T_Time operator/(const T_Time& a, const T_Time& b)
{
    return a / T_TimeToRatio(b);
}

inline T_Time& operator+=(T_Time& a, const T_Time& b)
{
    return a = a + b;
}

inline T_Time& operator-=(T_Time& a, const T_Time& b)
{
    return a = a - b;
}

inline T_Time& operator*=(T_Time& time, const M_Ratio& factor)
{
    return time = time * factor;
}

inline T_Time& operator*=(T_Time& a, const T_Time& b)
{
    return a = a * b;
}

U_EXPORT bool operator<(const T_Time& a, const T_Time& b);
U_EXPORT bool operator<=(const T_Time& a, const T_Time& b);
U_EXPORT bool operator==(const T_Time& a, const T_Time& b);
U_EXPORT bool operator!=(const T_Time& a, const T_Time& b);
U_EXPORT bool operator>=(const T_Time& a, const T_Time& b);
U_EXPORT bool operator>(const T_Time& a, const T_Time& b);

/// True when starts and durations are equal as values.
U_EXPORT bool operator==(const T_TimeSpan& a, const T_TimeSpan& b);

#endif
#endif
