#include <gtest/gtest.h>

#include <boost/date_time/posix_time/conversion.hpp>

#include "FakePlugin.h"

namespace {

using namespace smstest;
using M = SpanManager;

class SpanText : public testing::Test {
  protected:
    M Read(std::string_view text)
    {
        return {Guid(), false, U_UTF8String{zvkcore::string::Units(text)}, {1, 25}};
    }
    static std::string Written(const M& manager)
    {
        return std::string(zvkcore::string::View(manager.SerializeToXMLSnippet()));
    }

    FakePlugin plugin;
    Assertions assertions;
};

// Text written by hand is read and written again as it stands: "AAE=" and "AAEC" are the bytes 0 1 and 0 1 2.
constexpr char kFull[] =
    "3,Fake,2,-7,3,5,40,0,4294967295,1,64,48,1001,30000,1700000000,2,8,AAE=,9,AAEC,1,8,AAE=,";

constexpr char kNoSpan[] = "3,Fake,0,0,0,0,1,25,2077252342,0,0,";
constexpr char kOneSpan[] = "3,Fake,1,10,3,5,0,0,0,1,25,2077252342,0,0,";

TEST_F(SpanText, ComesBackAsItWasWritten)
{
    M empty{Guid(), true, "Fake\0 more"_utf8, {2, 50}};
    EXPECT_EQ(Written(empty), kNoSpan);
    empty.GetFrozenData()->freezingDateTime = boost::posix_time::ptime(boost::posix_time::neg_infin);
    EXPECT_EQ(Written(empty), "3,Fake,0,0,0,0,1,25,-2077252342,0,0,");

    const M manager = Read(kFull);
    EXPECT_EQ(Written(manager), kFull);
    EXPECT_EQ(manager.GetSpanInfo(), (std::vector<M::SpanInfo>{{-7, 5, 3}, {40, 4294967295u, 0}}));
    EXPECT_EQ(manager.GetRenderingMode(), M::RenderingMode_Frozen);
    EXPECT_EQ(manager.GetFrameDuration(), boost::rational<int>(1001, 30000));
    const FrozenResultCache& frozen = *manager.GetFrozenData();
    EXPECT_EQ(frozen.width, 64);
    EXPECT_EQ(frozen.height, 48);
    EXPECT_EQ(*frozen.frozenSegmentation.at(9), "\0\1\2"_utf8);
    EXPECT_TRUE(frozen.freezingDateTime == boost::posix_time::from_time_t(1700000000));
    EXPECT_EQ(manager.GetTextFault(), M::TextFault_None);
    EXPECT_EQ(assertions.heard, Log());
}

TEST_F(SpanText, OfAnyKindKeepsWhatCouldBeRead)
{
    struct Row {
        const char* name;
        const char* text;
        const char* again;  // what is written after it was read
        M::TextFault fault;
        std::size_t assertions;
    };
    using enum M::TextFault;
    const Row rows[] = {
        {"Version1HasSpansOnly", "1,Fake,1,10,3,5,", kOneSpan, TextFault_None, 0},
        {"NegativeVersionToo", "-2,Fake,1,10,3,5,1,7,", kOneSpan, TextFault_None, 0},
        {"Version2HasNoTrimaps", "2,Fake,0,2,4,3,1,30,9,1,8,AAE=,1,8,AAE=,",
         "3,Fake,0,2,4,3,1,30,9,1,8,AAE=,0,", TextFault_None, 0},
        {"NewerIsReadAsVersion3", "7,Fake,0,0,0,0,1,30,9,0,1,8,AAE=,and,more,",
         "3,Fake,0,0,0,0,1,30,9,0,1,8,AAE=,", TextFault_None, 0},
        {"WrongSeparatorsGoOn", "3,Fake,1;10,3,5,0,0 0,1,30,9,0,0,", "3,Fake,1,10,3,5,0,0,0,1,30,9,0,0,",
         TextFault_Separator, 2},
        {"NoLastSeparator", "1,Fake,1,10,3,5", kOneSpan, TextFault_Truncated, 1},
        {"NoText", "", "3,,0,0,0,0,1,25,2077252342,0,0,", TextFault_Truncated, 1},
        {"NameWithAComma", "3,Fa,ke,0,0,0,0,1,30,9,0,0,", "3,Fa,0,0,0,0,1,25,2077252342,0,0,",
         TextFault_Number, 1},
        {"HugeCount", "3,Fake,18446744073709551615,10,3,5,", kOneSpan, TextFault_Truncated, 1},
        {"CountBeyondNumbers", "3,Fake,18446744073709551616,10,3,5,", kNoSpan, TextFault_Number, 1},
        {"NegativeCount", "3,Fake,-1,10,3,5,", kNoSpan, TextFault_Number, 1},
        {"FrameTwice", "1,Fake,2,10,3,5,10,1,1,", kOneSpan, TextFault_None, 0},
        {"BlanksAndPlus", "1,Fake,1, \n+10,\t3,+5,", kOneSpan, TextFault_None, 0},
        {"TwoSigns", "1,Fake,1,+-10,3,5,", kNoSpan, TextFault_Number, 1},
        {"FrameBeyondNumbers", "1,Fake,1,2147483648,3,5,", kNoSpan, TextFault_Number, 1},
        {"NegativeDuration", "3,Fake,2,10,3,5,20,-1,5,", kOneSpan, TextFault_Number, 1},
        {"ModeThatIsNone", "3,Fake,0,3,0,0,1,30,9,0,0,", "3,Fake,0,0,0,0,1,30,9,0,0,", TextFault_Value, 1},
        {"NegativeSize", "3,Fake,0,0,-1,5,1,30,9,0,0,", "3,Fake,0,0,0,0,1,30,9,0,0,", TextFault_Value, 1},
        {"Fraction", "3,Fake,0,0,0,0,-1001,-30030,9,0,0,", "3,Fake,0,0,0,0,1,30,9,0,0,", TextFault_None, 0},
        {"LargeFraction", "3,Fake,0,0,0,0,-2147483648,-1,9,0,0,", "3,Fake,0,0,0,0,1,25,9,0,0,",
         TextFault_Value, 1},
        {"BytesThatAreNone", "3,Fake,0,0,0,0,1,30,9,2,8,A,9,AAE=,0,", "3,Fake,0,0,0,0,1,30,9,1,9,AAE=,0,",
         TextFault_Value, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        assertions.heard.clear();
        const M manager = Read(row.text);
        EXPECT_EQ(manager.GetTextFault(), row.fault);
        EXPECT_EQ(assertions.heard.size(), row.assertions);
        EXPECT_EQ(Written(manager), row.again);
    }
    assertions.heard.clear();
    Read("1;Fake,0,");
    EXPECT_EQ(assertions.heard, Log{"delim == kValueSeparator|"});
}

TEST_F(SpanText, CutAnywhereIsRead)
{
    const std::string_view full{kFull};
    for (std::size_t size = 0; size < full.size(); ++size) {
        SCOPED_TRACE(size);
        const M manager = Read(full.substr(0, size));
        EXPECT_EQ(manager.GetTextFault(), M::TextFault_Truncated);
        EXPECT_LE(manager.GetSpans().size(), 2u);
        EXPECT_EQ(manager.GetSpans().contains(-7), size >= std::string_view("3,Fake,2,-7,3,5").size());
    }
}

TEST_F(SpanText, ThrowsWhatNoManagerCanBeMadeOf)
{
    try {
        Read("3,Fake,0,0,0,0,1,0,9,0,0,");
        FAIL();
    } catch (const boost::bad_rational& error) {
        EXPECT_STREQ(error.what(), "bad rational: zero denominator");
    }
    EXPECT_ANY_THROW(Read("1,Nobody,1,10,3,5,"));
    EXPECT_NO_THROW(Read("1,Nobody,0,"));
}

}  // namespace
