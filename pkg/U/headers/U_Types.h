/// The words that every header of the library shares: error codes, severities, text types, the export mark.
///
/// The C part stands alone under C11. The text types are C++ only.
#ifndef U_TYPES_H
#define U_TYPES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "zvkcore/config/Export.h"

// ICU has a macro of this name and meaning; whichever header comes first, the other must not stumble.
#ifndef U_EXPORT
#define U_EXPORT ZVKCORE_EXPORT
#endif

/// An error code: 0 is success. The plug-in host's codes are four-character values.
typedef int32_t Err;

enum {
    U_Err_NONE = 0,
    U_Err_DAMAGED = 2,        ///< a structure or a file is damaged
    U_Err_BAD_PARAMETER = 3,  ///< a bad parameter, or a value of an unexpected type
    U_Err_OUT_OF_MEMORY = 4,
    U_Err_OUT_OF_RANGE = 10,
    U_Err_UNKNOWN = 14,       ///< an exception that nobody could name
    U_Err_UNBORN = 0x1701     ///< the library is not born
};

/// The weight of a report: one bit of these. What each one does is told in U_Err.h.
typedef uint16_t U_Severity;

enum {
    U_Sev_NONE = 1,
    U_Sev_PLAIN = 2,
    U_Sev_WARNING = 4,
    U_Sev_PROBLEM = 8,
    U_Sev_FATAL = 16,
    U_Sev_CONTINUED = 32,
    U_Sev_DEBUG = 64,
    U_Sev_LEAK = 128
};

#ifdef __cplusplus

#include "zvkcore/string/UTFString.h"

/// The text type of the library: 16-bit units of UTF-16 in the machine's byte order.
using U_UTF16String = zvkcore::string::UTF16String;

/// A string of bytes in UTF-8.
using U_UTF8String = zvkcore::string::UTF8String;

#endif
#endif
