#include "zlexp_Reader.h"

#include <cstring>

#include "zvkcore/string/Convert.h"

namespace zlex_private {
namespace {

unsigned short LoadUnit(const char* at)
{
    unsigned short unit;
    std::memcpy(&unit, at, sizeof unit);
    return unit;
}

class UnicodeReader : public DictionaryReader {
  public:
    using DictionaryReader::DictionaryReader;

  protected:
    size_t UnitSize() const override { return sizeof(unsigned short); }
    unsigned short UnitAt(const char* at) const override { return LoadUnit(at); }

    UTF16String Decode(const char* at, const char* end) const override
    {
        UTF16String line(static_cast<size_t>(end - at) / sizeof(unsigned short), 0);
        for (unsigned short& unit : line) {
            unit = UnitAt(at);
            at += sizeof unit;
        }
        return line;
    }
};

class ByteSwapUnicodeReader : public UnicodeReader {
  public:
    using UnicodeReader::UnicodeReader;

  protected:
    unsigned short UnitAt(const char* at) const override { return __builtin_bswap16(LoadUnit(at)); }
};

class UTF8Reader : public DictionaryReader {
  public:
    using DictionaryReader::DictionaryReader;

  protected:
    size_t UnitSize() const override { return 1; }
    unsigned short UnitAt(const char* at) const override { return static_cast<unsigned char>(*at); }

    UTF16String Decode(const char* at, const char* end) const override
    {
        return zvkcore::string::UTF8to16(std::string_view(at, static_cast<size_t>(end - at)));
    }
};

// The position of the first quote from `at` on that no backslash escapes, or npos.
size_t FindQuote(zvkcore::string::UTF16View line, size_t at)
{
    for (; at < line.size(); ++at) {
        if (line[at] == u'"') return at;
        if (line[at] == u'\\') ++at;
    }
    return zvkcore::string::UTF16View::npos;
}

}  // namespace

DictionaryReader::~DictionaryReader() = default;

std::unique_ptr<DictionaryReader> DictionaryReader::Make(const char* data, const char* end)
{
    if (end - data < 2) return nullptr;
    switch (LoadUnit(data)) {
        case 0xFEFF:
            return std::make_unique<UnicodeReader>(data, end);
        case 0xFFFE:
            return std::make_unique<ByteSwapUnicodeReader>(data, end);
        default:
            return std::make_unique<UTF8Reader>(data, end);
    }
}

bool DictionaryReader::NextLine(UTF16String& line)
{
    const size_t unit = UnitSize();
    const auto left = [this] { return static_cast<size_t>(m_end - m_at); };
    if (left() < unit) return false;
    const char* const start = m_at;
    while (left() >= unit && UnitAt(m_at) != u'\n' && UnitAt(m_at) != u'\r') m_at += unit;
    line = Decode(start, m_at);
    if (left() >= unit) {
        const bool isReturn = UnitAt(m_at) == u'\r';
        m_at += unit;
        if (isReturn && left() >= unit && UnitAt(m_at) == u'\n') m_at += unit;
    }
    return true;
}

bool DictionaryReader::ReadALine(UTF16String& entry)
{
    UTF16String line;
    if (!NextLine(line)) return false;
    entry = Quoted(line, nullptr);
    return true;
}

DictionaryReader::UTF16View DictionaryReader::Quoted(UTF16View line, UTF16View* rest)
{
    const size_t open = FindQuote(line, 0);
    const size_t close = open == UTF16View::npos ? open : FindQuote(line, open + 1);
    if (close == UTF16View::npos) return {};
    if (rest) *rest = line.substr(close + 1);
    return line.substr(open + 1, close - open - 1);
}

}  // namespace zlex_private
