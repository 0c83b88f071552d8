/// Where characters begin in multibyte text: the walk under every cut, search and classification.
#ifndef UP_CHARCLASS_H
#define UP_CHARCLASS_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "Up_CharLocale.h"

/// The locale in which texts of a script are walked, made at first use.
Up_CharLocale Up_LocaleForScript(unsigned int script);

/// The locale for the application text encoding.
Up_CharLocale Up_LocaleForText();

/// See `U_CharByte`; `text` is walked in `locale`, which is put in force on the thread for the walk only.
int Up_GetByteTypeUsingUnixMethods(const char* text, long index, Up_CharLocale locale);

/// Steps through text character by character. From the first byte that begins no valid character on, every
/// byte counts as a character, and none of them is valid.
///
/// All encodings here write ASCII as itself, so the thread's locale is switched only at another byte.
class Up_CharWalk {
  public:
    /// text  `size` bytes without a zero byte; they must outlive the walk
    Up_CharWalk(const char* text, size_t size, Up_CharLocale locale)
        : m_text{text}, m_size{size}, m_locale{locale}
    {
    }

    /// Goes to the next character; false at the end.
    bool Next()
    {
        m_start = m_end;
        if (m_start == m_size) return false;
        if (!m_valid || static_cast<unsigned char>(m_text[m_start]) < 0x80) {
            ++m_end;
        } else {
            Measure();
        }
        return true;
    }

    /// Goes to the character that holds the byte at `index`, which must not lie before the present one.
    ///
    /// returns  false if the text ends before
    bool To(size_t index)
    {
        while (Next()) {
            if (index < m_end) return true;
        }
        return false;
    }

    size_t Start() const { return m_start; }
    size_t End() const { return m_end; }
    bool Valid() const { return m_valid; }

    /// Where the walk met a character that the end of the text cuts short; SIZE_MAX if it met none.
    size_t IncompleteStart() const { return m_incompleteStart; }

  private:
    void Measure();

    const char* m_text;
    size_t m_size;
    size_t m_start = 0;
    size_t m_end = 0;
    bool m_valid = true;
    size_t m_incompleteStart = SIZE_MAX;
    Up_CharLocale m_locale;
    std::optional<Up_ScCharLocale> m_inForce;
};

/// The longest length of at most `limit` at which the terminated `text` can end without splitting a
/// character: its own length if that is no longer.
size_t Up_CutLength(const char* text, size_t limit);

/// The same for text of which only `size` bytes are known to exist. If it has no terminator in them, a
/// character that their end splits is dropped too.
size_t Up_CutLength(const char* text, size_t size, size_t limit);

#endif
