/// Exact ratios: a signed 32-bit numerator over an unsigned 32-bit denominator, and what happens when a
/// result does not fit them.
///
/// A ratio is what times, frame rates and aspect ratios are made of: sums and products of such values stay
/// exact instead of drifting. It is no big number. Each operation works in 32 bits, foresees overflow with a
/// conservative test, then reduces its operands and tries again; only when nothing can be reduced does it
/// fail, or fall back on the best ratio near the result. The caller chooses which by the last argument:
///
///   status argument        result does not fit            0 in the byte   1             2
///   null                   reported, code returned
///   M_ApproximateSilently  approximated without a word; reported, code returned, if out of range even so
///   byte, value 2 clear    nothing reported, code 0       exact           overflow
///   byte, value 2 set      approximated, code 0           exact           out of range  approximated
///
/// The byte is read for its value 2 and then written. For example:
///
///     uint8_t status = 2;
///     M_AddRatio(&start, &duration, &end, &status);
///     if (status == 2) Warn("the end is rounded");
///
/// Ground rules. A failed operation leaves 0/0, never a partial value, unless its own text says otherwise. A
/// zero denominator in an operand is always reported, whatever the status argument says, and its code
/// (0x1106) returned. Ratios are not kept in lowest terms: results come out reduced only where that is said.
/// Values that leave 32 bits at the extremes (the negative of -2^31) wrap as two's complement. An output may
/// be one of the inputs. Pointers are not null unless that is said.
///
/// threads  any; no shared state. Reports use per-thread storage
/// errors   0, or a code of the family (M.h)
#ifndef M_RATIO_H
#define M_RATIO_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- Types -------------------------------------------------------------------------------------------------

/// A ratio. `den` 0 is not a number: a failed operation gives 0/0.
typedef struct M_Ratio {
    int32_t num;   ///< carries the sign
    uint32_t den;  ///< above 0 in an operand
} M_Ratio;

/// A signed 64-bit value in two words.
typedef struct M_Int64 {
    int32_t hi;
    uint32_t lo;
} M_Int64;

/// What an operation leaves in a status byte.
enum {
    M_Status_EXACT = 0,
    M_Status_OVERFLOW = 1,
    M_Status_APPROXIMATED = 2  ///< on entry: an approximation is welcome
};

/// The status argument for "approximate without a word": the pointer whose bits are all ones.
#define M_ApproximateSilently ((uint8_t*)UINTPTR_MAX)

// --- Arithmetic --------------------------------------------------------------------------------------------

/// Sum and difference. With equal denominators the result keeps the denominator, otherwise it stands over the
/// least common one, not reduced further: 1/3 + 1/6 is 3/6. A zero operand yields the other one as it is.
U_EXPORT uint32_t M_AddRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out, uint8_t* status);
U_EXPORT uint32_t M_SubRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out, uint8_t* status);

/// Product. Not reduced, unless the plain products could overflow.
U_EXPORT uint32_t M_MulRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out, uint8_t* status);

/// Quotient for positive divisors. A negative divisor does not give the arithmetic quotient: its numerator
/// becomes the denominator as the unsigned word that it is. To divide by any ratio, multiply by
/// `M_RecipRatio`. A divisor of 0/n fails with the zero denominator code of the product.
///
/// A divisor whose denominator is 2^31 or more has no exact reciprocal: with M_ApproximateSilently, or value
/// 1 of the byte set, its terms are halved (and value 2 of the byte set at the end); with null that is a
/// reported overflow; with value 1 of the byte clear the result is 0/0, value 1 is set and the code is 0.
U_EXPORT uint32_t M_DivRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out, uint8_t* status);

/// Divides both terms by their greatest common divisor. 0/n becomes 0/1; n/0 stays as it is.
///
/// reduced  may be null; 1 if that divisor was not 1, also when it is 2^31 or more, which divides nothing
U_EXPORT uint32_t M_ReduceRatio(const M_Ratio* in, M_Ratio* out, uint8_t* reduced);

/// Swaps the terms; the sign stays with the numerator. The reciprocal of 0/n is n/0, of n/0 is 0/n, both
/// without a report. A denominator of 2^31 or more is first reduced, or, in lowest terms, both terms are
/// shifted right by one bit: 1/2147483648 gives 1073741824/0.
///
/// exact  may be null; 1, or 0 after such a shift
U_EXPORT uint32_t M_RecipRatio(const M_Ratio* in, M_Ratio* out, uint8_t* exact);

// --- From doubles and to other denominators ----------------------------------------------------------------

/// The best ratio near a double (taken to single precision first), both terms at most 2^30, in lowest terms.
/// Magnitudes of 2^30 and more, infinities included, give 2^30/1 with the sign; not-a-number gives 2^30/1;
/// magnitudes up to 2^-31 give 0/1.
///
/// overflow  1 when a finite magnitude is 2^31 or more, and `out` is 0/0; else 0. Nothing is reported
U_EXPORT uint32_t M_FpLong2Ratio(M_Ratio* out, uint8_t* overflow, double value);

/// Expresses a ratio over another denominator, rounding as `M_RoundDouble` does.
///
/// exact     may be null; 1 if nothing was rounded, else 0. Not written after a zero denominator
/// overflow  may be null, and then an overflow is reported and its code returned; else 1 on overflow, with
///           `out` 0/0 and code 0, and 0 otherwise
U_EXPORT uint32_t M_ConvRatio(const M_Ratio* in, uint32_t denominator, M_Ratio* out, uint8_t* exact,
                              uint8_t* overflow);

/// The same on bare integers. A failure gives the numerator 0.
U_EXPORT uint32_t M_ShortConvRatio(int32_t numerator, uint32_t denominator, uint32_t new_denominator,
                                   int32_t* out, uint8_t* overflow);

// --- Order -------------------------------------------------------------------------------------------------

/// Gives a value with the sign of a - b. Mind that it is any value of that sign, not just -1, 0 or 1: 7/1
/// against 2/1 gives 5. After a zero denominator it is 0.
U_EXPORT uint32_t M_CompareRatio(const M_Ratio* a, const M_Ratio* b, int32_t* result);

/// The lesser and the greater; of an equal pair the first.
U_EXPORT uint32_t M_MinRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out);
U_EXPORT uint32_t M_MaxRatio(const M_Ratio* a, const M_Ratio* b, M_Ratio* out);

/// Holds x inside low and high, both included. low above high is reported and returns 3. That, and a zero
/// denominator in low or high, which returns its own code, leave `out` as it was.
U_EXPORT uint32_t M_ClipRatio(const M_Ratio* x, const M_Ratio* low, const M_Ratio* high, M_Ratio* out);

/// Holds x inside start and start + duration, both included. The sum is exact: its overflow is a failure.
U_EXPORT uint32_t M_ClipRatioToSpan(const M_Ratio* x, const M_Ratio* start, const M_Ratio* duration,
                                    M_Ratio* out);

/// Clips span a to span b. The result starts at a's start held inside b. It ends at b's start when a ends
/// there or before, and else at b's end: also when a ends inside b. Sums are exact, and any failure leaves
/// 0/0 in both outputs.
///
///   b           [---------------)
///   a              [------)
///   result         [------------)
U_EXPORT uint32_t M_ClipSpanToSpan(const M_Ratio* a_start, const M_Ratio* a_duration, const M_Ratio* b_start,
                                   const M_Ratio* b_duration, M_Ratio* out_start, M_Ratio* out_duration);

// --- Integers ----------------------------------------------------------------------------------------------

/// 1 when the 32-bit sum wraps.
U_EXPORT int M_AddWouldOverflow(int32_t a, int32_t b);

/// 1 when the leading zero bits of both magnitudes sum to 32 or less. Conservative: a product that fits can
/// be refused (0x8000 times 0x8000), one that does not fit never passes.
U_EXPORT int M_MulWouldOverflow(int32_t a, int32_t b);

/// The same on unsigned values: 1 when the sum is below 32.
U_EXPORT int M_UMulWouldOverflow(uint32_t a, uint32_t b);

/// Greatest common divisor; 1 when b is 0, whatever a is; b when a is 0. Returns 0.
U_EXPORT uint32_t M_UnsignedGCD(uint32_t a, uint32_t b, uint32_t* out);

/// Rounds to a whole number, halves towards positive infinity: 2.5 to 3, -2.5 to -2. The sum or difference
/// with 0.5 is formed in doubles, so the neighbours of plus and minus 0.5 round away from zero. A result
/// beyond 32 bits is taken modulo 2^32; not-a-number and infinities give 0.
U_EXPORT int32_t M_RoundDouble(double x);

/// The same, held inside 32 bits: above 2147483646.5 gives 2^31 - 1, below -2147483647.5 gives -2^31.
U_EXPORT int32_t M_RoundDoubleSafe(double x);

/// Rounds v to a multiple of m, halves away from zero. m 0 gives v.
U_EXPORT int32_t M_RoundToNearestMult(int32_t v, int32_t m);

/// The remainder of x / y with the sign of x: `fmod` of the C library.
U_EXPORT double M_fmod(double x, double y);

#ifdef __cplusplus
}
#endif
#endif
