// Copies and cuts. Every one of them ends its text where Up_CutLength says, so that a cut falls between
// characters of the source.
#include <algorithm>
#include <cstring>

#include "U_String.h"
#include "U_SubString.h"
#include "U_TrySection.h"
#include "Up_CharClass.h"
#include "Up_Err.h"
#include "zvkcore/string/Convert.h"
#include "zvkcore/string/Truncate.h"

namespace {

constexpr size_t kLongestPascal = 255;

void CopyBytes(const char* source, size_t length, char* target)
{
    if (length) std::memcpy(target, source, length);
    target[length] = 0;
}

Err ReportTooLong(const char* format, int size, const char* text)
{
    char message[512];
    U_SubString(message, sizeof message, format, size, text);
    Up_ReportErrString(0, U_Sev_PROBLEM, message);
    return U_Err_OUT_OF_RANGE;
}

}  // namespace

Err U_CopyString(const char* source, size_t size, char* target)
{
    if (size == 0) return U_Err_NONE;
    CopyBytes(source, Up_CutLength(source, size - 1), target);
    return U_Err_NONE;
}

Err U_ConcatString(const char* source, size_t size, char* target)
{
    const size_t used = strnlen(target, size);
    return U_CopyString(source, size - used, target + used);
}

Err U_CopyStringLen(const char* source, size_t length, size_t size, char* target)
{
    if (size == 0) return U_Err_NONE;
    CopyBytes(source, Up_CutLength(source, length, size - 1), target);
    return U_Err_NONE;
}

Err U_CopyStringW(const unsigned short* source, size_t size, unsigned short* target)
{
    if (size == 0) return U_Err_NONE;
    return U_TrySection([&] {
        U_UTF16String text{source};
        zvkcore::string::TruncateStringToNumChars(text, size - 1, false);
        text.copy(target, text.size());
        target[text.size()] = 0;
    });
}

Err U_TruncateString(int maxLength, char* text)
{
    text[Up_CutLength(text, static_cast<size_t>(std::max(maxLength, 0)))] = 0;
    return U_Err_NONE;
}

Err U_TruncateStringToNumChars(U_UTF16String* text, unsigned int count)
{
    return U_TrySection([&] { zvkcore::string::TruncateStringToNumChars(*text, count, false); });
}

Err U_TruncateStringToByteSize(U_UTF16String* text, unsigned int bytes)
{
    return U_TruncateStringToNumChars(text, bytes / 2);
}

Err U_TruncateStringToByteSize(U_UTF8String* text, unsigned int bytes)
{
    return U_TrySection([&] { zvkcore::string::TruncateStringToNumBytes(*text, bytes); });
}

Err U_CopyToUTF8Buf(const U_UTF16String& text, size_t size, unsigned char* out)
{
    if (size == 0) return U_Err_NONE;
    U_UTF8String bytes = U_UTF16To8String(text);
    zvkcore::string::TruncateStringToNumBytes(bytes, size - 1);
    const Err error = U_CopyString(zvkcore::string::View(bytes).data(), size, reinterpret_cast<char*>(out));
    if (error) throw static_cast<int>(error);
    return U_Err_NONE;
}

Err U_Pstrcpy(void* target, const unsigned char* source)
{
    std::memmove(target, source, size_t{1} + source[0]);
    return U_Err_NONE;
}

Err U_CopyPtoCString(const unsigned char* source, int size, char* target)
{
    const int length = source[0];
    const auto* text = reinterpret_cast<const char*>(source) + 1;
    if (length < size) {
        CopyBytes(text, static_cast<size_t>(length), target);
        return U_Err_NONE;
    }
    return U_TrySection([&] {
        return ReportTooLong("text too long for ^L1-byte buffer ('^2').", size,
                             std::string(text, static_cast<size_t>(length)).c_str());
    });
}

Err U_CopyCtoPString(const char* source, int size, unsigned char* target)
{
    const size_t room = size > 0 ? static_cast<size_t>(size) - 1 : 0;
    const size_t kept = Up_CutLength(source, std::min(room, kLongestPascal));
    if (size > 0) {
        std::memcpy(target + 1, source, kept);
        target[0] = static_cast<unsigned char>(kept);
    }
    if (source[kept] == 0) return U_Err_NONE;
    return U_TrySection([&] {
        return ReportTooLong("text too long for ^L1-byte pascal string buffer ('^2').", size, source);
    });
}
