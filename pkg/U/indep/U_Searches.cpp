// Searches in multibyte text. They try each start of a character in turn, so a byte in the middle of one can
// never be taken for what is looked for.
#include <cstring>

#include "U_String.h"
#include "Up_CharClass.h"

namespace {

enum class Which { kFirst, kLast };

// Gives the position of the first or last character start at which `matches` says yes; the end is one.
template <class Matches>
char* Find(const char* text, Which which, const Matches& matches)
{
    const char* found = nullptr;
    const size_t length = std::strlen(text);
    Up_CharWalk walk{text, length, Up_LocaleForText()};
    for (bool more = true; more && !(found && which == Which::kFirst);) {
        more = walk.Next();
        if (matches(text + walk.Start())) found = text + walk.Start();
    }
    return const_cast<char*>(found);
}

char* FindText(const char* text, const char* find, Which which)
{
    const size_t length = std::strlen(find);
    return Find(text, which, [=](const char* at) { return std::strncmp(at, find, length) == 0; });
}

char* FindByte(const char* text, int find, Which which)
{
    return Find(text, which, [find](const char* at) { return *at == static_cast<char>(find); });
}

}  // namespace

char* U_strstr(const char* text, const char* find)
{
    return FindText(text, find, Which::kFirst);
}

char* U_strrstr(const char* text, const char* find)
{
    return FindText(text, find, Which::kLast);
}

char* U_strchr(const char* text, int find)
{
    return FindByte(text, find, Which::kFirst);
}

char* U_strrchr(const char* text, int find)
{
    return FindByte(text, find, Which::kLast);
}
