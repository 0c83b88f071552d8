// Spans of time: intersection, union, what lies inside. No state.

#include "T_Time.h"
#include "Tp_Time.h"

namespace {

using Choose = Err (*)(const T_Time* a, const T_Time* b, T_Time* out);

// The span from the chosen start to the chosen end of two.
//
// Wanted: everything that can fail before the start is known leaves both outputs as they were; the last
// difference is taken on ratios, so its failure leaves 0/0 behind a start that is written.
Err Combine(const T_TimeSpan& a, const T_TimeSpan& b, Choose choose_start, Choose choose_end,
            T_Time* out_start, T_Time* out_duration)
{
    T_Time a_end;
    T_Time b_end;
    T_Time start;
    T_Time end;
    if (const Err err = T_AddTime(&a.start, &a.duration, &a_end)) return err;
    if (const Err err = T_AddTime(&b.start, &b.duration, &b_end)) return err;
    if (const Err err = choose_start(&a.start, &b.start, &start)) return err;
    if (const Err err = choose_end(&a_end, &b_end, &end)) return err;
    *out_start = start;

    const M_Ratio from = Tp_Ratio(start);
    const M_Ratio to = Tp_Ratio(end);
    M_Ratio duration;
    const uint32_t err = M_SubRatio(&to, &from, &duration, M_ApproximateSilently);
    if (duration.num < 0) duration.num = 0;
    *out_duration = Tp_Time(duration);
    return static_cast<Err>(err);
}

T_TimeSpan CombineOrThrow(const T_TimeSpan& a, const T_TimeSpan& b, Choose choose_start, Choose choose_end)
{
    T_TimeSpan span;
    const Err err = Combine(a, b, choose_start, choose_end, &span.start, &span.duration);
    if (err != U_Err_NONE) throw static_cast<int>(err);
    return span;
}

}  // namespace

Err T_IntersectSpanTime(const T_Time* a_start, const T_Time* a_duration, const T_Time* b_start,
                        const T_Time* b_duration, T_Time* out_start, T_Time* out_duration)
{
    return Combine({*a_start, *a_duration}, {*b_start, *b_duration}, T_MaxTime, T_MinTime, out_start,
                   out_duration);
}

Err T_UnionSpanTime(const T_Time* a_start, const T_Time* a_duration, const T_Time* b_start,
                    const T_Time* b_duration, T_Time* out_start, T_Time* out_duration)
{
    return Combine({*a_start, *a_duration}, {*b_start, *b_duration}, T_MinTime, T_MaxTime, out_start,
                   out_duration);
}

T_TimeSpan T_IntersectSpans(const T_TimeSpan& a, const T_TimeSpan& b)
{
    return CombineOrThrow(a, b, T_MaxTime, T_MinTime);
}

T_TimeSpan T_UnionSpans(const T_TimeSpan& a, const T_TimeSpan& b)
{
    return CombineOrThrow(a, b, T_MinTime, T_MaxTime);
}

T_TimeSpan T_NormalizeSpan(const T_TimeSpan& span)
{
    T_TimeSpan normalized = span;
    return normalized.Normalize();
}

T_TimeSpan& T_TimeSpan::Normalize()
{
    if (duration.value < 0) {
        start = start + duration;
        duration.value = Mp_Negate(duration.value);
    }
    return *this;
}

bool T_TimeSpan::Contains(const T_Time& time) const
{
    return !(time < start) && time < start + duration;
}

bool T_TimeSpan::Contains(const T_TimeSpan& span) const
{
    const T_Time end = start + duration;
    const T_Time other_end = span.start + span.duration;
    if (span.start < start || span.start >= end) return false;
    return other_end == end || (other_end >= start && other_end < end);
}

bool operator==(const T_TimeSpan& a, const T_TimeSpan& b)
{
    return a.start == b.start && a.duration == b.duration;
}
