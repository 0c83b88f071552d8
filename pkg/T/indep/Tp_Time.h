/// What the time functions share: the way to ratio arithmetic and back, and counting frames.
#ifndef TP_TIME_H
#define TP_TIME_H

#include "Mp_Integer.h"
#include "T_Time.h"
#include "U_LStr.h"

// Module number of this family in the locations of reports.
constexpr uint32_t Tp_kModule = 0x120000;

static_assert(sizeof(T_Time) == sizeof(M_Ratio));

constexpr M_Ratio Tp_Ratio(const T_Time& time)
{
    return {time.value, time.scale};
}

constexpr T_Time Tp_Time(const M_Ratio& ratio)
{
    return {ratio.num, ratio.den};
}

/// The time without its sign; -2^31 stays as it is.
constexpr T_Time Tp_Magnitude(const T_Time& time)
{
    return {time.value < 0 ? Mp_Negate(time.value) : time.value, time.scale};
}

/// How many units lie in an amount, by magnitudes: the words of the quotient, for the caller to round.
struct Tp_Quotient {
    uint32_t num;
    uint32_t den;

    uint32_t RoundedDown() const { return num / den; }
    uint32_t RoundedUp() const { return num == 0 ? 0 : (num - 1) / den + 1; }
};

/// The magnitude of `amount` over the magnitude of `unit`, through the unit's reciprocal. After a failure the
/// quotient is 0/1.
Err Tp_CountUnits(const T_Time& amount, const T_Time& unit, Tp_Quotient* out);

extern U_ZLStrCache_Opaque* T_G_zref;

/// Row `row` of the family's texts in the user's language.
const char* Tp_String(int row);

enum Tp_Text : int { Tp_Text_OUT_OF_RANGE = 0 };

#endif
