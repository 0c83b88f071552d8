/// Multibyte text: cuts, copies, searches and comparisons that never split a character, and the roads between
/// the application's encoding, UTF-8 and 16-bit text.
///
/// Multibyte text is a run of bytes that ends in a zero byte, in the application text encoding: UTF-8 unless
/// the host chose another (`U_SetApplicationTextEncoding`), which may be Shift-JIS, CP949 or GB18030. There
/// the last byte of a character can look like a letter or a backslash, so no byte may be judged by itself:
///
///     char label[16];
///     U_CopyString(name, sizeof label, label);          // at most 15 bytes, whole characters
///     if (char* dot = U_strrchr(label, '.')) *dot = 0;   // a dot, never half of something else
///
/// Ground rules. Sizes count bytes, or 16-bit units where a name ends in W or a parameter is 16-bit text, and
/// include the terminator. A cut is silent. Pointers to text must not be null, except where a conversion says
/// so. Texts are read up to their terminator and not past it; source and target must not overlap. All
/// functions are reentrant and take no lock for longer than a look into a small table. Bytes that are no
/// valid character are each taken for a character of one byte, from the first such byte to the end of the
/// text.
///
/// Templates with placeholders and numbers are in U_SubString.h.
#ifndef U_STRING_H
#define U_STRING_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- The application text encoding ------------------------------------------------------------------------
// An encoding is a number; its low 16 bits are the script. These are the ones that the conversions know. As
// the application's, choose one of the first group or UTF-8: characters of several bytes are known in the
// scripts 1, 3, 25 and 256 (`U_CharByteFromScript`), in every other one each byte counts as a character.

enum {
    U_ENCODING_MAC_ROMAN = 0,
    U_ENCODING_MAC_JAPANESE = 1,
    U_ENCODING_MAC_CHINESE_TRADITIONAL = 2,
    U_ENCODING_MAC_KOREAN = 3,
    U_ENCODING_MAC_CYRILLIC = 7,
    U_ENCODING_MAC_CHINESE_SIMPLIFIED = 25,

    U_ENCODING_WINDOWS_JAPANESE = 1056,            ///< code page 932
    U_ENCODING_WINDOWS_CHINESE_SIMPLIFIED = 1057,  ///< code page 936
    U_ENCODING_WINDOWS_KOREAN = 1058,              ///< code page 949
    U_ENCODING_WINDOWS_LATIN1 = 1280,              ///< code page 1252
    U_ENCODING_WINDOWS_CYRILLIC = 1282,            ///< code page 1251
    U_ENCODING_GB18030 = 1586,

    U_ENCODING_UTF8 = 0x8000100
};

/// Chooses the encoding of all multibyte text. The default is U_ENCODING_UTF8.
///
/// encoding  one of the numbers above; under another one every conversion fails
/// returns   the former encoding
/// threads   any, but texts that other threads hold do not change with it: call it before they start
U_EXPORT unsigned int U_SetApplicationTextEncoding(unsigned int encoding);

/// The application text encoding, as a file may keep it beside texts of this process.
U_EXPORT unsigned int U_GetPlatformSpecificCurrentTextEncodingForSerialization(void);

// --- The byte classifier -----------------------------------------------------------------------------------
//
//   bytes      A   95 5C    B    E3 81 82
//   answers    0   -1  1    0    -1  2  1

/// What the byte at `index` is: 0 a character of one byte, the terminator, or no valid character; -1 the
/// first, 1 the last, 2 a middle byte of a longer one.
///
/// The text is walked from its start, since a last byte cannot be told from a first one where it stands.
/// An index below 0 or behind the terminator gives 0.
U_EXPORT int U_CharByte(const char* text, long index);

/// The same for a script: the low 16 bits of an encoding number. The walk uses a locale of the system:
///
///   1 "ja_JP.SJIS"    3 "ko_KR.CP949"    25 "zh_CN.gb18030"    256 "C.UTF-8"    any other "en_US.ISO8859-1"
///
/// A locale that the system lacks is replaced by the locale of the process, for good: in the locale "C" every
/// answer is then 0. The library installs none; a product that wants a legacy encoding sees to its locale.
U_EXPORT int U_CharByteFromScript(const char* text, long index, unsigned int script);

// --- Copies and cuts ---------------------------------------------------------------------------------------
// Where a text must be cut, it is cut at the last start of a character that leaves it short enough. All of
// these return 0.

/// Copies `source` into `target` of `size` bytes. A size of 0 writes nothing, not even a terminator.
U_EXPORT Err U_CopyString(const char* source, size_t size, char* target);

/// Appends `source` to `target`, whose whole size is `size`. With no room left nothing changes.
U_EXPORT Err U_ConcatString(const char* source, size_t size, char* target);

/// Copies at most `length` bytes of `source`, which need not be terminated. A character that `length` splits
/// is left out.
U_EXPORT Err U_CopyStringLen(const char* source, size_t length, size_t size, char* target);

/// Copies 16-bit text; `size` counts units. A surrogate pair that does not fit whole is left out.
U_EXPORT Err U_CopyStringW(const unsigned short* source, size_t size, unsigned short* target);

/// Cuts `text` to at most `maxLength` bytes, the terminator not counted. A negative length counts as 0.
U_EXPORT Err U_TruncateString(int maxLength, char* text);

// --- Pascal strings: a length byte and that many bytes ----------------------------------------------------

/// Copies a Pascal string, its length byte and its bytes. Returns 0.
U_EXPORT Err U_Pstrcpy(void* target, const unsigned char* source);

/// Copies a Pascal string into a terminated one of `size` bytes, up to its first zero byte if it has one.
///
/// returns  0; 10, reported, when text and terminator do not fit, and nothing is written
U_EXPORT Err U_CopyPtoCString(const unsigned char* source, int size, char* target);

/// Copies a terminated string into a Pascal one of `size` bytes, the length byte included. Never more than
/// 255 bytes of text are kept. A size of 0 or less writes nothing.
///
/// returns  0; 10, reported, when the source was longer than what was kept, which stays in `target`
U_EXPORT Err U_CopyCtoPString(const char* source, int size, unsigned char* target);

// --- Searches ---------------------------------------------------------------------------------------------
// As the standard functions without the prefix, but a match counts only where a character begins. The result
// points into `text`, null without a match.

U_EXPORT char* U_strstr(const char* text, const char* find);
U_EXPORT char* U_strrstr(const char* text, const char* find);  ///< the last match
U_EXPORT char* U_strchr(const char* text, int find);
U_EXPORT char* U_strrchr(const char* text, int find);  ///< the last match

// --- Comparison and case ----------------------------------------------------------------------------------

/// Orders two texts by their 16-bit units. Only the sign of the result means something.
///
/// throws  the `int` of a failed conversion, under the encoding 0 only
U_EXPORT int U_strcmp(const char* a, const char* b);

/// The same without regard to case, for the first 1023 bytes of each text.
U_EXPORT int U_stricmp(const char* a, const char* b);

/// Change the case of every 16-bit unit that has another, in place. The text keeps its length: a character
/// whose other case the encoding lacks, or writes with another number of bytes, stays as it is. Return 0.
U_EXPORT Err U_StringToLower(char* text);
U_EXPORT Err U_StringToUpper(char* text);

/// The value of a hexadecimal digit of either case. Anything else gives a `nibble` and an `isHex` of 0.
/// Either pointer may be null. Returns 0.
U_EXPORT Err U_HexChar2Nibble(int c, unsigned char* nibble, unsigned char* isHex);

// --- Special characters -----------------------------------------------------------------------------------

/// Indices into `U_SpecialCharacters`. From U_SpecialChar_HYPHEN_MINUS on stand the signs that people type
/// for a minus.
enum {
    U_SpecialChar_DEGREE,
    U_SpecialChar_LEFT_GUILLEMET,
    U_SpecialChar_RIGHT_GUILLEMET,
    U_SpecialChar_DOWN_TRIANGLE,
    U_SpecialChar_HYPHEN_MINUS,
    U_SpecialChar_SMALL_EM_DASH,
    U_SpecialChar_EN_DASH,
    U_SpecialChar_MINUS,
    U_SpecialChar_SMALL_HYPHEN_MINUS,
    U_SpecialChar_FULLWIDTH_HYPHEN_MINUS,
    U_SpecialChar_EM_DASH,
    U_SpecialChar_HORIZONTAL_BAR,
    U_SpecialChar_COUNT
};

/// Characters with a meaning in user interfaces, each as UTF-8 whatever the application text encoding is.
U_EXPORT extern const char* const U_SpecialCharacters[U_SpecialChar_COUNT];

#ifdef __cplusplus
}

#include <string>
#include <vector>

// --- Cuts of string classes -------------------------------------------------------------------------------
// A surrogate pair, or a UTF-8 sequence, that does not fit whole is left out. All return 0.

U_EXPORT Err U_TruncateStringToNumChars(U_UTF16String* text, unsigned int count);  ///< units
U_EXPORT Err U_TruncateStringToByteSize(U_UTF16String* text, unsigned int bytes);  ///< an odd byte is no unit
U_EXPORT Err U_TruncateStringToByteSize(U_UTF8String* text, unsigned int bytes);

/// Converts to UTF-8 and copies into `out` of `size` bytes.
///
/// throws  the `int` of a copy that failed
U_EXPORT Err U_CopyToUTF8Buf(const U_UTF16String& text, size_t size, unsigned char* out);

// --- Conversions ------------------------------------------------------------------------------------------
// Toward 16-bit text a failure is reported and thrown as an `int`, or gives an empty text where the function
// is said to be quiet. Away from it a failure gives an empty text. Missing memory throws `std::bad_alloc`.

/// Widens ASCII; null gives an empty text.
U_EXPORT U_UTF16String U_AsciiToUTF16String(const char* text);

/// From the application text encoding; null gives an empty text. Quiet, except under the encoding 0.
U_EXPORT U_UTF16String U_MBToUTF16String(const char* text);
U_EXPORT U_UTF16String U_MBToUTF16String(const std::string& text);  ///< up to its first zero byte

/// To the application text encoding.
///
/// strict   false: a character that the encoding lacks becomes a question mark; true: it empties the result
/// returns  empty also when the text needs more bytes than the encoding has for so many units
U_EXPORT std::string U_UTF16ToMBString(const U_UTF16String& text, bool strict = false);
U_EXPORT std::string U_UTF16ToMBString(const unsigned short* text, bool strict = false);  ///< null is empty

/// To UTF-8. Text with a lone surrogate gives an empty result.
U_EXPORT U_UTF8String U_UTF16To8String(const U_UTF16String& text);

/// From UTF-8.
///
/// throws  the `int` 1, reported, if the text is not valid UTF-8
U_EXPORT U_UTF16String U_UTF8To16String(const U_UTF8String& text);

/// From another encoding than the application's; null gives an empty text. Quiet, unless the number taken is
/// 0.
///
/// isWindowsCodePage  not 0: `encoding` is one of the code pages 932, 1251, 1252, 10000, 10001 and 10007; any
///                    other gives an empty text. 0: it is an encoding number
U_EXPORT U_UTF16String U_ConvertEncodedStringToUnicode(unsigned char isWindowsCodePage, unsigned int encoding,
                                                       const char* text);

/// From the name by which a plug-in is known. What is not valid UTF-8 in it becomes U+FFFD, and telemetry
/// hears of it.
U_EXPORT U_UTF16String U_MatchNameToUTF16String(const U_UTF8String& name);

// --- Small helpers ----------------------------------------------------------------------------------------

/// Splits a text of any string class at each occurrence of `separator`, left to right. What stands behind the
/// last one is the last piece, so there is always one; empty pieces are kept. An empty separator splits
/// nothing.
///
/// pieces  replaced
template <class String>
void U_SplitStringT(const String& text, const String& separator, std::vector<String>& pieces)
{
    std::vector<String> found;
    size_t start = 0;
    if (!separator.empty()) {
        for (size_t end; (end = text.find(separator, start)) != String::npos;
             start = end + separator.size()) {
            found.push_back(text.substr(start, end - start));
        }
    }
    found.push_back(text.substr(start));
    pieces.swap(found);
}

U_EXPORT void U_SplitUTF16String(const U_UTF16String& text, const U_UTF16String& separator,
                                 std::vector<U_UTF16String>& pieces);

/// The characters of a four-character code, the most significant byte first, up to its first zero byte.
U_EXPORT U_UTF8String U_UTF8BytesToString(unsigned int code);

/// Whether a number as text is relative, that is begins with a plus sign.
U_EXPORT bool U_NumericStringIndicatesRelative(const U_UTF8String& text);

/// A copy of the text with its leading plus sign added or removed to agree with `relative`.
U_EXPORT U_UTF8String U_SetNumericStringToIndicateRelative(const U_UTF8String& text, bool relative);
U_EXPORT U_UTF8String U_SetNumericStringToIndicateAbsolute(const U_UTF8String& text);

#endif
#endif
