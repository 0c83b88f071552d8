#include "zvkcore/utility/BinaryText.h"

#include <gtest/gtest.h>

#include <numeric>
#include <utility>

namespace zvkcore::utility {
namespace {

using string::UTF8String;

// The texts of RFC 4648, section 10.
constexpr std::pair<const char*, const char*> kTexts[] = {
    {"", ""},
    {"f", "Zg=="},
    {"fo", "Zm8="},
    {"foo", "Zm9v"},
    {"foob", "Zm9vYg=="},
    {"fooba", "Zm9vYmE="},
    {"foobar", "Zm9vYmFy"},
    {"\xFB\xFF\xFE", "+//+"},
};

TEST(BinaryText, EncodesAndDecodes)
{
    UTF8String back;
    for (const auto& [bytes, text] : kTexts) {
        const UTF8String plain(string::Units(std::string_view(bytes)));
        EXPECT_EQ(string::View(EncodeBinaryDataToUTF8String(plain)), text);
        ASSERT_TRUE(DecodeBinaryDataFromUTF8String(string::Units(std::string_view(text)), back)) << text;
        EXPECT_EQ(back, plain);
    }
    UTF8String every(256 * 3 + 1, 0);
    std::iota(every.begin(), every.end(), std::uint8_t{0});
    UTF8String text = EncodeBinaryDataToUTF8String(every);
    EXPECT_TRUE(DecodeBinaryDataFromUTF8String(text, text));  // in place
    EXPECT_EQ(text, every);
}

TEST(BinaryText, RefusesOtherText)
{
    for (const char* text : {"Z", "Zg", "Zg=", "=g==", "Zg==Zg==", "Z===", "====", "Zh==", "Zm9=", "Zm,v",
                             "Zm v", "Zg=v", "Zm9vZm9\xC3", "Zm9v\n"}) {
        UTF8String back(3, 'x');
        EXPECT_FALSE(DecodeBinaryDataFromUTF8String(string::Units(std::string_view(text)), back)) << text;
        EXPECT_TRUE(back.empty());
    }
    UTF8String back;
    EXPECT_FALSE(DecodeBinaryDataFromUTF8String(string::Units(std::string_view("AA\0A", 4)), back));
}

}  // namespace
}  // namespace zvkcore::utility
