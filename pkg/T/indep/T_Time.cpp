// Rational time: ratio arithmetic under one policy. What does not fit is approximated without a word, what
// cannot be given at all becomes T_BadTime. No state.

#include "T_Time.h"

#include "Tp_Time.h"

const T_Time T_BadTime = {INT32_MIN, 0};

namespace {

// Stores a ratio's time, or the bad one, and passes the code on.
Err Store(uint32_t err, const M_Ratio& ratio, T_Time* out)
{
    *out = err == 0 ? Tp_Time(ratio) : T_BadTime;
    return static_cast<Err>(err);
}

// The sign of a - b, for operators, which want no more. The cross products give it wherever
// `M_CompareRatio` is the exact difference; it is not where -2^31 has no negative, where a scale has its top
// bit set (doubles are compared then), and where a scale is 0, which it reports.
int Compare(const T_Time& a, const T_Time& b)
{
    const bool is_plain = a.scale - 1 < INT32_MAX && b.scale - 1 < INT32_MAX && b.value != INT32_MIN;
    if (is_plain) {
        const int64_t left = int64_t{a.value} * b.scale;
        const int64_t right = int64_t{b.value} * a.scale;
        return static_cast<int>(left > right) - static_cast<int>(left < right);
    }
    int32_t order = 0;
    T_CompareTime(&a, &b, &order);
    return order;
}

}  // namespace

// --- Arithmetic ------------------------------------------------------------------------------------------

Err T_AddTime(const T_Time* a, const T_Time* b, T_Time* out)
{
    const M_Ratio left = Tp_Ratio(*a);
    const M_Ratio right = Tp_Ratio(*b);
    M_Ratio sum;
    return Store(M_AddRatio(&left, &right, &sum, M_ApproximateSilently), sum, out);
}

// Wanted: addition of the negative, so that a report speaks of addition.
Err T_SubTime(const T_Time* a, const T_Time* b, T_Time* out)
{
    const T_Time negative = {Mp_Negate(b->value), b->scale};
    return T_AddTime(a, &negative, out);
}

Err T_MulTime(const T_Time* time, const M_Ratio* factor, T_Time* out)
{
    const M_Ratio ratio = Tp_Ratio(*time);
    M_Ratio product;
    return Store(M_MulRatio(&ratio, factor, &product, M_ApproximateSilently), product, out);
}

// Not `M_DivRatio`: the reciprocal keeps the sign of a negative divisor where it belongs.
Err T_DivTime(const T_Time* time, const M_Ratio* divisor, T_Time* out)
{
    M_Ratio reciprocal;
    M_RecipRatio(divisor, &reciprocal, nullptr);
    return T_MulTime(time, &reciprocal, out);
}

M_Ratio T_TimeToRatio(T_Time time)
{
    return Tp_Ratio(time);
}

Err T_ReduceTime(const T_Time* in, T_Time* out, uint8_t* reduced)
{
    const M_Ratio ratio = Tp_Ratio(*in);
    M_Ratio lowest;
    const uint32_t err = M_ReduceRatio(&ratio, &lowest, reduced);
    *out = Tp_Time(lowest);
    return static_cast<Err>(err);
}

void T_TimeSwap(T_Time* time)
{
    time->value = static_cast<int32_t>(__builtin_bswap32(static_cast<uint32_t>(time->value)));
    time->scale = __builtin_bswap32(time->scale);
}

// --- Order -----------------------------------------------------------------------------------------------

Err T_CompareTime(const T_Time* a, const T_Time* b, int32_t* result)
{
    const M_Ratio left = Tp_Ratio(*a);
    const M_Ratio right = Tp_Ratio(*b);
    return static_cast<Err>(M_CompareRatio(&left, &right, result));
}

Err T_MinTime(const T_Time* a, const T_Time* b, T_Time* out)
{
    const M_Ratio left = Tp_Ratio(*a);
    const M_Ratio right = Tp_Ratio(*b);
    M_Ratio least;
    return Store(M_MinRatio(&left, &right, &least), least, out);
}

Err T_MaxTime(const T_Time* a, const T_Time* b, T_Time* out)
{
    const M_Ratio left = Tp_Ratio(*a);
    const M_Ratio right = Tp_Ratio(*b);
    M_Ratio greatest;
    return Store(M_MaxRatio(&left, &right, &greatest), greatest, out);
}

Err T_ClipTime(const T_Time* time, const T_Time* low, const T_Time* high, T_Time* out)
{
    const M_Ratio ratio = Tp_Ratio(*time);
    const M_Ratio least = Tp_Ratio(*low);
    const M_Ratio greatest = Tp_Ratio(*high);
    M_Ratio clipped = {};
    return Store(M_ClipRatio(&ratio, &least, &greatest, &clipped), clipped, out);
}

Err T_SpanClipTime(const T_Time* time, const T_Time* start, const T_Time* duration, T_Time* out)
{
    const M_Ratio ratio = Tp_Ratio(*time);
    const M_Ratio from = Tp_Ratio(*start);
    const M_Ratio length = Tp_Ratio(*duration);
    M_Ratio clipped;
    return Store(M_ClipRatioToSpan(&ratio, &from, &length, &clipped), clipped, out);
}

// --- Operators -------------------------------------------------------------------------------------------

T_Time operator+(const T_Time& a, const T_Time& b)
{
    T_Time sum;
    T_AddTime(&a, &b, &sum);
    return sum;
}

T_Time operator-(const T_Time& a, const T_Time& b)
{
    T_Time difference;
    T_SubTime(&a, &b, &difference);
    return difference;
}

T_Time operator*(const T_Time& time, const M_Ratio& factor)
{
    T_Time product;
    T_MulTime(&time, &factor, &product);
    return product;
}

T_Time operator*(const T_Time& time, int factor)
{
    return time * M_Ratio{factor, 1};
}

T_Time operator/(const T_Time& time, const M_Ratio& divisor)
{
    T_Time quotient;
    T_DivTime(&time, &divisor, &quotient);
    return quotient;
}

T_Time operator/(const T_Time& time, int divisor)
{
    return time / M_Ratio{divisor, 1};
}

// Wanted: comparisons drop the error code. A time of scale 0 compares as 0, so it equals everything.
bool operator<(const T_Time& a, const T_Time& b)
{
    return Compare(a, b) < 0;
}

bool operator<=(const T_Time& a, const T_Time& b)
{
    return Compare(a, b) <= 0;
}

bool operator==(const T_Time& a, const T_Time& b)
{
    return Compare(a, b) == 0;
}

bool operator!=(const T_Time& a, const T_Time& b)
{
    return Compare(a, b) != 0;
}

bool operator>=(const T_Time& a, const T_Time& b)
{
    return Compare(a, b) >= 0;
}

bool operator>(const T_Time& a, const T_Time& b)
{
    return Compare(a, b) > 0;
}
