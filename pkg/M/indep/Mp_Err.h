/// The reporter of the math family, and its texts.
#ifndef MP_ERR_H
#define MP_ERR_H

#include <cstdint>

#include "U_LStr.h"

extern U_ZLStrCache_Opaque* M_G_zref;

/// Row `row` of the family's texts in the user's language; "[?]" for a row that does not exist.
const char* Mp_String(int row);

/// Reports an error of the family and returns its code; 0 reports nothing.
///
/// location  where, inside the family; its low 16 bits count
/// code      a code of M.h; every other one is reported as unknown, with its number
/// text      the row of the texts that says in what the error arose, for the codes that name it
uint32_t Mp_ReportErr(uint32_t location, uint32_t code, int text);

/// Called last by `M_Birth`: a place for a debugger to stop at. Does nothing.
void Mp_TestAreEqual();

#endif
