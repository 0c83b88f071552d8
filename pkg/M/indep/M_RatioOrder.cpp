// Comparing ratios, and holding them inside ranges and spans. No state.

#include "M.h"
#include "M_Ratio.h"
#include "Mp_Err.h"
#include "Mp_Integer.h"
#include "Mp_Ratio.h"
#include "Up_Err.h"

namespace {

constexpr M_Ratio kFailed = {0, 0};

// a against b where their difference does not fit 32 bits.
int32_t CompareProducts(const M_Ratio& a, const M_Ratio& b)
{
    if (a.den <= INT32_MAX && b.den <= INT32_MAX) {
        M_Int64 left;
        M_Int64 right;
        Mp_LongMul(a.num, static_cast<int32_t>(b.den), &left);
        Mp_LongMul(static_cast<int32_t>(a.den), b.num, &right);
        if (left.hi != right.hi) return left.hi < right.hi ? -1 : 1;
        if (left.lo != right.lo) return left.lo < right.lo ? -1 : 1;
        return 0;
    }
    const double left = static_cast<double>(a.num) * static_cast<double>(b.den);
    const double right = static_cast<double>(a.den) * static_cast<double>(b.num);
    if (left == right) return 0;
    return left < right ? -1 : 1;
}

// Operands whose difference does not fit at once, or that have no denominator.
[[gnu::noinline]] uint32_t CompareTheLongWay(M_Ratio a, M_Ratio b, int32_t* result)
{
    M_Ratio difference;
    uint8_t status = M_Status_EXACT;
    const uint32_t err = Mp_CalcRatio(&a, &b, true, Mp_Text_COMPARING, &difference, &status);
    *result = status == M_Status_OVERFLOW ? CompareProducts(a, b) : difference.num;
    return err;
}

// Kept apart, so that operands of one scale do not pay for its registers.
[[gnu::noinline]] uint32_t CompareScales(M_Ratio a, M_Ratio b, int32_t* result)
{
    M_Ratio difference;
    if (a.den == 0 || b.den == 0 || !Mp_SumFits(a, b, true, &difference)) {
        return CompareTheLongWay(a, b, result);
    }
    *result = difference.num;
    return 0;
}

// start + duration, exact.
uint32_t EndOfSpan(const M_Ratio& start, const M_Ratio& duration, int text, M_Ratio* end)
{
    return Mp_CalcRatio(&start, &duration, false, text, end, nullptr);
}

struct Span {
    M_Ratio start;
    M_Ratio duration;
};

// Where a's start lies once it is held inside b.
uint32_t ClippedStart(const Span& a, const Span& b, M_Ratio* start)
{
    int32_t order = 0;
    if (const uint32_t err = M_CompareRatio(&a.start, &b.start, &order)) return err;
    if (order < 1) {
        *start = b.start;
        return 0;
    }
    M_Ratio b_end;
    if (const uint32_t err = EndOfSpan(b.start, b.duration, Mp_Text_SPAN, &b_end)) return err;
    if (const uint32_t err = M_CompareRatio(&a.start, &b_end, &order)) return err;
    *start = order < 0 ? a.start : b_end;
    return 0;
}

// Wanted: a span that ends inside b gets b's end, not its own. Only one that ends before b is cut there.
// Layers were stored with these lengths.
uint32_t ClippedEnd(const Span& a, const Span& b, M_Ratio* end)
{
    M_Ratio a_end;
    int32_t order = 0;
    if (const uint32_t err = EndOfSpan(a.start, a.duration, Mp_Text_ADDITION, &a_end)) return err;
    if (const uint32_t err = M_CompareRatio(&a_end, &b.start, &order)) return err;
    if (order < 1) {
        *end = b.start;
        return 0;
    }
    return EndOfSpan(b.start, b.duration, Mp_Text_SPAN, end);
}

uint32_t ClipSpan(const Span& a, const Span& b, Span* out)
{
    M_Ratio end;
    if (const uint32_t err = ClippedStart(a, b, &out->start)) return err;
    if (const uint32_t err = ClippedEnd(a, b, &end)) return err;
    return Mp_CalcRatio(&end, &out->start, true, Mp_Text_SUBTRACTION, &out->duration, nullptr);
}

}  // namespace

// Wanted: the numerator of the difference as it stands, not just its sign.
uint32_t M_CompareRatio(const M_Ratio* a, const M_Ratio* b, int32_t* result)
{
    const M_Ratio left = *a;
    const M_Ratio right = *b;
    const int32_t minuend = left.num;
    const int32_t subtrahend = Mp_Negate(right.num);
    if (left.den != right.den || left.den == 0 || Mp_AddOverflows(minuend, subtrahend)) {
        return CompareScales(left, right, result);
    }
    *result = minuend + subtrahend;
    return 0;
}

uint32_t M_MinRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out)
{
    int32_t order = 0;
    const uint32_t err = M_CompareRatio(a, b, &order);
    *out = err != 0 ? kFailed : order < 1 ? *a : *b;
    return err;
}

uint32_t M_MaxRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out)
{
    int32_t order = 0;
    const uint32_t err = M_CompareRatio(a, b, &order);
    *out = err != 0 ? kFailed : order < 0 ? *b : *a;
    return err;
}

uint32_t M_ClipRatio(const M_Ratio* x, const M_Ratio* low, const M_Ratio* high, M_Ratio* out)
{
    constexpr uint32_t kLocation = 0x110018;
    const M_Ratio value = *x;
    int32_t order = 0;
    if (const uint32_t err = M_CompareRatio(low, high, &order)) return err;
    if (order > 0) {
        Up_ReportTolmErrString(kLocation, U_Sev_PROBLEM, U_Err_BAD_PARAMETER,
                               Mp_String(Mp_Text_INVALID_RANGE));
        return U_Err_BAD_PARAMETER;
    }
    uint32_t err = M_CompareRatio(&value, low, &order);
    if (err == 0 && order < 1) {
        *out = *low;
        return 0;
    }
    if (err == 0) err = M_CompareRatio(&value, high, &order);
    *out = err != 0 ? kFailed : order < 0 ? value : *high;
    return err;
}

uint32_t M_ClipRatioToSpan(const M_Ratio* x, const M_Ratio* start, const M_Ratio* duration, M_Ratio* out)
{
    const M_Ratio value = *x;
    M_Ratio end;
    int32_t order = 0;
    uint32_t err = M_CompareRatio(&value, start, &order);
    if (err == 0 && order < 1) {
        *out = *start;
        return 0;
    }
    if (err == 0) err = EndOfSpan(*start, *duration, Mp_Text_SPAN, &end);
    if (err == 0) err = M_CompareRatio(&value, &end, &order);
    *out = err != 0 ? kFailed : order < 0 ? value : end;
    return err;
}

uint32_t M_ClipSpanToSpan(const M_Ratio* a_start, const M_Ratio* a_duration, const M_Ratio* b_start,
                          const M_Ratio* b_duration, M_Ratio* out_start, M_Ratio* out_duration)
{
    Span clipped;
    const uint32_t err = ClipSpan({*a_start, *a_duration}, {*b_start, *b_duration}, &clipped);
    *out_start = err != 0 ? kFailed : clipped.start;
    *out_duration = err != 0 ? kFailed : clipped.duration;
    return err;
}
