// What a tree throws: the texts, and the checks that throw them.
#include <sstream>

#include "U_AnyTree.h"
#include "zvkcore/string/Convert.h"

namespace {

std::ostream& operator<<(std::ostream& stream, const U_UTF8String& text)
{
    return stream << zvkcore::string::View(text);
}

std::ostream& operator<<(std::ostream& stream, const U_UTF16String& text)
{
    return stream << zvkcore::string::UTF16to8(text);
}

template <class Exception, class... Piece>
[[noreturn]] void Throw(const Piece&... pieces)
{
    std::ostringstream text;
    (text << ... << pieces);
    throw Exception(text.str());
}

}  // namespace

// Destructors stand here so that the types' identities do, once for all libraries.
bad_uanytree_key::bad_uanytree_key(const std::string& text) : runtime_error(text) {}
bad_uanytree_key::~bad_uanytree_key() = default;

bad_uanytree_map::bad_uanytree_map(const std::string& text) : runtime_error(text) {}
bad_uanytree_map::~bad_uanytree_map() = default;

bad_uanytree_match::bad_uanytree_match(const std::string& text) : runtime_error(text) {}
bad_uanytree_match::~bad_uanytree_match() = default;

bad_uanytree_json::bad_uanytree_json(const std::string& text, std::size_t position)
    : runtime_error(text), m_position(position)
{
}
bad_uanytree_json::~bad_uanytree_json() = default;

void U_AnyTreeWrapper::ThrowBadKey(const U_UTF16String& key) const
{
    Throw<bad_uanytree_key>('"', key, "\" not found in: ", keys_as_json());
}

void U_AnyTreeWrapper::ThrowNoKeys()
{
    Throw<bad_uanytree_key>("`inKeyStrs` is empty");
}

void U_AnyTreeWrapper::ThrowBadMatch(const U_UTF16String& key)
{
    Throw<bad_uanytree_match>("Value at key '", key, "' did not satisfy match function");
}

void U_AnyTreeWrapper::array_validator(const U_AnyTreeWrapper& tree)
{
    if (!tree.is_array()) Throw<bad_uanytree_map>("expected an array but got a map");
}

// An empty node is both, so it passes.
void U_AnyTreeWrapper::map_validator(const U_AnyTreeWrapper& tree)
{
    if (!tree.is_map()) Throw<bad_uanytree_map>("expected a map but got an array");
}
