#include <gtest/gtest.h>

#include <sys/wait.h>
#include <array>
#include <cstdio>

#include "Convert.h"

namespace {

using timecode::BadValue;
using timecode::Converter;
using timecode::RateOf;
using timecode::Unit;

TEST(Timecode, ConvertsThereAndBack)
{
    struct Row {
        const char *rate, *frames, *timecode, *ratio, *seconds;
    };
    for (const Row& row : {Row{"29.97", "1800", "00;01;00;02", "20000/333", "60.060060"},
                           Row{"29.97", "17982", "00;10;00;00", "600/1", "600.000000"},
                           Row{"59.94", "-3600", "-00;01;00;04", "-20000/333", "-60.060060"},
                           Row{"23.976", "24", "00:00:01:00", "1000/999", "1.001001"},
                           Row{"24", "2073599", "23:59:59:23", "2073599/24", "86399.958333"},
                           Row{"120", "7", "00:00:00:007", "7/120", "0.058333"}}) {
        const Converter converter(RateOf(row.rate), false);
        EXPECT_EQ(converter.Convert(row.frames, Unit::kFrames, Unit::kTimecode), row.timecode);
        EXPECT_EQ(converter.Convert(row.timecode, Unit::kTimecode, Unit::kRatio), row.ratio);
        EXPECT_EQ(converter.Convert(row.ratio, Unit::kRatio, Unit::kSeconds), row.seconds);
        EXPECT_EQ(converter.Convert(row.ratio, Unit::kRatio, Unit::kFrames), row.frames);
    }
    // Where 32 bits run out the library approximates; the tool stays on the right side of a frame's edge.
    const Converter drop(RateOf("29.97"), false);
    EXPECT_EQ(drop.Convert("1001.001", Unit::kSeconds, Unit::kFrames), "29999");
    EXPECT_EQ(drop.Convert("1001.001", Unit::kSeconds, Unit::kTimecode), "00;16;40;29");
    const Converter non_drop(RateOf("29.97"), true);
    EXPECT_EQ(non_drop.Convert("1800", Unit::kFrames, Unit::kTimecode), "00:01:00:00");
    EXPECT_EQ(non_drop.Convert("12.5", Unit::kSeconds, Unit::kRatio), "25/2");
}

TEST(Timecode, RefusesWithAWord)
{
    for (const char* rate : {"", "0", "-1", "1000", "29.98", "24x", "99999999999999999999"}) {
        EXPECT_THROW(RateOf(rate), BadValue) << rate;
    }
    const Converter converter(RateOf("29.97"), false);
    const std::pair<const char*, Unit> bad[] = {{"", Unit::kTimecode},
                                                {".-5", Unit::kSeconds},
                                                {"1:2:3", Unit::kTimecode},
                                                {"1:2:3:4:5", Unit::kTimecode},
                                                {"00:00:00:30", Unit::kTimecode},
                                                {"00:60:00:00", Unit::kTimecode},
                                                {"24:00:00:00", Unit::kTimecode},
                                                {"00;01;00;01", Unit::kTimecode},
                                                {"0:-1:0:0", Unit::kTimecode},
                                                {"--0:0:0:0", Unit::kTimecode},
                                                {"", Unit::kFrames},
                                                {"1.5", Unit::kFrames},
                                                {"2147483648", Unit::kFrames},
                                                {"2147483647", Unit::kFrames},
                                                {"1/0", Unit::kRatio},
                                                {"1/-2", Unit::kRatio},
                                                {"x/2", Unit::kRatio},
                                                {"1/2/3", Unit::kRatio},
                                                {"1e9", Unit::kSeconds},
                                                {".", Unit::kSeconds},
                                                {"0.1234567890", Unit::kSeconds},
                                                {"99999999999.5", Unit::kSeconds},
                                                {"-9223372036854775808", Unit::kRatio}};
    for (const auto& [value, unit] : bad)
        EXPECT_THROW(converter.Convert(value, unit, Unit::kRatio), BadValue) << value;
}

struct Outcome {
    int status;
    std::string output;
};

Outcome RunProgram(const std::string& arguments, const std::string& input = "")
{
    const std::string command = "printf '" + input + "' | " TIMECODE_PROGRAM " " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    std::string output;
    std::array<char, 4096> block;
    for (size_t size; (size = fread(block.data(), 1, block.size(), pipe)) > 0;)
        output.append(block.data(), size);
    return {WEXITSTATUS(pclose(pipe)), output};
}

TEST(Timecode, TheProgramReadsLists)
{
    const Outcome list = RunProgram("--rate 29.97", "1799\\n\\n# a remark\\n 1800 \\nx\\n");
    EXPECT_EQ(list.status, 1);
    EXPECT_NE(list.output.find("00;00;59;29\n00;01;00;02\n-\n"), std::string::npos) << list.output;
    EXPECT_NE(list.output.find("timecode: line 5: 'x' is no number of frames\n"), std::string::npos)
        << list.output;
    EXPECT_EQ(RunProgram("--from timecode --to seconds 00:00:01:12").output, "1.500000\n");
    EXPECT_EQ(RunProgram("--from ratio --rate 999 2147483647/1").status, 1);
    EXPECT_EQ(RunProgram("--rate 29.98").status, 2);
    EXPECT_EQ(RunProgram("--nonsense").status, 2);
    EXPECT_EQ(RunProgram("--help").status, 0);
}

}  // namespace
