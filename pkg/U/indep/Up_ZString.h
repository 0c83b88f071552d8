/// The locale of the process: the dictionary in force, the host's choice and the lock over both.
#ifndef UP_ZSTRING_H
#define UP_ZSTRING_H

#include <atomic>
#include <memory>

#include "U_ZString.h"
#include "zlex.h"
#include "zvkcore/threads/RecursiveMutex.h"

class Up_ZStringLocale {
  public:
    Up_ZStringLocale();

    /// Reads a block of `size` bytes over the current dictionary, under the lock, and makes the locale alive.
    ///
    /// throws  the `int` 2 for a block that cannot be read, which leaves everything as it was
    void SetDict(const void* data, unsigned long size);

    /// Makes the locale alive and English. There is no way back.
    void SetEnglish();

    bool IsAlive() const { return m_alive.load(std::memory_order_acquire); }
    bool IsEnglish() const { return m_english.load(std::memory_order_acquire); }

    /// The text of a literal by the current, or the English, dictionary, under the lock.
    U_UTF16String ZConvert(const char* key);
    U_UTF16String ZConvertEnglish(const char* key);

    /// The default text of a literal, which needs no instance.
    static U_UTF16String ZConvertEnglishSlow(const char* key);

  private:
    static U_UTF16String ZConvertX(const char* key, const std::shared_ptr<zlex::Dictionary>& dictionary);

    std::shared_ptr<zlex::Dictionary> m_current;             // of the user's language; empty until set
    std::shared_ptr<zlex::Dictionary> m_english_dictionary;  // always empty, so that defaults speak
    std::atomic<bool> m_alive{false};
    std::atomic<bool> m_english{false};
    zvkcore::threads::RecursiveMutex m_mutex{"U.ZStringLocale"};  // reads and searches of both dictionaries
};

/// The half of a text that is for this platform: what stands before `marker`, searched from `from` on; the
/// whole text where the marker is not.
U_UTF16String Up_GetHalf(const U_UTF16String& text, zvkcore::string::UTF16View marker, size_t from);

#endif
