// The locale of the process and the road of a literal to its text.
//
// Process-wide state:
//   g_locale           the instance, between birth and death; changed by these two only
//   g_doubleByte*      the cached answer of `U_DoubleByteSafeMode`, under a mutex of its own. That one nests
//                      inside the locale's, never the other way about
#include "U_ZString.h"

#include <atomic>
#include <climits>

#include "U_String.h"
#include "U_TrySection.h"
#include "Up_Globals.h"
#include "Up_ZString.h"

using namespace zvkcore::string::literals;
using zvkcore::string::UTF16View;

namespace {

std::atomic<Up_ZStringLocale*> g_locale{nullptr};

zvkcore::threads::RecursiveMutex g_doubleByteMutex{"U.DoubleByteSafeMode"};
bool g_doubleByteAnswer = false;
std::atomic<bool> g_doubleByteKnown{false};

using Lock = zvkcore::threads::RecursiveMutex::ScopedLock;

U_UTF16String FromSystemEncoding(const char* text, size_t length)
{
    return U_MBToUTF16String(std::string(text, length));
}

bool ShowsEnglishOnDoubleByteSystem()
{
    const Up_ZStringLocale* const locale = g_locale.load(std::memory_order_acquire);
    if (locale && locale->IsAlive() && !locale->IsEnglish()) return false;
    switch (U_GetPlatformSpecificCurrentTextEncodingForSerialization() & 0xFFFF) {
        case U_ENCODING_MAC_JAPANESE:
        case U_ENCODING_MAC_CHINESE_TRADITIONAL:
        case U_ENCODING_MAC_KOREAN:
        case U_ENCODING_MAC_CHINESE_SIMPLIFIED:
            return true;
        default:
            return false;
    }
}

void ForgetDoubleByteAnswer()
{
    g_doubleByteKnown.store(false, std::memory_order_release);
}

// What translators write into a text of a dictionary.
void ApplyMarkers(U_UTF16String& text)
{
    static const U_UTF16String kBegin = u"{{*"_u16;
    static const U_UTF16String kWindows = u"{{*MSWindows*}}"_u16;
    static const U_UTF16String kComment = u"{{*COMMENT*}}"_u16;
    static const U_UTF16String kCopyYear = u"{{*CopyYear*}}"_u16;
    static const U_UTF16String kYear = u"2024"_u16;

    const size_t begin = text.find(kBegin);
    if (begin == U_UTF16String::npos) return;
    text = Up_GetHalf(text, kWindows, begin);
    text = Up_GetHalf(text, kComment, 0);
    for (size_t at = 0; (at = text.find(kCopyYear, at)) != U_UTF16String::npos; at += kYear.size()) {
        text.replace(at, kCopyYear.size(), kYear);
    }
}

void ReplaceIncrement(U_UTF16String& text)
{
    constexpr unsigned short kIncrement = 0x2206;
    constexpr unsigned short kGreekDelta = 0x0394;
    for (unsigned short& unit : text) {
        if (unit == kIncrement) unit = kGreekDelta;
    }
}

}  // namespace

U_UTF16String Up_GetHalf(const U_UTF16String& text, UTF16View marker, size_t from)
{
    return text.substr(0, text.find(marker, from));
}

// --- The locale --------------------------------------------------------------------------------------------

Up_ZStringLocale::Up_ZStringLocale()
    : m_current(std::make_shared<zlex::Dictionary>()),
      m_english_dictionary(std::make_shared<zlex::Dictionary>())
{
}

void Up_ZStringLocale::SetDict(const void* data, unsigned long size)
{
    {
        const Lock lock(m_mutex, nullptr, Up_kLockTimeoutMilliseconds);
        const bool isRead =
            size <= INT_MAX && m_current->Read(static_cast<const char*>(data), static_cast<int>(size), false);
        if (!isRead) throw int{U_Err_DAMAGED};
    }
    m_alive.store(true, std::memory_order_release);
}

void Up_ZStringLocale::SetEnglish()
{
    m_english.store(true, std::memory_order_release);
    m_alive.store(true, std::memory_order_release);
}

U_UTF16String Up_ZStringLocale::ZConvert(const char* key)
{
    const Lock lock(m_mutex, nullptr, Up_kLockTimeoutMilliseconds);
    return ZConvertX(key, m_current);
}

U_UTF16String Up_ZStringLocale::ZConvertEnglish(const char* key)
{
    const Lock lock(m_mutex, nullptr, Up_kLockTimeoutMilliseconds);
    return ZConvertX(key, m_english_dictionary);
}

U_UTF16String Up_ZStringLocale::ZConvertEnglishSlow(const char* key)
{
    return ZConvertX(key, std::make_shared<zlex::Dictionary>());
}

U_UTF16String Up_ZStringLocale::ZConvertX(const char* key,
                                          const std::shared_ptr<zlex::Dictionary>& dictionary)
{
    constexpr zlex::EncodingInfo kEncoding{zlex::kEncodingUTF8};
    U_UTF16String text = dictionary->Lookup(key, &kEncoding).Take();
    ApplyMarkers(text);
    if (U_DoubleByteSafeMode()) ReplaceIncrement(text);
    return text;
}

// --- Life --------------------------------------------------------------------------------------------------

Err U_ZLocaleBirth(void)
{
    return U_TrySection([] {
        if (g_locale.load(std::memory_order_acquire)) return;
        zlex::SetSystemTextConverter(FromSystemEncoding);
        g_locale.store(new Up_ZStringLocale, std::memory_order_release);
    });
}

Err U_ZLocaleDeath(void)
{
    delete g_locale.exchange(nullptr);
    return U_Err_NONE;
}

bool U_ZLocaleAlive(void)
{
    const Up_ZStringLocale* const locale = g_locale.load(std::memory_order_acquire);
    return locale && locale->IsAlive();
}

// --- The host's choice -------------------------------------------------------------------------------------

Err U_ZStringSetCurrentDictionary(const unsigned short* data, unsigned long size)
{
    return U_TrySection([&] {
        Up_ZStringLocale* const locale = g_locale.load(std::memory_order_acquire);
        if (!locale) return;
        locale->SetDict(data, size);
        ForgetDoubleByteAnswer();
    });
}

Err U_ZStringSetCurrentDictionaryCompressed(void*, unsigned long)
{
    return 1;
}

Err U_ZStringSetEnglish(void)
{
    Up_ZStringLocale* const locale = g_locale.load(std::memory_order_acquire);
    if (locale) {
        locale->SetEnglish();
        ForgetDoubleByteAnswer();
    }
    return U_Err_NONE;
}

bool U_DoubleByteSafeMode(void)
{
    const Lock lock(g_doubleByteMutex, nullptr, Up_kLockTimeoutMilliseconds);
    if (!g_doubleByteKnown.load(std::memory_order_acquire)) {
        // Known first: a choice that the host makes meanwhile clears it again, and the next caller asks anew.
        g_doubleByteKnown.store(true, std::memory_order_release);
        g_doubleByteAnswer = ShowsEnglishOnDoubleByteSystem();
    }
    return g_doubleByteAnswer;
}

// --- Texts -------------------------------------------------------------------------------------------------

U_UTF16String U_ZStringToUTF16String(const char* key)
{
    Up_ZStringLocale* const locale = g_locale.load(std::memory_order_acquire);
    if (!locale) return Up_ZStringLocale::ZConvertEnglishSlow(key);
    return locale->IsAlive() && locale->IsEnglish() ? locale->ZConvertEnglish(key) : locale->ZConvert(key);
}

U_UTF16String U_ZStringToEnglishUTF16String(const char* key)
{
    Up_ZStringLocale* const locale = g_locale.load(std::memory_order_acquire);
    return locale ? locale->ZConvertEnglish(key) : Up_ZStringLocale::ZConvertEnglishSlow(key);
}

std::string U_ZStringToMBString(const char* key)
{
    return U_UTF16ToMBString(U_ZStringToUTF16String(key));
}

std::string U_ZStringToEnglishMBString(const char* key)
{
    return U_UTF16ToMBString(U_ZStringToEnglishUTF16String(key));
}

bool U_IsZstr(const U_UTF8String& text)
{
    return zvkcore::string::View(text).starts_with("$$$");
}

bool U_IsZstr(const std::string& text)
{
    return text.starts_with("$$$");
}
