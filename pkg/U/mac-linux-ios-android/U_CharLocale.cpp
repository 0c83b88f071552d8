// Locales of the POSIX systems. The locale of a thread is switched, never that of the process, and nothing here
// reads the environment but `newlocale` itself, which looks for the locale's files.
#include "Up_CharLocale.h"

#include <cstdlib>
#include <cwchar>

Up_CharLocale Up_MakeCharLocale(const char* name)
{
    const locale_t made = newlocale(LC_ALL_MASK, name, locale_t{});
    return made ? made : LC_GLOBAL_LOCALE;
}

Up_ScCharLocale::Up_ScCharLocale(Up_CharLocale locale) : m_former{uselocale(locale)} {}

Up_ScCharLocale::~Up_ScCharLocale()
{
    uselocale(m_former);
}

ptrdiff_t Up_MeasureChar(const char* text, size_t size)
{
    std::mbstate_t clear{};
    return static_cast<ptrdiff_t>(mbrlen(text, size, &clear));
}

double Up_ScanPlainNumber(const char* text)
{
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", locale_t{});
    return strtod_l(text, nullptr, plain);
}
