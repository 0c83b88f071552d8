/// Localised text: from a key in the code to a text in the user's language.
///
/// Every text that a person reads is one literal, a key and its English default:
///
///     U_UTF16String text = U_ZStringToUTF16String("$$$/MyApp/Done=Export of #{ldquo}@0#{rdquo} is done.");
///
/// Three dollar signs, the key, an equals sign, the default in UTF-8. The dictionary that the host has set
/// overrides the default; without one, or where it lacks the key, the default speaks. A literal without an
/// equals sign has no default: where no dictionary has it, the text is empty and not the key. One or two
/// dollar signs in front give empty text.
///
/// A default may hold escapes, which dictionaries hold in final form:
///
///   \n \r \t \b \"     newline, return, tabulator, backspace, quote
///   ^[ ^] ^{ ^} ^Q     quotation marks; ^C ^R ^T ^D ^B ^# ^! ^I ^S ^n ^r other signs
///   \\ ^^              one backslash, one caret
///   #{name}            the character entities of HTML 4, #{tab}, #{cr}, #{lf}; #{endl} is a return
///   #{U+2014}          a code unit; #{u2014} and #{2014} too
///   #{comment}         ends the text
///   #{copyyear}        2024
///   #{macos} #{mswindows} #{ios} #{android}     a section for one platform; this library shows `macos`
///
/// What is no escape stays as it is written. In a dictionary a translator may write two halves around
/// {{*MSWindows*}}, of which the first is shown, a comment behind {{*COMMENT*}}, and {{*CopyYear*}}.
///
/// Ground rules. Any thread may translate, while another sets the dictionary too; one lock guards both, with
/// a limit of 60 seconds, after which `std::system_error` is thrown. Keys must be terminated; null gives
/// empty text. Before birth and after death defaults still speak.
#ifndef U_ZSTRING_H
#define U_ZSTRING_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- Life --------------------------------------------------------------------------------------------------
// `U_Birth` and `U_Death` call these.

/// Makes the locale of the process if there is none. Returns 0, or 4 when memory ran out.
U_EXPORT Err U_ZLocaleBirth(void);

/// Ends it, with its dictionary. No other thread may be translating. Returns 0.
U_EXPORT Err U_ZLocaleDeath(void);

/// Whether the host has chosen a dictionary or English.
U_EXPORT bool U_ZLocaleAlive(void);

// --- The host's choice -------------------------------------------------------------------------------------

/// Reads a dictionary, in the stored or in the text form, over what was read before: where keys meet the new
/// text wins. The block is copied.
///
/// data     the block; null reads nothing
/// size     its size in bytes
/// returns  0; 2 for a block that cannot be read, which leaves everything as it was; 4 when memory ran out; 0
///          before birth, with nothing done
///
/// Once English was chosen a dictionary is read, but not used.
U_EXPORT Err U_ZStringSetCurrentDictionary(const unsigned short* data, unsigned long size);

/// Compressed dictionaries are not supported. Returns 1.
U_EXPORT Err U_ZStringSetCurrentDictionaryCompressed(void* data, unsigned long size);

/// Chooses English, for the rest of the locale's life. Returns 0.
U_EXPORT Err U_ZStringSetEnglish(void);

/// Whether English is shown on a system whose encoding is double-byte (script 1, 2, 3 or 25). Texts then show
/// U+0394 in place of U+2206, which those encodings lack. The answer is kept until the host chooses again.
U_EXPORT bool U_DoubleByteSafeMode(void);

#ifdef __cplusplus
}

#include <string>

// --- Texts -------------------------------------------------------------------------------------------------

/// The text of a literal in the current language.
U_EXPORT U_UTF16String U_ZStringToUTF16String(const char* key);

/// The English text, whatever the dictionary says.
U_EXPORT U_UTF16String U_ZStringToEnglishUTF16String(const char* key);

/// The same two in the application text encoding. A character that it lacks becomes a question mark.
U_EXPORT std::string U_ZStringToMBString(const char* key);
U_EXPORT std::string U_ZStringToEnglishMBString(const char* key);

/// Whether a text is a literal to translate: it begins with three dollar signs.
U_EXPORT bool U_IsZstr(const U_UTF8String& text);
U_EXPORT bool U_IsZstr(const std::string& text);

#endif
#endif
