// One value and one string as JSON. Nearly every string stands for itself between its quotes; those that do
// not take the road through the framework, which is also the road that a test holds the short one against.
#include "U_Any.h"
#include "Up_Any.h"
#include "zvkcore/serialization/JSON.h"
#include "zvkcore/serialization/PlainRun.h"
#include "zvkcore/string/Convert.h"

using zvkcore::string::UTF16View;
using zvkcore::string::literals::operator""_u16;

void Up_AppendEnquoted(U_UTF16String& out, const U_UTF16String& text)
{
    if (!zvkcore::serialization::IsPlainRun(text)) {
        out.append(zvkcore::serialization::GetJSONString(boost::any(zvkcore::string::UTF16to8(text)), false));
        return;
    }
    out.push_back('"');
    out.append(text);
    out.push_back('"');
}

U_UTF16String EnquoteString(const U_UTF16String& text)
{
    U_UTF16String token;
    Up_AppendEnquoted(token, text);
    return token;
}

U_UTF16String U_Any::GetAs_JSON() const
{
    switch (m_type) {
        case Type_NULL:
            return u"null"_u16;
        case Type_BOOL:
        case Type_INT:
        case Type_DOUBLE:
        case Type_ENUM:
            return MagicWord() ? EnquoteString(GetAs_Str()) : GetAs_Str();
        case Type_STRING:
        case Type_MBSTRING:
            return EnquoteString(GetAs_Str());
        default:
            return {};
    }
}

std::optional<UTF16View> Up_PlainContent(UTF16View token)
{
    if (token.size() < 2 || token.front() != '"' || token.back() != '"') return std::nullopt;
    const UTF16View content = token.substr(1, token.size() - 2);
    return zvkcore::serialization::IsPlainRun(content) ? std::optional(content) : std::nullopt;
}

U_Any Up_AnyFromToken(UTF16View token)
{
    if (const auto content = Up_PlainContent(token)) return U_Any(U_UTF16String(*content));
    const auto parsed = zvkcore::serialization::JSONParse(U_UTF16String(token));
    if (!parsed) throw boost::bad_any_cast();
    return U_Any(boost::any_cast<const U_UTF8String&>(*parsed));
}

void U_Any::SetFrom_JSON(const U_UTF16String& text)
{
    *this = Up_AnyFromToken(text);
}
