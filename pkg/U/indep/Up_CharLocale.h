/// What the byte classifier needs of the system's locales, and nothing more.
#ifndef UP_CHARLOCALE_H
#define UP_CHARLOCALE_H

#include <locale.h>

#include <cstddef>

/// A locale of the system. It is never freed: texts are classified until the process's very end.
using Up_CharLocale = locale_t;

/// Makes a locale with all its categories. When the system has none of that name the result stands for the
/// locale of the process, as it is at each use.
Up_CharLocale Up_MakeCharLocale(const char* name);

/// Puts a locale in force on the calling thread, and the former one back at its end.
class Up_ScCharLocale {
  public:
    explicit Up_ScCharLocale(Up_CharLocale locale);
    ~Up_ScCharLocale();
    Up_ScCharLocale(const Up_ScCharLocale&) = delete;
    Up_ScCharLocale& operator=(const Up_ScCharLocale&) = delete;

  private:
    Up_CharLocale m_former;
};

/// The results of `Up_MeasureChar` that are no lengths.
constexpr ptrdiff_t Up_kInvalidChar = -1;
constexpr ptrdiff_t Up_kIncompleteChar = -2;

/// The count of bytes of the character that `text` begins with, under the locale in force on the thread.
///
/// text  `size` readable bytes, 1 or more, the first of which is not zero
ptrdiff_t Up_MeasureChar(const char* text, size_t size);

/// The value that a text begins with, as `atof` reads it in the locale "C". Zero if there is none.
double Up_ScanPlainNumber(const char* text);

#endif
