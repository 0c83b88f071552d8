/// The library's own error texts, and error numbers as English sentences.
#ifndef UP_ERRTEXT_H
#define UP_ERRTEXT_H

#include <cstddef>
#include <initializer_list>

#include "U_LStr.h"

extern U_ZLStrCacheEntry UOverride_G_ztab[];
extern U_ZLStrCache UOverride_G_zhdr;
extern U_ZLStrCache_Opaque* const UOverride_G_zref;

/// Row `n` of the table, 0 to 118, in the current language; "[?]" outside of it.
const char* Up_String(long n);

/// One argument of `Up_FormatRow`.
class Up_FormatArgument {
  public:
    Up_FormatArgument(const char* text) : m_text(text ? text : "") {}  // NOLINT: converts on purpose
    Up_FormatArgument(long long number) : m_number(number) {}          // NOLINT
    Up_FormatArgument(int number) : m_number(number) {}                // NOLINT

    const char* Text() const { return m_text; }
    long long Number() const { return m_number; }

  private:
    const char* m_text = nullptr;  // null for a number
    long long m_number = 0;
};

/// Fills the %s and %d of a text that came out of a table, in order. A dictionary may have replaced the text,
/// so it is no format for `printf`: a place without an argument of its kind, and any other % form, stays as
/// it is written.
///
/// size  of `out`, terminator included; the result is cut on a character boundary
void Up_FormatRow(char* out, size_t size, const char* format,
                  std::initializer_list<Up_FormatArgument> arguments);

/// Adds the text of a library error to the calling thread's logging buffer, which becomes one sentence. A
/// full stop at its end goes. An error without text is shown as its number.
///
/// returns  the logging buffer (Up_Err.h)
char* Up_TolmEnglishError(int error);

/// The same for an error number of the system, in the numbering of Mac OS. The number is always shown.
char* Up_SysEnglishError(int error);

#endif
