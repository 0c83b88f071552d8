#include "U_String.h"

#include <atomic>

#include "Contend.h"
#include "TextSamples.h"
#include "U_SubString.h"

// newlocale of glibc 2.36 loses the list that it makes of LOCPATH, once each call.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:argz_add_sep";
}

namespace {

class CharByte : public EachSample {};
INSTANTIATE_SAMPLES(CharByte);

TEST_P(CharByte, TellsFirstMiddleAndLastBytes)
{
    const TextSample& sample = Sample();
    for (size_t at = 0; at < sample.text.size(); ++at) {
        const bool first = sample.IsStart(at);
        const bool last = sample.IsStart(at + 1);
        const int expected = first && last ? 0 : first ? -1 : last ? 1 : 2;
        const auto index = static_cast<long>(at);
        EXPECT_EQ(U_CharByte(sample.text.c_str(), index), expected) << at;
        EXPECT_EQ(U_CharByteFromScript(sample.text.c_str(), index, sample.encoding & 0xFFFF), expected) << at;
    }
    const auto size = static_cast<long>(sample.text.size());
    for (const long index : {-1L, size, size + 1, size + 1000}) {
        EXPECT_EQ(U_CharByte(sample.text.c_str(), index), 0) << index;
    }
}

TEST_P(CharByte, EndsAtTheFirstInvalidByteAndAtTheTerminator)
{
    // Each text, cut short after every byte, ends with its block: a sanitizer sees a byte too far.
    const TextSample& sample = Sample();
    for (size_t size = 0; size < sample.text.size(); ++size) {
        std::vector<char> text(sample.text.begin(), sample.text.begin() + static_cast<long>(size) + 1);
        text.back() = 0;
        for (size_t at = sample.CutAt(size); at <= size; ++at) {
            EXPECT_EQ(U_CharByte(text.data(), static_cast<long>(at)), 0) << size << " " << at;
        }
    }
    if (sample.encoding == U_ENCODING_WINDOWS_LATIN1) return;
    const std::string broken = "\xFF" + sample.text;
    for (size_t at = 0; at < broken.size(); ++at) {
        EXPECT_EQ(U_CharByte(broken.c_str(), static_cast<long>(at)), 0) << at;
    }
}

TEST(CharByteLocale, IsPutBackOnTheThread)
{
    if (!HaveLegacyLocales()) GTEST_SKIP() << "the build has no legacy locales";
    const locale_t mine = newlocale(LC_ALL_MASK, "C", locale_t{});
    const locale_t former = uselocale(mine);
    EXPECT_EQ(U_CharByteFromScript("\x95\x5C", 1, 1), 1);
    EXPECT_EQ(uselocale(former), mine);
    freelocale(mine);
}

TEST(CharByteLocale, FallsBackToThatOfTheProcess)
{
    const Up_CharLocale missing = Up_MakeCharLocale("xx_XX.no-such-locale");
    EXPECT_EQ(missing, LC_GLOBAL_LOCALE);
    // The process is in the locale "C", where no byte from 80 up is a character.
    EXPECT_EQ(Up_GetByteTypeUsingUnixMethods("A\x95\x5C", 1, missing), 0);
}

TEST(CharByteLocale, UnlistedScriptsHaveOnlySingleBytes)
{
    for (const unsigned int script : {0u, 2u, 4u, 24u, 26u, 255u, 257u, 0xFFFFu}) {
        EXPECT_EQ(U_CharByteFromScript("\x95\x5C", 0, script), 0) << script;
    }
}

// Locales and converters are made at first use, by whoever comes first.
TEST(TextThreads, ShareLocalesAndKeepTheirOwnConverters)
{
    if (!HaveLegacyLocales()) GTEST_SKIP() << "the build has no legacy locales";
    constexpr int kThreads = 4;
    constexpr int kRounds = 200;
    std::atomic<int> right{0};
    zvktest::Contend(kThreads, [&](int thread) {
        const TextSample& sample = kTextSamples[static_cast<size_t>(thread) + 1];
        const char* const text = sample.text.c_str();
        for (int round = 0; round < kRounds; ++round) {
            bool fine = U_CharByteFromScript("A", 0, static_cast<unsigned int>(round)) == 0;
            for (size_t at = 0; at < sample.text.size(); ++at) {
                const int byte = U_CharByteFromScript(text, static_cast<long>(at), sample.encoding & 0xFFFF);
                fine = fine && (byte <= 0) == sample.IsStart(at);
            }
            // The four-byte form of the GB18030 sample has no conversion under its number, quietly.
            const U_UTF16String units = U_ConvertEncodedStringToUnicode(0, sample.encoding, text);
            fine = fine && units.empty() == (sample.encoding == U_ENCODING_MAC_CHINESE_SIMPLIFIED);
            char line[64];
            fine = fine && U_SubString(line, sizeof line, "^L1/^F2", round, round / 2.0) == 0;
            right += fine;
        }
    });
    EXPECT_EQ(right, kThreads * kRounds);
}

}  // namespace
