/// Dictionaries: from a key in the code to a text in the user's language.
///
/// A key is written in the code as one literal with its English default: three dollar signs, the key, an
/// equals sign and the default. A dictionary only overrides, so a program without one still speaks:
///
///     zlex::Dictionary german;
///     german.Read(block.data(), int(block.size()), false);
///     zlex::EncodingInfo utf8{zlex::kEncodingUTF8};
///     zlex::ZString text = german.Lookup("$$$/QL/U/ByteSizeFormat/Bytes=bytes", &utf8);
///
/// This is the engine. An application asks through `U_ZString.h`, which holds the dictionary of the process,
/// its lock and the markers of translators.
///
/// Ground rules. Nothing here locks: a dictionary is read and searched by one thread at a time, searching
/// included. Texts are 16-bit units of UTF-16 in the machine's byte order. Any bytes may be given as block or
/// key: what they cannot mean is refused or stays literal text. Only `std::bad_alloc` is thrown, but for
/// `ZString::GetUnicode`.
///
/// The stored form of a dictionary and its text form are told in docs/guides/localisation.md.
#ifndef ZLEX_H
#define ZLEX_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"

namespace zlex_private {
class Dictionary;
}

namespace zlex {

/// The byte order of a stored dictionary, as its header tells it.
enum EndianT : int {
    kEndianSwapped = 0,  ///< every field and text unit of more than one byte is to be swapped
    kEndianNative = 1,   ///< the machine's own order
    kEndianUnstated = 2  ///< an older block that does not tell: the machine's own order
};

/// Which encoding the bytes of a literal's default text are in.
struct EncodingInfo {
    uint32_t selector;  ///< kEncodingUTF8; 0 widens each byte; any other value is the system's encoding
};
inline constexpr uint32_t kEncodingUTF8 = 1;

/// Gives the text of `length` bytes in the system's encoding.
using SystemTextConverter = zvkcore::string::UTF16String (*)(const char* text, size_t length);

/// Installs what converts the system's encoding. Null restores the default, which reads UTF-8.
///
/// returns  the former one
/// threads  any
ZVKCORE_EXPORT SystemTextConverter SetSystemTextConverter(SystemTextConverter converter) noexcept;

/// Whether ^e in a text means U+00E9. Asked once in a process, when the first escape is converted: a later
/// change has no effect, so that no text depends on when it was converted.
ZVKCORE_EXPORT extern std::atomic<bool> EnablePSHatEscapes;

/// A buffer was too small.
class ZVKCORE_EXPORT CVErrException : public std::exception {
  public:
    static constexpr int32_t kBufferTooSmall = 1112884806;  // the characters BUFF

    explicit CVErrException(int32_t value) noexcept : m_value(value) {}
    ~CVErrException() override;

    int32_t Value() const noexcept { return m_value; }
    const char* what() const noexcept override;

  private:
    int32_t m_value;
};

/// The text that a lookup found.
class ZVKCORE_EXPORT ZString {
  public:
    ZString() = default;
    explicit ZString(zvkcore::string::UTF16String&& text) noexcept : m_text(std::move(text)) {}

    /// The units that `GetUnicode` writes: the text and its terminator.
    unsigned long GetUnicodeSize() const noexcept { return m_text.size() + 1; }

    /// Copies text and terminator into a buffer of `size` units.
    ///
    /// checked  true: too small a buffer gets nothing. false: it gets as much as it holds, never half of a
    ///          surrogate pair, and a terminator
    /// throws   `CVErrException` with `kBufferTooSmall`
    void GetUnicode(unsigned short* buffer, unsigned long size, bool checked) const;

    /// The text without its terminator, moved out.
    zvkcore::string::UTF16String Take() && noexcept { return std::move(m_text); }

  private:
    zvkcore::string::UTF16String m_text;
};

class ZVKCORE_EXPORT Dictionary {
  public:
    Dictionary();
    ~Dictionary();
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

    /// Adds a dictionary in the stored or in the text form; where keys meet, the new text wins. The block is
    /// copied and may be freed.
    ///
    /// A block that turns out bad changes nothing: earlier texts stay as they were. Null, or a size of less
    /// than two bytes, reads nothing and is no error.
    ///
    /// third    handed down to the readers of older forms; no form that is read today uses it
    /// returns  false for a bad block
    bool Read(const char* data, int size, bool third);

    /// Finds the text of a literal: here, then in the main dictionary, then its own default text.
    ///
    /// key       null, and a literal with one or two dollar signs in front, give empty text
    /// encoding  of the default text; null widens each byte with its sign
    ZString Lookup(const char* key, const EncodingInfo* encoding) const;

    /// Makes this the main dictionary of the process, in which all others look what they lack. It ends being
    /// that when it is destroyed. To be called while no other thread searches any dictionary.
    void MakeMain() noexcept;

    /// False after a block that could not be read, until the next one that could.
    bool IsLoaded() const noexcept;

  private:
    std::unique_ptr<zlex_private::Dictionary> m_dictionary;
};

}  // namespace zlex

#endif
