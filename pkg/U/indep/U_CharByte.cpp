// The byte classifier. A last byte of Shift-JIS, CP949 or GB18030 can have any value that a first byte has,
// and many that ASCII has, so the only way to know a byte is to walk the text from its start, and the only
// one who knows the lengths is the system's locale for the encoding.
#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cstring>
#include <iterator>
#include <mutex>

#include "U_String.h"
#include "Up_CharClass.h"
#include "Up_Encodings.h"

namespace {

struct ScriptRow {
    unsigned int script;
    const char* locale;
};
constexpr unsigned int kAnyOther = ~0u;
// Script 2 has no row: its texts are walked byte by byte like those of any script without long characters.
constexpr ScriptRow kScripts[] = {
    {1, "ja_JP.SJIS"},
    {3, "ko_KR.CP949"},
    {25, "zh_CN.gb18030"},
    {256, "C.UTF-8"},
    {kAnyOther, "en_US.ISO8859-1"},
};
static_assert(std::is_sorted(std::begin(kScripts), std::end(kScripts),
                             [](const ScriptRow& a, const ScriptRow& b) { return a.script < b.script; }));

// The locales made so far, null where none was asked for. Written under the mutex, once each; a locale stays
// for the life of the process, since threads may classify until its end.
std::mutex g_localesMutex;
std::array<std::atomic<Up_CharLocale>, std::size(kScripts)> g_locales;

constexpr size_t kLongestChar = MB_LEN_MAX;

}  // namespace

Up_CharLocale Up_LocaleForScript(unsigned int script)
{
    const ScriptRow* row = std::begin(kScripts);
    while (row->script != script && row->script != kAnyOther) ++row;
    std::atomic<Up_CharLocale>& entry = g_locales[static_cast<size_t>(row - kScripts)];

    if (const Up_CharLocale known = entry.load(std::memory_order_acquire)) return known;
    const std::lock_guard lock{g_localesMutex};
    Up_CharLocale made = entry.load(std::memory_order_relaxed);
    if (!made) {
        made = Up_MakeCharLocale(row->locale);
        entry.store(made, std::memory_order_release);
    }
    return made;
}

Up_CharLocale Up_LocaleForText()
{
    return Up_LocaleForScript(U_GetPlatformSpecificCurrentTextEncodingForSerialization() & 0xFFFF);
}

void Up_CharWalk::Measure()
{
    if (!m_inForce) m_inForce.emplace(m_locale);
    const ptrdiff_t length = Up_MeasureChar(m_text + m_start, std::min(m_size - m_start, kLongestChar));
    m_valid = length > 0;
    if (length == Up_kIncompleteChar) m_incompleteStart = m_start;
    m_end = m_start + (m_valid ? static_cast<size_t>(length) : 1);
}

int Up_GetByteTypeUsingUnixMethods(const char* text, long index, Up_CharLocale locale)
{
    if (index < 0) return 0;
    const auto at = static_cast<size_t>(index);
    const size_t known = strnlen(text, at + kLongestChar);
    Up_CharWalk walk{text, known, locale};
    if (at >= known || !walk.To(at) || !walk.Valid()) return 0;
    if (walk.Start() == at) return walk.End() == at + 1 ? 0 : -1;
    return walk.End() == at + 1 ? 1 : 2;
}

int U_CharByte(const char* text, long index)
{
    return Up_GetByteTypeUsingUnixMethods(text, index, Up_LocaleForText());
}

int U_CharByteFromScript(const char* text, long index, unsigned int script)
{
    return Up_GetByteTypeUsingUnixMethods(text, index, Up_LocaleForScript(script & 0xFFFF));
}

size_t Up_CutLength(const char* text, size_t limit)
{
    const size_t size = limit > SIZE_MAX - kLongestChar ? SIZE_MAX : limit + kLongestChar;
    return Up_CutLength(text, size, limit);
}

size_t Up_CutLength(const char* text, size_t size, size_t limit)
{
    const size_t length = size ? strnlen(text, size) : 0;  // an empty source may have no address
    const bool endsInside = length == size;
    if (length <= limit && !endsInside) return length;
    limit = std::min(limit, length);
    if (limit == 0) return 0;

    Up_CharWalk walk{text, length, Up_LocaleForText()};
    walk.To(std::min(limit, length - 1));
    if (endsInside && walk.IncompleteStart() < limit) return walk.IncompleteStart();
    if (!walk.Valid() || limit == length) return limit;
    return walk.Start();
}
