// The text form: the inverse of the escapes, so that every unit of a text survives.
#include <cstdio>

#include "Entries.h"
#include "zvkcore/string/Convert.h"

namespace zdict {
namespace {

using namespace zvkcore::string::literals;

constexpr bool IsHighSurrogate(unsigned short unit)
{
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(unsigned short unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

void AppendCodeUnit(UTF16String& line, unsigned short unit)
{
    char entity[16];
    const int length = std::snprintf(entity, sizeof entity, "#{U+%04X}", unit);
    line.append(entity, entity + length);
}

// A unit that the text form holds only as an escape; a backslash and this character, or 0.
constexpr unsigned short BackslashName(unsigned short unit)
{
    switch (unit) {
        case '"':
            return '"';
        case '\\':
            return '\\';
        case '\n':
            return 'n';
        case '\r':
            return 'r';
        case '\t':
            return 't';
        case '\b':
            return 'b';
        default:
            return 0;
    }
}

void AppendText(UTF16String& line, UTF16View text)
{
    for (size_t at = 0; at < text.size(); ++at) {
        const unsigned short unit = text[at];
        const unsigned short next = at + 1 < text.size() ? text[at + 1] : 0;
        if (IsHighSurrogate(unit) && IsLowSurrogate(next)) {
            line.append(text.substr(at++, 2));
        } else if (const unsigned short name = BackslashName(unit)) {
            line.push_back(u'\\');
            line.push_back(name);
        } else if (unit == u'^') {
            line.append(u"^^"_u16);
        } else if (unit < 0x20 || unit == 0x7F || (unit & 0xF800) == 0xD800 ||
                   (unit == u'#' && next == u'{')) {
            AppendCodeUnit(line, unit);
        } else {
            line.push_back(unit);
        }
    }
}

// A key is bytes, which the text form shows as the characters U+0000 to U+00FF.
void AppendKey(UTF16String& line, const std::string& key)
{
    if (key.find_first_of("=\"\r\n") != std::string::npos) {
        throw BadDictionary("the key " + key + " holds a character that the text form has no way to write");
    }
    for (char byte : key) line.push_back(static_cast<unsigned char>(byte));
}

}  // namespace

std::string WriteText(const Content& content)
{
    UTF16String text;
    for (const Entry& entry : content.entries) {
        text.append(u"\"$$$"_u16);
        AppendKey(text, entry.key);
        text.push_back(u'=');
        AppendText(text, entry.text);
        text.push_back(u'"');
        if (!entry.accelerator.empty()) {
            text.append(u" accelerator \""_u16);
            AppendText(text, entry.accelerator);
            text.push_back(u'"');
        }
        text.push_back(u'\n');
    }
    return std::string(zvkcore::string::View(zvkcore::string::UTF16to8(text)));
}

}  // namespace zdict
