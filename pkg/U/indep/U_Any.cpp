// The variant value. A value is what a holder and a type say together; the type decides, and a holder that
// does not fit it fails where it is needed. Mixed values travel as magic words, so strings are looked at when
// they are made.
//
// The one state here is g_recover_magic_mixedB, a flag of each thread.
#include "U_Any.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <tuple>
#include <type_traits>

#include "U_AnyTree.h"
#include "U_String.h"
#include "Up_Any.h"
#include "zvkcore/string/Convert.h"
#include "zvkcore/string/Format.h"
#include "zvkcore/string/Scan.h"

thread_local bool g_recover_magic_mixedB = false;

namespace {

using zvkcore::string::UTF16View;
using zvkcore::string::literals::operator""_u16;

constexpr std::string_view kMixedPrefix = "mixed-";

// What texts and zeros a type has. A type without a magic word shows its plain text even when it is mixed.
struct TypeRow {
    U_Any::TypeEnum type;
    const char* name;
    const char* magicWord;
    boost::any (*zero)();
};

template <class T>
boost::any ZeroOf()
{
    return boost::any(T{});
}

boost::any Nothing()
{
    return {};
}

constexpr TypeRow kTypes[] = {
    {U_Any::Type_UNSET, "", nullptr, Nothing},
    {U_Any::Type_NULL, "", nullptr, Nothing},
    {U_Any::Type_BOOL, "bool", "mixed-bool", ZeroOf<bool>},
    {U_Any::Type_INT, "int", "mixed-int", ZeroOf<long long>},
    {U_Any::Type_DOUBLE, "double", "mixed-double", ZeroOf<double>},
    {U_Any::Type_ENUM, "", "mixed-int", ZeroOf<long long>},
    {U_Any::Type_STRING, "string", "mixed-string", ZeroOf<U_UTF16String>},
    {U_Any::Type_MBSTRING, "", nullptr, ZeroOf<std::string>},
    {U_Any::Type_TREE, "<tree>", nullptr, Nothing},
};

constexpr bool RowsStandAtTheirType()
{
    for (size_t i = 0; i < std::size(kTypes); ++i) {
        if (kTypes[i].type != static_cast<U_Any::TypeEnum>(i)) return false;
    }
    return true;
}
static_assert(RowsStandAtTheirType());

// The types that a magic word can stand for. An enumeration shares its word with the integer, which wins.
constexpr U_Any::TypeEnum kMagicTypes[] = {U_Any::Type_DOUBLE, U_Any::Type_STRING, U_Any::Type_BOOL,
                                           U_Any::Type_INT};

const TypeRow& RowOf(U_Any::TypeEnum type)
{
    const auto index = static_cast<size_t>(type);
    return kTypes[index < std::size(kTypes) ? index : 0];
}

bool EqualsASCII(UTF16View text, std::string_view ascii)
{
    return text.size() == ascii.size() && std::equal(text.begin(), text.end(), ascii.begin());
}

bool BeginsWithASCII(UTF16View text, std::string_view ascii)
{
    return EqualsASCII(text.substr(0, ascii.size()), ascii);
}

U_UTF16String Widen(std::string_view ascii)
{
    return zvkcore::string::AsciiToUTF16(ascii.data(), ascii.size());
}

template <class... Integer>
std::optional<long long> FindAmong(const boost::any& value, std::type_identity<std::tuple<Integer...>>)
{
    std::optional<long long> found;
    const auto look = [&](const auto* held) {
        if (held) found = static_cast<long long>(*held);
        return held != nullptr;
    };
    (look(Up_Held<Integer>(value)) || ...);
    return found;
}

std::optional<long long> FindInteger(const boost::any& value)
{
    using Others = std::tuple<int, long, unsigned int, unsigned long, unsigned long long, short,
                              unsigned short, signed char, unsigned char, char>;
    if (const auto* held = Up_Held<long long>(value)) return *held;
    return FindAmong(value, std::type_identity<Others>());
}

std::optional<double> FindDouble(const boost::any& value)
{
    if (const auto* held = Up_Held<double>(value)) return *held;
    if (const auto* held = Up_Held<float>(value)) return *held;
    return std::nullopt;
}

template <class Found>
auto OrThrow(const Found& found)
{
    if (!found) throw boost::bad_any_cast();
    return *found;
}

template <class T>
const T& HeldOrThrow(const boost::any& value)
{
    const T* held = Up_Held<T>(value);
    if (!held) throw boost::bad_any_cast();
    return *held;
}

U_UTF16String DoubleText(double value)
{
    using namespace zvkcore::string;
    U_UTF16String text = NumberToString(value, 1, 9, kNumberPlainForm | kNumberTrimZeros, 31);
    // Wanted: only a whole double gets the ".0" by which it stays a double in text. One that rounds to a
    // whole number in nine decimals shows that number, and equals that integer. The form with an exponent has
    // its point already.
    const bool whole = std::isfinite(value) && std::trunc(value) == value;
    if (whole && text.find('.') == U_UTF16String::npos) text.append(u".0"_u16);
    return text;
}

}  // namespace

long long Up_IntegerFromText(UTF16View text)
{
    if (EqualsASCII(text, "TRUE") || EqualsASCII(text, "true")) return 1;
    if (EqualsASCII(text, "FALSE") || EqualsASCII(text, "false")) return 0;
    long long number = 0;
    zvkcore::string::StringToNumber(text, number,
                                    zvkcore::string::kScanSkipBlanks | zvkcore::string::kScanIgnoreTail);
    return number;
}

double Up_DoubleFromText(UTF16View text)
{
    double number = 0;
    zvkcore::string::StringToNumber(text, number,
                                    zvkcore::string::kScanSkipBlanks | zvkcore::string::kScanIgnoreTail);
    return number;
}

// --- Making a value ----------------------------------------------------------------------------------------

U_Any::U_Any(TypeEnum type) : m_value(RowOf(type).zero()), m_type(RowOf(type).type)
{
    construct(false);
}

U_Any::U_Any(U_UTF16String text) : m_value(std::move(text)), m_type(Type_STRING)
{
    construct(false);
}

U_Any::U_Any(const U_UTF8String& text, bool mixed)
    : m_value(zvkcore::string::UTF8to16(text)), m_type(Type_STRING)
{
    construct(mixed);
}

U_Any::U_Any(const unsigned char* text) : U_Any(text ? U_UTF8String(text) : U_UTF8String()) {}

U_Any::U_Any(const std::string& text) : m_value(text), m_type(Type_MBSTRING)
{
    construct(false);
}

U_Any::U_Any(const char* text) : U_Any(std::string(text ? text : "")) {}

U_Any::U_Any(Holder holder, TypeEnum type, bool mixed)
    : m_value(std::move(holder.value)), m_type(RowOf(type).type)
{
    construct(mixed);
}

void U_Any::construct(bool mixed)
{
    m_mixed = mixed;
    if (m_type == Type_STRING && !mixed) construct_string();
    if (m_type == Type_NULL) m_type = InferType(m_value);
    if (m_type == Type_UNSET) m_type = Type_NULL;
    if (m_type == Type_NULL) m_value.clear();
}

// Wanted: an ordinary string that happens to spell a magic word becomes a mixed value, and one that merely
// begins like them cannot be made. That is how a mixed value comes back from text, where nothing else marks
// it.
void U_Any::construct_string()
{
    const U_UTF16String* text = Up_Held<U_UTF16String>(m_value);
    if (!text || !BeginsWithASCII(*text, kMixedPrefix)) return;
    m_mixed = true;
    for (const TypeEnum type : kMagicTypes) {
        if (!EqualsASCII(*text, RowOf(type).magicWord)) continue;
        m_type = type;
        m_value = RowOf(type).zero();
        return;
    }
    throw boost::bad_any_cast();
}

U_Any::TypeEnum U_Any::InferType(const boost::any& value)
{
    if (value.empty() || Up_Held<std::nullptr_t>(value)) return Type_NULL;
    if (Up_Held<bool>(value)) return Type_BOOL;
    if (Up_Held<U_UTF16String>(value)) return Type_STRING;
    if (Up_Held<std::string>(value)) return Type_MBSTRING;
    if (Up_Held<U_AnyTreeWrapper>(value)) return Type_TREE;
    if (FindDouble(value)) return Type_DOUBLE;
    if (FindInteger(value)) return Type_INT;
    return Type_UNSET;
}

void U_Any::reset()
{
    *this = U_Any();
}

// --- Questions ---------------------------------------------------------------------------------------------

const char* U_Any::GetTypeStr(TypeEnum type)
{
    return RowOf(type).name;
}

const boost::any& U_Any::GetBoostAny() const
{
    static const boost::any* const s_null = new boost::any(nullptr);  // outlives every user, at exit too
    return m_type == Type_NULL ? *s_null : m_value;
}

bool U_Any::IsNumeric() const
{
    if (m_type == Type_INT || m_type == Type_DOUBLE || m_type == Type_ENUM) return true;
    if (m_type != Type_STRING && m_type != Type_MBSTRING) return false;
    const std::string text = GetAs_MBStr();
    return !text.empty() && text.find_first_not_of("0123456789,-.") == std::string::npos;
}

bool U_Any::operator==(const U_Any& other) const
{
    return GetAs_Str8() == other.GetAs_Str8();
}

// The word that stands for this value, null if its text does.
const char* U_Any::MagicWord() const
{
    return m_mixed ? RowOf(m_type).magicWord : nullptr;
}

void U_Any::ThrowIfMixed() const
{
    if (m_mixed && !g_recover_magic_mixedB) throw boost::bad_any_cast();
}

// --- Conversions -------------------------------------------------------------------------------------------

U_UTF16String U_Any::GetAs_Str() const
{
    if (const char* word = MagicWord()) return Widen(word);
    switch (m_type) {
        case Type_BOOL:
            return HeldOrThrow<bool>(m_value) ? u"true"_u16 : u"false"_u16;
        case Type_INT:
        case Type_ENUM:
            return Widen(std::to_string(OrThrow(FindInteger(m_value))));
        case Type_DOUBLE:
            return DoubleText(OrThrow(FindDouble(m_value)));
        case Type_STRING:
            return HeldOrThrow<U_UTF16String>(m_value);
        case Type_MBSTRING:
            return U_MBToUTF16String(HeldOrThrow<std::string>(m_value));
        case Type_TREE:
            return u"<tree>"_u16;
        default:
            return {};
    }
}

U_UTF8String U_Any::GetAs_Str8() const
{
    return zvkcore::string::UTF16to8(GetAs_Str());
}

std::string U_Any::GetAs_MBStr() const
{
    return m_type == Type_MBSTRING ? HeldOrThrow<std::string>(m_value) : UTF16toMBString(GetAs_Str());
}

long long U_Any::FindAs_int() const
{
    ThrowIfMixed();
    switch (m_type) {
        case Type_BOOL:
            return HeldOrThrow<bool>(m_value) ? 1 : 0;
        case Type_INT:
        case Type_ENUM:
            return OrThrow(FindInteger(m_value));
        case Type_DOUBLE:
            return zvkcore::string::SaturateToInteger(OrThrow(FindDouble(m_value)));
        case Type_STRING:
        case Type_MBSTRING:
            return Up_IntegerFromText(m_type == Type_STRING ? HeldOrThrow<U_UTF16String>(m_value)
                                                            : GetAs_Str());
        default:
            return 0;
    }
}

int32_t U_Any::GetAs_Enum() const
{
    return static_cast<int32_t>(GetAs_int());
}

bool U_Any::GetAs_bool() const
{
    return GetAs_int() != 0;
}

double U_Any::GetAs_double() const
{
    ThrowIfMixed();
    switch (m_type) {
        case Type_BOOL:
        case Type_INT:
        case Type_ENUM:
            return static_cast<double>(GetAs_int());
        case Type_DOUBLE:
            return OrThrow(FindDouble(m_value));
        case Type_STRING:
        case Type_MBSTRING:
            return Up_DoubleFromText(m_type == Type_STRING ? HeldOrThrow<U_UTF16String>(m_value)
                                                           : GetAs_Str());
        default:
            return 0.0;
    }
}

std::string U_Any::UTF16toMBString(const U_UTF16String& text)
{
    return U_UTF16ToMBString(text);
}

U_UTF16String U_Any::MBtoUTF16String(const std::string& text)
{
    return U_MBToUTF16String(text);
}
