/// Birth of the math family, its error codes and its tables.
///
/// Ratios (M_Ratio.h) and matrices need no birth. Birth prepares the tables that a host asks for, so that no
/// thread pays for building them later; a table that was not prepared is built at its first use.
///
///     M_Birth(M_Birth_TRIG, NULL);
///     const double* sine = M_GetTrigTable();  // sine[angle], angle in steps of a turn / 4096
///     M_Death();
#ifndef M_H
#define M_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// The error codes of the family. What is reported with each is told beside it.
enum {
    M_Err_OVERFLOW = 0x1102,                 ///< a problem: "overflow" and where
    M_Err_UNDERFLOW = 0x1103,                ///< a warning: "underflow" and where
    M_Err_DIVIDE_BY_ZERO = 0x1104,           ///< a problem
    M_Err_UNREQUESTED_SERVICE = 0x1105,      ///< a problem: a table that nobody asked for
    M_Err_ZERO_DENOMINATOR = 0x1106,         ///< a problem
    M_Err_MATRIX_NOT_INVERTIBLE = 0x1107,    ///< a problem
    M_Err_MATRIX_NOT_DECOMPOSABLE = 0x1108,  ///< a problem
    M_Err_NORMAL_VECTOR_FAILED = 0x1109,     ///< a problem
    M_Err_PLANE_NOT_INTERSECTED = 0x110A,    ///< a problem
    M_Err_ZERO_WEIGHT = 0x110C               ///< thrown for a homogeneous point that cannot be divided
};

/// What `M_Birth` prepares.
enum {
    M_Birth_TRIG = 1,           ///< the sine table
    M_Birth_CHARACTER_MATH = 2  ///< the multiply and divide tables of 8-bit values
};

/// Logs "M Birth" and prepares the tables of `flags`. May be called again at any time.
///
/// out      may be null; receives 0, whatever the result
/// returns  0; the code of a table that could not be built, and then those behind it are not prepared
/// threads  any
U_EXPORT Err M_Birth(uint32_t flags, uint32_t* out);

/// Logs "M Death". Tables stay: they serve a next birth. Returns 0.
U_EXPORT Err M_Death(void);

// --- Tables ------------------------------------------------------------------------------------------------
//
// Built once a process, at birth or first use, and constant from then on: read them from any thread, for as
// long as the process lives. Nothing is freed.

enum {
    M_kTrigTableSteps = 4096,  ///< steps of a full turn; the table has one entry more, equal to the first
    M_kCharacterTableSide = 256
};

/// Sines: entry i is sin(2 pi i / M_kTrigTableSteps), exact at the quarter turns. Add a quarter for cosines.
U_EXPORT const double* M_GetTrigTable(void);

/// Products of values that stand for 0 to 1: entry a * 256 + b is a * b / 255, rounded to the nearest.
U_EXPORT const uint8_t* M_GetCharMultiplyTable(void);

/// Quotients of such values: entry a * 256 + b is a * 255 / b, rounded to the nearest (halves up), at most
/// 255. Division by 0 gives 255, and 0 by 0 gives 0.
U_EXPORT const uint8_t* M_GetCharDivideTable(void);

#ifdef __cplusplus
}
#endif
#endif
