// A cut falls in front of a character that it would divide. No state.
#include "zvkcore/string/Truncate.h"

namespace zvkcore::string {
namespace {

constexpr unsigned short kEllipsis = 0x2026;

bool DividesPair(const UTF16String& text, std::size_t at)
{
    return at > 0 && (text[at - 1] & 0xFC00) == 0xD800 && (text[at] & 0xFC00) == 0xDC00;
}

bool IsTrailByte(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// How many bytes the sequence of a lead byte has; 1 for any other byte.
std::size_t SequenceLength(unsigned char lead)
{
    return lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
}

}  // namespace

void TruncateStringToNumChars(UTF16String& text, std::size_t count, bool ellipsis)
{
    if (text.size() <= count) return;
    const bool marked = ellipsis && count > 0;
    std::size_t cut = marked ? count - 1 : count;
    if (DividesPair(text, cut)) --cut;
    text.resize(cut);
    if (marked) text.push_back(kEllipsis);
}

void TruncateStringToNumBytes(UTF8String& text, std::size_t count)
{
    if (text.size() <= count) return;
    std::size_t lead = count;
    while (lead > 0 && count - lead < 3 && IsTrailByte(text[lead])) --lead;
    const bool divides = !IsTrailByte(text[lead]) && lead + SequenceLength(text[lead]) > count;
    text.resize(divides ? lead : count);
}

}  // namespace zvkcore::string
