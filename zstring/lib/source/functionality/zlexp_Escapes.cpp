// Escapes and entities, as tables and the two passes over them.
//
// Process-wide state: `sHatEscapeTable`, the caret table, chosen once and never changed. It is a constant
// behind an atomic pointer, so threads that choose at the same time choose the same.
#include "zlexp_Escapes.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <string_view>

#include "zlex.h"

namespace zlex_private {
namespace {

constexpr Escape kBackslashEscapeTable[] = {
    {u'"', u'"'}, {u'n', 0x000A}, {u'r', 0x000D}, {u't', 0x0009}, {u'b', 0x0008},
};

// One array serves both caret tables: the second is this without its first row.
constexpr Escape kHatEscapes[] = {
    {u'e', 0x00E9}, {u'Q', u'"'},   {u'[', 0x201C}, {u']', 0x201D}, {u'{', 0x2018}, {u'}', 0x2019},
    {u'C', 0x00A9}, {u'R', 0x00AE}, {u'T', 0x2122}, {u'D', 0x00B0}, {u'B', 0x2022}, {u'#', 0x2318},
    {u'!', 0x00AC}, {u'I', 0x2206}, {u'S', 0x2211}, {u'n', 0x000A}, {u'r', 0x000D},
};

std::atomic<const EscapeTable*> sHatEscapeTable{nullptr};

const EscapeTable& HatEscapeTable()
{
    const EscapeTable* table = sHatEscapeTable.load(std::memory_order_acquire);
    if (!table) {
        const EscapeTable* choice = zlex::EnablePSHatEscapes ? &kPSHatEscapeTable : &kESGHatEscapeTable;
        if (sHatEscapeTable.compare_exchange_strong(table, choice)) table = choice;
    }
    return *table;
}

enum class Effect : unsigned char { kUnit, kEndLine, kComment, kCopyYear, kOtherPlatform, kThisPlatform };

struct Entity {
    std::string_view name;
    Effect effect;
    unsigned short unit;
};

// The order is part of the language: the first name that the text begins with decides, so a longer name must
// stand in front of a shorter one that it begins with ("copyyear", "copy").
constexpr Entity charEntityReference[] = {
    // clang-format off
    {"endl", Effect::kEndLine, 0}, {"comment", Effect::kComment, 0}, {"copyyear", Effect::kCopyYear, 0},
    {"mswindows", Effect::kOtherPlatform, 0}, {"ios", Effect::kOtherPlatform, 0},
    {"android", Effect::kOtherPlatform, 0}, {"macos", Effect::kThisPlatform, 0},
    {"tab", Effect::kUnit, 0x0009}, {"cr", Effect::kUnit, 0x000D}, {"lf", Effect::kUnit, 0x000A},
    {"nbsp", Effect::kUnit, 0x00A0}, {"iexcl", Effect::kUnit, 0x00A1}, {"cent", Effect::kUnit, 0x00A2},
    {"pound", Effect::kUnit, 0x00A3}, {"curren", Effect::kUnit, 0x00A4}, {"yen", Effect::kUnit, 0x00A5},
    {"brvbar", Effect::kUnit, 0x00A6}, {"sect", Effect::kUnit, 0x00A7}, {"uml", Effect::kUnit, 0x00A8},
    {"copy", Effect::kUnit, 0x00A9}, {"ordf", Effect::kUnit, 0x00AA}, {"laquo", Effect::kUnit, 0x00AB},
    {"not", Effect::kUnit, 0x00AC}, {"shy", Effect::kUnit, 0x00AD}, {"reg", Effect::kUnit, 0x00AE},
    {"macr", Effect::kUnit, 0x00AF}, {"deg", Effect::kUnit, 0x00B0}, {"plusmn", Effect::kUnit, 0x00B1},
    {"sup2", Effect::kUnit, 0x00B2}, {"sup3", Effect::kUnit, 0x00B3}, {"acute", Effect::kUnit, 0x00B4},
    {"micro", Effect::kUnit, 0x00B5}, {"para", Effect::kUnit, 0x00B6}, {"middot", Effect::kUnit, 0x00B7},
    {"cedil", Effect::kUnit, 0x00B8}, {"sup1", Effect::kUnit, 0x00B9}, {"ordm", Effect::kUnit, 0x00BA},
    {"raquo", Effect::kUnit, 0x00BB}, {"frac14", Effect::kUnit, 0x00BC}, {"frac12", Effect::kUnit, 0x00BD},
    {"frac34", Effect::kUnit, 0x00BE}, {"iquest", Effect::kUnit, 0x00BF}, {"Agrave", Effect::kUnit, 0x00C0},
    {"Aacute", Effect::kUnit, 0x00C1}, {"Acirc", Effect::kUnit, 0x00C2}, {"Atilde", Effect::kUnit, 0x00C3},
    {"Auml", Effect::kUnit, 0x00C4}, {"Aring", Effect::kUnit, 0x00C5}, {"AElig", Effect::kUnit, 0x00C6},
    {"Ccedil", Effect::kUnit, 0x00C7}, {"Egrave", Effect::kUnit, 0x00C8}, {"Eacute", Effect::kUnit, 0x00C9},
    {"Ecirc", Effect::kUnit, 0x00CA}, {"Euml", Effect::kUnit, 0x00CB}, {"Igrave", Effect::kUnit, 0x00CC},
    {"Iacute", Effect::kUnit, 0x00CD}, {"Icirc", Effect::kUnit, 0x00CE}, {"Iuml", Effect::kUnit, 0x00CF},
    {"ETH", Effect::kUnit, 0x00D0}, {"Ntilde", Effect::kUnit, 0x00D1}, {"Ograve", Effect::kUnit, 0x00D2},
    {"Oacute", Effect::kUnit, 0x00D3}, {"Ocirc", Effect::kUnit, 0x00D4}, {"Otilde", Effect::kUnit, 0x00D5},
    {"Ouml", Effect::kUnit, 0x00D6}, {"times", Effect::kUnit, 0x00D7}, {"Oslash", Effect::kUnit, 0x00D8},
    {"Ugrave", Effect::kUnit, 0x00D9}, {"Uacute", Effect::kUnit, 0x00DA}, {"Ucirc", Effect::kUnit, 0x00DB},
    {"Uuml", Effect::kUnit, 0x00DC}, {"Yacute", Effect::kUnit, 0x00DD}, {"THORN", Effect::kUnit, 0x00DE},
    {"szlig", Effect::kUnit, 0x00DF}, {"agrave", Effect::kUnit, 0x00E0}, {"aacute", Effect::kUnit, 0x00E1},
    {"acirc", Effect::kUnit, 0x00E2}, {"atilde", Effect::kUnit, 0x00E3}, {"auml", Effect::kUnit, 0x00E4},
    {"aring", Effect::kUnit, 0x00E5}, {"aelig", Effect::kUnit, 0x00E6}, {"ccedil", Effect::kUnit, 0x00E7},
    {"egrave", Effect::kUnit, 0x00E8}, {"eacute", Effect::kUnit, 0x00E9}, {"ecirc", Effect::kUnit, 0x00EA},
    {"euml", Effect::kUnit, 0x00EB}, {"igrave", Effect::kUnit, 0x00EC}, {"iacute", Effect::kUnit, 0x00ED},
    {"icirc", Effect::kUnit, 0x00EE}, {"iuml", Effect::kUnit, 0x00EF}, {"eth", Effect::kUnit, 0x00F0},
    {"ntilde", Effect::kUnit, 0x00F1}, {"ograve", Effect::kUnit, 0x00F2}, {"oacute", Effect::kUnit, 0x00F3},
    {"ocirc", Effect::kUnit, 0x00F4}, {"otilde", Effect::kUnit, 0x00F5}, {"ouml", Effect::kUnit, 0x00F6},
    {"divide", Effect::kUnit, 0x00F7}, {"oslash", Effect::kUnit, 0x00F8}, {"ugrave", Effect::kUnit, 0x00F9},
    {"uacute", Effect::kUnit, 0x00FA}, {"ucirc", Effect::kUnit, 0x00FB}, {"uuml", Effect::kUnit, 0x00FC},
    {"yacute", Effect::kUnit, 0x00FD}, {"thorn", Effect::kUnit, 0x00FE}, {"yuml", Effect::kUnit, 0x00FF},
    {"quot", Effect::kUnit, 0x0022}, {"amp", Effect::kUnit, 0x0026}, {"lt", Effect::kUnit, 0x003C},
    {"gt", Effect::kUnit, 0x003E}, {"OElig", Effect::kUnit, 0x0152}, {"oelig", Effect::kUnit, 0x0153},
    {"Scaron", Effect::kUnit, 0x0160}, {"scaron", Effect::kUnit, 0x0161}, {"Yuml", Effect::kUnit, 0x0178},
    {"circ", Effect::kUnit, 0x02C6}, {"tilde", Effect::kUnit, 0x02DC}, {"ensp", Effect::kUnit, 0x2002},
    {"emsp", Effect::kUnit, 0x2003}, {"thinsp", Effect::kUnit, 0x2009}, {"zwnj", Effect::kUnit, 0x200C},
    {"zwj", Effect::kUnit, 0x200D}, {"lrm", Effect::kUnit, 0x200E}, {"rlm", Effect::kUnit, 0x200F},
    {"ndash", Effect::kUnit, 0x2013}, {"mdash", Effect::kUnit, 0x2014}, {"lsquo", Effect::kUnit, 0x2018},
    {"rsquo", Effect::kUnit, 0x2019}, {"sbquo", Effect::kUnit, 0x201A}, {"ldquo", Effect::kUnit, 0x201C},
    {"rdquo", Effect::kUnit, 0x201D}, {"bdquo", Effect::kUnit, 0x201E}, {"dagger", Effect::kUnit, 0x2020},
    {"Dagger", Effect::kUnit, 0x2021}, {"permil", Effect::kUnit, 0x2030}, {"lsaquo", Effect::kUnit, 0x2039},
    {"rsaquo", Effect::kUnit, 0x203A}, {"euro", Effect::kUnit, 0x20AC},
    // clang-format on
};
static_assert(std::size(charEntityReference) == 138);

constexpr bool EveryNameCanBeReached()
{
    for (size_t later = 0; later < std::size(charEntityReference); ++later) {
        for (size_t earlier = 0; earlier < later; ++earlier) {
            if (charEntityReference[later].name.starts_with(charEntityReference[earlier].name)) return false;
        }
    }
    return true;
}
static_assert(EveryNameCanBeReached());

constexpr std::string_view charEntityReferenceCharByCodePoint[] = {"U+", "u", ""};

constexpr size_t kMostHexDigits = 4;

constexpr bool BeginsWith(UTF16View text, std::string_view ascii)
{
    return text.size() >= ascii.size() &&
           std::equal(ascii.begin(), ascii.end(), text.begin(),
                      [](char a, unsigned short b) { return static_cast<unsigned char>(a) == b; });
}

// The value of each digit, -1 for what is none.
constexpr auto hexDigitTab = [] {
    struct {
        signed char value[128];
    } table{};
    std::fill(std::begin(table.value), std::end(table.value), static_cast<signed char>(-1));
    for (int digit = 0; digit < 16; ++digit) {
        table.value[static_cast<int>("0123456789ABCDEF"[digit])] = static_cast<signed char>(digit);
        table.value[static_cast<int>("0123456789abcdef"[digit])] = static_cast<signed char>(digit);
    }
    return table;
}();

int HexDigit(unsigned short unit)
{
    return unit < std::size(hexDigitTab.value) ? hexDigitTab.value[unit] : -1;
}

struct FoundEntity {
    Effect effect;
    unsigned short unit;
    size_t length;  // up to and with the closing brace, counted behind the opening one; 0 for no entity
};
constexpr FoundEntity kNoEntity{Effect::kUnit, 0, 0};

// One to four digits and the closing brace, behind `prefix`.
FoundEntity ReadCodePoint(UTF16View text, std::string_view prefix)
{
    unsigned value = 0;
    size_t at = prefix.size();
    for (; at < text.size() && at < prefix.size() + kMostHexDigits && HexDigit(text[at]) >= 0; ++at) {
        value = value * 16 + static_cast<unsigned>(HexDigit(text[at]));
    }
    if (at == prefix.size() || at == text.size() || text[at] != u'}') return kNoEntity;
    return {Effect::kUnit, static_cast<unsigned short>(value), at + 1};
}

// `text` is what stands behind the opening brace.
FoundEntity ReadEntity(UTF16View text)
{
    for (const Entity& entity : charEntityReference) {
        if (!BeginsWith(text, entity.name)) continue;
        // Wanted: a name with more letters behind it ends the search, so "#{notin}" is literal text.
        const size_t length = entity.name.size();
        const bool closed = length < text.size() && text[length] == u'}';
        return closed ? FoundEntity{entity.effect, entity.unit, length + 1} : kNoEntity;
    }
    for (std::string_view prefix : charEntityReferenceCharByCodePoint) {
        if (BeginsWith(text, prefix)) return ReadCodePoint(text, prefix);
    }
    return kNoEntity;
}

// The text that the second pass has written, and the section it is in.
class Sections {
  public:
    explicit Sections(size_t expected) { m_text.reserve(expected); }

    void Write(unsigned short unit)
    {
        if (!m_skipping) m_text.push_back(unit);
    }

    /// False when the conversion ends here.
    bool Apply(const FoundEntity& entity)
    {
        switch (entity.effect) {
            case Effect::kUnit:
                Write(entity.unit);
                return true;
            case Effect::kEndLine:
                Write(0x000D);
                return true;  // wanted: a return, not a line feed
            case Effect::kComment:
                return m_skipping;
            case Effect::kCopyYear:
                for (char digit : std::string_view("2024")) Write(static_cast<unsigned char>(digit));
                return true;
            case Effect::kOtherPlatform:
                if (m_inOwnSection) return false;
                m_skipping = true;
                return true;
            case Effect::kThisPlatform:
                m_text.clear();
                m_skipping = false;
                m_inOwnSection = true;
                return true;
        }
        return true;
    }

    UTF16String Take() { return std::move(m_text); }

  private:
    UTF16String m_text;
    bool m_skipping = false;
    bool m_inOwnSection = false;
};

bool HoldsEscapeCharacter(UTF16View text)
{
    return text.find(u'\\') != UTF16View::npos || text.find(u'^') != UTF16View::npos;
}

}  // namespace

const EscapeTable kPSHatEscapeTable{kHatEscapes};
const EscapeTable kESGHatEscapeTable{std::begin(kHatEscapes) + 1, std::end(kHatEscapes)};

UTF16String DictionaryEntry::ConvertEscapeSequences(const unsigned short* text, unsigned long length)
{
    const UTF16View given(text, length);
    if (!HoldsEscapeCharacter(given)) return ConvertEscapeSequencesISO(text, length);
    const UTF16String first = ConvertHatAndBackslash(given, HatEscapeTable());
    return ConvertEscapeSequencesISO(first.data(), first.size());
}

UTF16String DictionaryEntry::ConvertHatAndBackslash(UTF16View text, EscapeTable hatTable)
{
    UTF16String result;
    result.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        const unsigned short escape = text[at];
        const bool isEscape = escape == u'\\' || escape == u'^';
        if (!isEscape || at + 1 == text.size()) {
            result.push_back(escape);
            continue;
        }
        const EscapeTable table = escape == u'^' ? hatTable : EscapeTable(kBackslashEscapeTable);
        const unsigned short name = text[++at];
        const auto row =
            std::find_if(table.begin(), table.end(), [name](Escape e) { return e.name == name; });
        if (row != table.end()) {
            result.push_back(row->unit);
        } else {
            result.push_back(escape);
            if (name != escape) result.push_back(name);
        }
    }
    return result;
}

UTF16String DictionaryEntry::ConvertEscapeSequencesISO(const unsigned short* text, unsigned long length)
{
    // Wanted: an entity needs four units behind its number sign, so "#{9}" at the very end is literal text.
    constexpr size_t kRoom = 4;
    const UTF16View given(text, length);
    Sections sections(length);
    for (size_t at = 0; at < length; ++at) {
        FoundEntity entity = kNoEntity;
        if (given[at] == u'#' && length - at > kRoom && given[at + 1] == u'{') {
            entity = ReadEntity(given.substr(at + 2));
        }
        if (entity.length == 0) {
            sections.Write(given[at]);
            continue;
        }
        if (!sections.Apply(entity)) break;
        at += 1 + entity.length;
    }
    return sections.Take();
}

}  // namespace zlex_private
