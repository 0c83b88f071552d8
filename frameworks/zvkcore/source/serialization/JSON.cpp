// JSON string tokens on Boost.JSON. No state.
#include "zvkcore/serialization/JSON.h"

#include <boost/json.hpp>
#include <boost/make_shared.hpp>
#include <cstdio>

#include "zvkcore/string/Convert.h"

namespace zvkcore::serialization {
namespace {

string::UTF16String EscapeAboveASCII(string::UTF16View token)
{
    string::UTF16String escaped;
    for (const unsigned short unit : token) {
        if (unit < 0x80) {
            escaped.push_back(unit);
            continue;
        }
        char text[8];
        std::snprintf(text, sizeof text, "\\u%04X", unsigned{unit});
        escaped.append(string::AsciiToUTF16(text));
    }
    return escaped;
}

}  // namespace

boost::shared_ptr<boost::any> JSONParse(const string::UTF16String& text)
{
    const string::UTF8String utf8 = string::UTF16to8(text);
    boost::json::error_code fault;
    const boost::json::value value = boost::json::parse(string::View(utf8), fault);
    if (fault || !value.is_string()) return {};
    const boost::json::string& found = value.get_string();
    return boost::make_shared<boost::any>(
        string::UTF8String{string::Units(std::string_view{found.data(), found.size()})});
}

string::UTF16String GetJSONString(const boost::any& value, bool asciiOnly)
{
    string::UTF8String text = boost::any_cast<const string::UTF8String&>(value);
    string::SanitizeUTF8CharacterString(text);
    const std::string token = boost::json::serialize(boost::json::string_view(string::View(text)));
    const string::UTF16String token16 = string::UTF8to16(token);
    return asciiOnly ? EscapeAboveASCII(token16) : token16;
}

}  // namespace zvkcore::serialization
