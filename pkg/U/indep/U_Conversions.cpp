// The public conversions: which encoding is meant, what stands in for one that fails, and who hears of it.
#include <atomic>
#include <cstring>

#include "U_Err.h"
#include "U_String.h"
#include "U_Telemetry.h"
#include "U_ZString.h"
#include "Up_Encodings.h"
#include "zvkcore/string/Convert.h"

namespace {

std::atomic<unsigned int> g_applicationEncoding{U_ENCODING_UTF8};  // set by the host, any thread; lives on

constexpr unsigned int kBadConversion = 0x17002E;  // where the report of a failed conversion comes from

struct StandIn {
    unsigned int encoding;
    unsigned int instead;
};
// Tried in order, for the encodings whose own table is narrower than the texts that are found in files.
constexpr StandIn kStandIns[] = {
    {U_ENCODING_MAC_KOREAN, U_ENCODING_WINDOWS_KOREAN},
    {U_ENCODING_MAC_KOREAN, U_ENCODING_WINDOWS_JAPANESE},
    {U_ENCODING_MAC_CHINESE_SIMPLIFIED, U_ENCODING_WINDOWS_CHINESE_SIMPLIFIED},
};

struct CodePage {
    unsigned int number;
    unsigned int encoding;
};
constexpr CodePage kCodePages[] = {
    {932, U_ENCODING_WINDOWS_JAPANESE}, {1251, U_ENCODING_WINDOWS_CYRILLIC},
    {1252, U_ENCODING_WINDOWS_LATIN1},  {10000, U_ENCODING_MAC_ROMAN},
    {10001, U_ENCODING_MAC_JAPANESE},   {10007, U_ENCODING_MAC_CYRILLIC},
};

U_UTF16String DecodeQuietlyUnlessRoman(const char* text, unsigned int encoding)
{
    return Up_EncodedStringToUTF16String(text, encoding, encoding != U_ENCODING_MAC_ROMAN);
}

}  // namespace

unsigned int U_SetApplicationTextEncoding(unsigned int encoding)
{
    return g_applicationEncoding.exchange(encoding);
}

unsigned int U_GetPlatformSpecificCurrentTextEncodingForSerialization()
{
    return g_applicationEncoding.load(std::memory_order_relaxed);
}

void Up_ReportAndThrowUnicodeConversionError(int code)
{
    U_ReportError(kBadConversion, U_Sev_PROBLEM,
                  U_ZStringToUTF16String(
                      "$$$/QL/U/error_bad_unicode_conversion=could not convert Unicode characters."));
    throw code ? code : 1;
}

U_UTF16String Up_EncodedStringToUTF16String(const char* text, unsigned int encoding, bool quiet)
{
    U_UTF16String out;
    if (!text || !*text) return out;
    const std::string_view bytes{text};
    if (Up_TryDecode(bytes, encoding, out)) return out;
    for (const StandIn& standIn : kStandIns) {
        if (standIn.encoding == encoding && Up_TryDecode(bytes, standIn.instead, out)) return out;
    }
    if (!quiet) Up_ReportAndThrowUnicodeConversionError(0);
    return out;
}

U_UTF16String U_AsciiToUTF16String(const char* text)
{
    return zvkcore::string::AsciiToUTF16(text);
}

U_UTF16String U_MBToUTF16String(const char* text)
{
    return DecodeQuietlyUnlessRoman(text, U_GetPlatformSpecificCurrentTextEncodingForSerialization());
}

U_UTF16String U_MBToUTF16String(const std::string& text)
{
    return U_MBToUTF16String(text.c_str());
}

std::string U_UTF16ToMBString(const U_UTF16String& text, bool strict)
{
    std::string out;
    Up_TryEncode(text, U_GetPlatformSpecificCurrentTextEncodingForSerialization(), strict, out);
    return out;
}

std::string U_UTF16ToMBString(const unsigned short* text, bool strict)
{
    return text ? U_UTF16ToMBString(U_UTF16String{text}, strict) : std::string{};
}

U_UTF8String U_UTF16To8String(const U_UTF16String& text)
{
    bool valid;
    return zvkcore::string::UTF16to8(text, valid);
}

U_UTF16String U_UTF8To16String(const U_UTF8String& text)
{
    bool valid;
    U_UTF16String out = zvkcore::string::UTF8to16(text, valid);
    if (!valid) Up_ReportAndThrowUnicodeConversionError(0);
    return out;
}

U_UTF16String U_ConvertEncodedStringToUnicode(unsigned char isWindowsCodePage, unsigned int encoding,
                                              const char* text)
{
    if (!isWindowsCodePage) return DecodeQuietlyUnlessRoman(text, encoding);
    for (const CodePage& page : kCodePages) {
        if (page.number == encoding) return DecodeQuietlyUnlessRoman(text, page.encoding);
    }
    return {};
}

U_UTF16String U_MatchNameToUTF16String(const U_UTF8String& name)
{
    U_UTF8String clean = name;
    if (zvkcore::string::SanitizeUTF8CharacterString(clean)) {
        const auto group = U::telemetry::NewDataGroup("ql", "plugin_error", "match_name", {}, false);
        U::telemetry::AddToGroup(group, "version", clean, false);
    }
    return U_UTF8To16String(clean);
}
