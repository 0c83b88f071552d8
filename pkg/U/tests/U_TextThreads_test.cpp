#include <barrier>
#include <thread>

#include "TextSamples.h"
#include "U_SubString.h"

namespace {

// Threads that meet at a barrier, then classify, cut and convert at once: locales and converters are made at first
// use, by whoever comes first.
TEST(TextThreads, ShareLocalesAndKeepTheirOwnConverters)
{
    if (!HaveLegacyLocales()) GTEST_SKIP() << "the build has no legacy locales";
    constexpr int kThreads = 4;
    constexpr int kRounds = 200;
    std::barrier together{kThreads};
    std::atomic<int> right{0};
    const auto work = [&](const TextSample& sample) {
        together.arrive_and_wait();
        for (int round = 0; round < kRounds; ++round) {
            const auto script = static_cast<unsigned int>(round);
            bool fine = U_CharByteFromScript("A", 0, script) == 0;
            for (size_t at = 0; at < sample.text.size(); ++at) {
                const bool first = U_CharByteFromScript(sample.text.c_str(), static_cast<long>(at),
                                                        sample.encoding & 0xFFFF) <= 0;
                fine = fine && first == sample.IsStart(at);
            }
            // The four-byte form of the GB18030 sample has no conversion under its number, quietly.
            const U_UTF16String units =
                U_ConvertEncodedStringToUnicode(0, sample.encoding, sample.text.c_str());
            fine = fine && units.empty() == (sample.encoding == U_ENCODING_MAC_CHINESE_SIMPLIFIED);
            char text[64];
            fine = fine && U_SubString(text, sizeof text, "^L1/^F2", round, round / 2.0) == 0;
            right += fine;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(work, std::cref(kTextSamples[static_cast<size_t>(i) + 1]));
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, kThreads * kRounds);
}

}  // namespace
