// The symbols of a locale, read from ICU once for each locale that a host sets.
//
// State: g_current, the form in force, null for the plain one; atomic. g_known, every form ever read, so that
// a reader may go on with a form while another is set; guard: g_knownGuard for adding, forms themselves never
// change. Both live to the end of the process.
#include "zvkcore/string/NumberLocale.h"

#include <unicode/uloc.h>
#include <unicode/unum.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace zvkcore::string {
namespace {

constexpr std::string_view kPlain = "0123456789.,-";
constexpr UNumberFormatSymbol kSymbols[] = {
    UNUM_ZERO_DIGIT_SYMBOL,  UNUM_ONE_DIGIT_SYMBOL,         UNUM_TWO_DIGIT_SYMBOL,
    UNUM_THREE_DIGIT_SYMBOL, UNUM_FOUR_DIGIT_SYMBOL,        UNUM_FIVE_DIGIT_SYMBOL,
    UNUM_SIX_DIGIT_SYMBOL,   UNUM_SEVEN_DIGIT_SYMBOL,       UNUM_EIGHT_DIGIT_SYMBOL,
    UNUM_NINE_DIGIT_SYMBOL,  UNUM_DECIMAL_SEPARATOR_SYMBOL, UNUM_GROUPING_SEPARATOR_SYMBOL,
    UNUM_MINUS_SIGN_SYMBOL};
constexpr std::size_t kCount = std::size(kSymbols);
constexpr std::size_t kGroup = kPlain.find(',');
static_assert(kCount == kPlain.size(), "each plain character has its symbol");

constexpr unsigned short kBlanks[] = {0x20, 0xA0, 0x2009, 0x202F};

struct NumberForm {
    std::string name;
    UTF16String symbols[kCount];  // in the order of kPlain
    NumberForm* next;
};

constinit std::atomic<const NumberForm*> g_current{nullptr};
constinit std::mutex g_knownGuard;
constinit NumberForm* g_known = nullptr;

UTF16String ReadSymbol(const UNumberFormat* format, UNumberFormatSymbol symbol)
{
    UChar text[16];
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t count = unum_getSymbol(format, symbol, text, std::size(text), &status);
    if (U_FAILURE(status) || count <= 0 || count > static_cast<std::int32_t>(std::size(text))) return {};
    return UTF16String{Units(std::u16string_view{text, static_cast<std::size_t>(count)})};
}

bool HaveOneLanguage(const char* a, const char* b)
{
    char languages[2][ULOC_LANG_CAPACITY];
    UErrorCode status = U_ZERO_ERROR;
    uloc_getLanguage(a, languages[0], ULOC_LANG_CAPACITY, &status);
    uloc_getLanguage(b, languages[1], ULOC_LANG_CAPACITY, &status);
    return U_SUCCESS(status) && std::string_view{languages[0]} == languages[1];
}

// Null for a name that is no locale: ICU would fall back for it to the environment's locale, or to its root.
std::unique_ptr<NumberForm> ReadForm(const char* name)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UNumberFormat, void (*)(UNumberFormat*)> format{
        unum_open(UNUM_DECIMAL, nullptr, 0, name, nullptr, &status), unum_close};
    if (U_FAILURE(status) || format == nullptr) return nullptr;
    const char* const found = unum_getLocaleByType(format.get(), ULOC_VALID_LOCALE, &status);
    if (U_FAILURE(status) || found == nullptr || !HaveOneLanguage(found, name)) return nullptr;

    auto form = std::make_unique<NumberForm>();
    form->name = name;
    for (std::size_t i = 0; i < kCount; ++i) {
        form->symbols[i] = ReadSymbol(format.get(), kSymbols[i]);
        if (form->symbols[i].empty()) form->symbols[i].assign(1, static_cast<unsigned char>(kPlain[i]));
    }
    return form;
}

const NumberForm* FindOrRead(const char* name)
{
    const std::lock_guard lock{g_knownGuard};
    for (const NumberForm* form = g_known; form != nullptr; form = form->next) {
        if (form->name == name) return form;
    }
    std::unique_ptr<NumberForm> form = ReadForm(name);
    if (form == nullptr) return nullptr;
    form->next = g_known;
    return g_known = form.release();
}

bool IsBlank(unsigned short unit)
{
    return UTF16View{kBlanks, std::size(kBlanks)}.find(unit) != UTF16View::npos;
}

bool GroupsByBlank(const NumberForm& form)
{
    return form.symbols[kGroup].size() == 1 && IsBlank(form.symbols[kGroup][0]);
}

// Which symbol stands at the front of `text`; kCount for none.
std::size_t SymbolAt(const NumberForm& form, UTF16View text)
{
    std::size_t i = 0;
    while (i < kCount && !text.starts_with(form.symbols[i])) ++i;
    return i;
}

bool IsDigitAt(const NumberForm& form, UTF16View text)
{
    return (!text.empty() && text[0] >= '0' && text[0] <= '9') || SymbolAt(form, text) < 10;
}

}  // namespace

bool SetNumberLocale(const char* name)
{
    const NumberForm* const form = name == nullptr ? nullptr : FindOrRead(name);
    if (name != nullptr && form == nullptr) return false;
    g_current.store(form, std::memory_order_release);
    return true;
}

void InternationalizeNum(UTF16String& text)
{
    const NumberForm* const form = g_current.load(std::memory_order_acquire);
    if (form == nullptr) return;
    UTF16String result;
    result.reserve(text.size());
    for (const unsigned short unit : text) {
        const std::size_t i = unit < 0x80 ? kPlain.find(static_cast<char>(unit)) : kPlain.npos;
        if (i == kPlain.npos) {
            result.push_back(unit);
        } else {
            result.append(form->symbols[i]);
        }
    }
    text = std::move(result);
}

void DeInternationalizeNum(UTF16String& text)
{
    const NumberForm* const form = g_current.load(std::memory_order_acquire);
    if (form == nullptr) return;
    const bool blanks = GroupsByBlank(*form);
    UTF16String result;
    result.reserve(text.size());
    bool behindDigit = false;
    for (UTF16View rest = text; !rest.empty();) {
        const bool isDigit = IsDigitAt(*form, rest);
        std::size_t i = SymbolAt(*form, rest);
        if (i == kCount && blanks && behindDigit && IsBlank(rest[0]) && IsDigitAt(*form, rest.substr(1)))
            i = kGroup;
        const bool isOtherBlank = i == kGroup && blanks && rest[0] != form->symbols[kGroup][0];
        result.push_back(i == kCount ? rest[0] : static_cast<unsigned char>(kPlain[i]));
        rest.remove_prefix(i == kCount || isOtherBlank ? 1 : form->symbols[i].size());
        behindDigit = isDigit;
    }
    text = std::move(result);
}

}  // namespace zvkcore::string
