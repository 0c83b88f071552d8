/// A name that is compared by identity: made once for each text, and shared by everybody who asks for that
/// text.
///
///     static const ImmutableString kName = ImmutableString::Create("QL.U.BigMutex");
///
/// Copies are pointers, and equality is a comparison of pointers. A text, once made, stays for the life of
/// the process, so names stay valid in static objects and at exit; do not make names of user data. Any thread
/// may call.
#ifndef ZVKCORE_UTILITY_IMMUTABLESTRING_H
#define ZVKCORE_UTILITY_IMMUTABLESTRING_H

#include <compare>
#include <cstddef>
#include <functional>
#include <string_view>

#include "zvkcore/config/Export.h"

namespace zvkcore::utility {

class ImmutableString {
  public:
    /// The null name: empty, and equal to itself only.
    constexpr ImmutableString() noexcept = default;

    /// The name of that text; null and empty text give the null name. Throws `std::bad_alloc`.
    ZVKCORE_EXPORT static ImmutableString Create(std::string_view text);
    static ImmutableString Create(const char* text)
    {
        return text == nullptr ? ImmutableString{} : Create(std::string_view{text});
    }

    bool IsNull() const noexcept { return m_rep == nullptr; }

    /// The terminated text; "" for the null name.
    const char* GetText() const noexcept { return m_rep == nullptr ? "" : m_rep->text; }
    std::string_view GetView() const noexcept
    {
        return m_rep == nullptr ? std::string_view{} : std::string_view{m_rep->text, m_rep->size};
    }

    /// Below 0, 0 or above 0 by the order of the texts, byte by byte; the null name stands first.
    static int Compare(ImmutableString a, ImmutableString b) noexcept
    {
        return a.m_rep == b.m_rep ? 0 : a.GetView().compare(b.GetView());
    }

    friend bool operator==(ImmutableString a, ImmutableString b) noexcept { return a.m_rep == b.m_rep; }
    friend std::strong_ordering operator<=>(ImmutableString a, ImmutableString b) noexcept
    {
        return Compare(a, b) <=> 0;
    }

  private:
    friend struct std::hash<ImmutableString>;

    struct Representation {
        std::size_t size;
        const char* text;
    };

    constexpr explicit ImmutableString(const Representation* rep) noexcept : m_rep{rep} {}

    const Representation* m_rep = nullptr;
};

}  // namespace zvkcore::utility

template <>
struct std::hash<zvkcore::utility::ImmutableString> {
    std::size_t operator()(zvkcore::utility::ImmutableString name) const noexcept
    {
        return std::hash<const void*>{}(name.m_rep);
    }
};

#endif
