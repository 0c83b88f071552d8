// What the tree and its JSON need of a value beyond its public face.
#ifndef UP_ANY_H
#define UP_ANY_H

#include <boost/any.hpp>
#include <cstring>
#include <optional>

#include "U_Any.h"

/// While true, the number of a mixed value is its stored zero instead of a failure. Set only during a load
/// that asks for it, so that a load on one thread does not relax the checks on another.
extern thread_local bool g_recover_magic_mixedB;

/// The held value, null if it is of another type. Shared libraries can hold two copies of a type's identity,
/// so types are compared by name as well, and the cast does not ask again.
template <class T>
const T* Up_Held(const boost::any& value)
{
    const auto& held = value.type();
    const auto& wanted = boost::typeindex::type_id<T>().type_info();
    if (&held != &wanted && std::strcmp(held.name(), wanted.name()) != 0) return nullptr;
    return boost::unsafe_any_cast<T>(&value);
}

/// A text as a JSON string token, alone or behind another text.
U_UTF16String EnquoteString(const U_UTF16String& text);
void Up_AppendEnquoted(U_UTF16String& out, const U_UTF16String& text);

/// What stands between the quotes of a JSON string token, if it stands for itself there.
std::optional<zvkcore::string::UTF16View> Up_PlainContent(zvkcore::string::UTF16View token);

/// What `U_Any::SetFrom_JSON` makes of a token.
U_Any Up_AnyFromToken(zvkcore::string::UTF16View token);

/// Numbers as unquoted tokens and strings hold them.
long long Up_IntegerFromText(zvkcore::string::UTF16View text);
double Up_DoubleFromText(zvkcore::string::UTF16View text);

#endif
