// Any bytes as multibyte text in every encoding: converted both ways, classified, cut everywhere and searched. The
// first byte chooses the encoding. With LOCPATH naming the build's locales the legacy ones are walked too.
#include <cstring>
#include <string>

#include "U.h"
#include "U_ErrState.h"
#include "U_String.h"
#include "Up_Encodings.h"

namespace {

constexpr unsigned int kEncodings[] = {
    U_ENCODING_UTF8, 0, 1, 2, 3, 7, 25, 1056, 1057, 1058, 1280, 1282, 1586, 4711};

void Require(bool holds)
{
    if (!holds) __builtin_trap();
}

// A text, its units and whatever can be cut off them.
void Convert(const std::string& text, unsigned int encoding)
{
    U_UTF16String units;
    const bool valid = Up_TryDecode(text, encoding, units);
    Require(valid || units.empty());
    Require(U_ConvertEncodedStringToUnicode(1, encoding, text.c_str()).size() <= text.size());
    std::string back;
    Require(Up_TryEncode(units, encoding, false, back) || encoding == 4711);
    if (encoding == U_ENCODING_UTF8 && valid) Require(back == text);

    // Any units at all.
    units.assign(text.size() / 2, 0);
    if (!units.empty()) std::memcpy(units.data(), text.data(), units.size() * 2);
    Require(Up_TryEncode(units, encoding, false, back) || encoding == 4711);
    const U_UTF8String bytes = U_UTF16To8String(units);
    if (!bytes.empty()) Require(U_UTF8To16String(bytes) == units);
    U_TruncateStringToByteSize(&units, static_cast<unsigned int>(units.size()));
}

void Cut(const std::string& text, bool isUTF8)
{
    const U_UTF16String whole = U_MBToUTF16String(text);
    std::string target(text.size() + 1, '#');
    for (size_t size = 1; size <= text.size() + 1; ++size) {
        U_CopyString(text.c_str(), size, target.data());
        const size_t kept = std::strlen(target.c_str());
        Require(kept < size && text.compare(0, kept, target.c_str()) == 0);
        const U_UTF16String cut = U_MBToUTF16String(target.c_str());
        if (isUTF8 && !whole.empty()) Require(whole.starts_with(cut) && cut.empty() == (kept == 0));
        U_CopyStringLen(text.data(), size - 1, text.size() + 1, target.data());
        U_CharByte(text.c_str(), static_cast<long>(size) - 1);
    }
}

void SearchAndCompare(std::string text)
{
    const std::string half = text.substr(text.size() / 2);
    const char* const first = U_strstr(text.c_str(), half.c_str());
    const char* const last = U_strrstr(text.c_str(), half.c_str());
    Require(!first == !last && first <= last);
    const int byte = text.empty() ? 0 : text.back();
    Require(U_strchr(text.c_str(), byte) <= U_strrchr(text.c_str(), byte));
    Require(U_strcmp(text.c_str(), text.c_str()) == 0 && U_stricmp(text.c_str(), text.c_str()) == 0);
    const int order = U_strcmp(text.c_str(), half.c_str());
    const int inverse = U_strcmp(half.c_str(), text.c_str());
    Require((order > 0) - (order < 0) == (inverse < 0) - (inverse > 0));
    const size_t size = text.size();
    U_StringToUpper(text.data());
    U_StringToLower(text.data());
    Require(std::strlen(text.c_str()) == size);
}

}  // namespace

// newlocale of glibc 2.36 loses the list that it makes of LOCPATH, once each call.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:argz_add_sep";
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Require(U_Birth("fuzz", 1) == 0 && U_StartQuietErrorsOnCurrentThread(0) == 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0 || size > 512) return 0;
    const unsigned int encoding = kEncodings[data[0] % std::size(kEncodings)];
    const std::string text{data + 1, std::find(data + 1, data + size, 0)};

    U_SetApplicationTextEncoding(encoding);
    try {
        Convert(text, encoding);
        Cut(text, encoding == U_ENCODING_UTF8);
        SearchAndCompare(text);
    } catch (int) {
        Require(encoding == U_ENCODING_MAC_ROMAN);  // the only encoding whose failures are thrown
    }
    return 0;
}
