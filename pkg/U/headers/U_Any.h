/// A variant value: a null, a boolean, an integer, a double, an enumeration or a string, with every
/// conversion between them defined.
///
///     U_Any width = 1920;
///     width.GetAs_double();                              // 1920.0
///     width.GetAs_Str8();                                // "1920"
///     U_Any{2.0}.GetAs_JSON();                           // 2.0: the point tells a double from an integer
///
/// A value can be *mixed*: it has a type but stands for several values, as the opacity of three selected
/// layers does. Its text is then a magic word, "mixed-" and the name of the type, which brings it through
/// text forms and back; its number does not exist, and asking for it throws.
///
///     U_Any opacity{0.5, true};
///     opacity.GetAs_Str8();                              // "mixed-double"
///     opacity.GetAs_double();                            // throws boost::bad_any_cast
///
/// So a 16-bit or UTF-8 string that spells one of the words "mixed-double", "mixed-string", "mixed-bool" and
/// "mixed-int" becomes a mixed value, and one that merely begins with "mixed-" cannot be a value: making it
/// throws.
///
/// Ground rules. Every failure is a `boost::bad_any_cast`, besides `std::bad_alloc` and what the conversions of
/// U_String.h throw for multibyte text. A value is not synchronised: copy it between threads. Trees of values
/// are in U_AnyTree.h.
#ifndef U_ANY_H
#define U_ANY_H

#include <boost/any.hpp>
#include <concepts>
#include <cstdint>
#include <string>

#include "U_Types.h"

/// What a number may be made of; characters are not.
template <class T>
concept U_AnyInteger =
    std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> && !std::same_as<T, wchar_t> &&
    !std::same_as<T, char8_t> && !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

class U_EXPORT U_Any {
  public:
    enum TypeEnum {
        Type_UNSET = 0,     ///< becomes Type_NULL
        Type_NULL = 1,      ///< no value; given with a value, its type is inferred
        Type_BOOL = 2,      ///< "bool", held as bool
        Type_INT = 3,       ///< "int", held as any integer type
        Type_DOUBLE = 4,    ///< "double", held as double or float
        Type_ENUM = 5,      ///< an enumeration, held as any integer type
        Type_STRING = 6,    ///< "string", held as U_UTF16String
        Type_MBSTRING = 7,  ///< multibyte text in the application text encoding, held as std::string
        Type_TREE = 8       ///< "<tree>": the node has children, see U_AnyTree.h
    };

    /// A null.
    U_Any() = default;

    /// The type with its zero: false, 0, 0.0, an empty text. A tree holds no value here.
    explicit U_Any(TypeEnum type);

    /// Numbers. `mixed` values keep the number but show the magic word. They are templates so that a pointer
    /// cannot become a boolean.
    template <std::floating_point Real>
    U_Any(Real value, bool mixed = false) : U_Any(Holder{static_cast<double>(value)}, Type_DOUBLE, mixed)
    {
    }
    template <std::same_as<bool> Bool>
    U_Any(Bool value, bool mixed = false) : U_Any(Holder{value}, Type_BOOL, mixed)
    {
    }
    template <U_AnyInteger Integer>
    U_Any(Integer value, bool mixed = false) : U_Any(Holder{value}, Type_INT, mixed)
    {
    }

    /// Strings of Type_STRING; from UTF-8 they are converted.
    ///
    /// throws  for a text that begins with "mixed-" and is none of the magic words
    U_Any(U_UTF16String text);
    U_Any(const U_UTF8String& text, bool mixed = false);
    U_Any(const unsigned char* text);  ///< UTF-8; null is empty

    /// Strings of Type_MBSTRING. The bytes are kept; magic words are nothing special here.
    U_Any(const std::string& text);
    U_Any(const char* text);  ///< null is empty

    /// A holder with a type of the caller's choice: the way to make an enumeration. Under Type_NULL the type
    /// is inferred, and a holder that no type fits gives a null. A holder that does not fit the type is found
    /// out by the first getter that needs it. It is a template so that nothing else becomes a holder on the
    /// way.
    template <std::same_as<boost::any> Any>
    explicit U_Any(const Any& value, TypeEnum type = Type_NULL, bool mixed = false)
        : U_Any(Holder{value}, type, mixed)
    {
    }

    TypeEnum GetType() const { return m_type; }

    /// "bool", "int", "double", "string", "<tree>"; empty for the others.
    const char* GetTypeStr() const { return GetTypeStr(m_type); }
    static const char* GetTypeStr(TypeEnum type);

    bool IsMixed() const { return m_mixed; }

    /// Whether a value is held: false for a null, and for a node's mark that it is a tree.
    bool has_value() const { return !m_value.empty(); }

    /// Whether the value is an integer, a double, an enumeration, or a text of digits, commas, hyphens and
    /// points. A boolean is not numeric, although it has a number.
    bool IsNumeric() const;

    /// The holder. For a null it holds the null pointer. It lives as long as this value, unchanged.
    const boost::any& GetBoostAny() const;

    /// Makes this a null.
    void reset();

    // --- Conversions ---------------------------------------------------------------------------------------

    /// The text: "true" and "false", digits, up to nine decimals without trailing zeros, and ".0" behind a
    /// double that is whole. From about 1e21 on a double has the form with an exponent and nine decimals. A
    /// NaN and the infinities are "nan", "inf" and "-inf". A tree is "<tree>", a null is empty. Never throws
    /// for a mixed value.
    U_UTF16String GetAs_Str() const;
    U_UTF8String GetAs_Str8() const;
    std::string GetAs_MBStr() const;

    /// The number. Doubles are truncated toward zero and held at the ends of the range, a NaN is 0. Of texts,
    /// "TRUE" and "true" are 1, "FALSE" and "false" are 0, and others are read up to where they stop being a
    /// number, with a point as decimal mark in every locale. A null and a tree are 0. An unsigned integer
    /// above the range wraps, as its text does.
    ///
    /// throws  for a mixed value, or a holder that does not fit the type
    long long GetAs_int() const
    {
        const auto* held = m_type == Type_INT && !m_mixed ? boost::any_cast<long long>(&m_value) : nullptr;
        return held ? *held : FindAs_int();  // nearly every integer is held so
    }
    int32_t GetAs_Enum() const;  ///< the low 32 bits
    bool GetAs_bool() const;     ///< not 0
    double GetAs_double() const;

    /// The JSON text: "null", a bare word or number, or a quoted string; mixed values are quoted. Empty for a
    /// tree. A double that is no number gives a bare "nan", "inf" or "-inf", which is no JSON but does not
    /// break the text around it: read back, the first is a null and the others are the integer 0.
    U_UTF16String GetAs_JSON() const;

    /// Makes this a string from a JSON string token, or a mixed value if it spells a magic word.
    ///
    /// throws  for any other text
    void SetFrom_JSON(const U_UTF16String& text);

    static std::string UTF16toMBString(const U_UTF16String& text);
    static U_UTF16String MBtoUTF16String(const std::string& text);

    /// Equality is by text and not by type: the integer 1 equals the string "1" and not the double 1, whose
    /// text is "1.0". Two mixed values of a type are equal.
    bool operator==(const U_Any& other) const;

  private:
    struct Holder {
        boost::any value;
    };

    U_Any(Holder holder, TypeEnum type, bool mixed);
    void construct(bool mixed);
    void construct_string();
    void ThrowIfMixed() const;
    long long FindAs_int() const;
    static TypeEnum InferType(const boost::any& value);
    const char* MagicWord() const;

    boost::any m_value;  // empty for a null, which then costs no allocation
    TypeEnum m_type = Type_NULL;
    bool m_mixed = false;
};

#endif
