/// A text in each kind of encoding, with the places where its characters begin, and the way to the locales.
#ifndef U_TEXTSAMPLES_H
#define U_TEXTSAMPLES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "U_String.h"
#include "Up_CharClass.h"

struct TextSample {
    const char* name;
    unsigned int encoding;
    std::string text;
    std::vector<size_t> starts;  // of the characters; the end of the text is one more boundary

    bool IsStart(size_t at) const { return CutAt(at) == at; }
    size_t CutAt(size_t limit) const
    {
        if (limit >= text.size()) return text.size();
        return *std::prev(std::upper_bound(starts.begin(), starts.end(), limit));
    }
};

// In Shift-JIS the second byte of 95 5C is a backslash, and B1 is a character of one byte; 81 41 of CP949
// ends in a capital letter; GB18030 has characters of four bytes, with digits in them.
inline const std::vector<TextSample> kTextSamples = {
    {"ShiftJIS", U_ENCODING_MAC_JAPANESE, "A\x95\x5C\x42\xB1\x5C\x83\x5C", {0, 1, 3, 4, 5, 6}},
    {"CP949", U_ENCODING_MAC_KOREAN, "a\x81\x41\x41\xB0\xA1z", {0, 1, 3, 4, 6}},
    {"GB18030", U_ENCODING_MAC_CHINESE_SIMPLIFIED, "x\x81\x30\x81\x30\x30\xB0\xA1y", {0, 1, 5, 6, 8}},
    {"Latin", U_ENCODING_WINDOWS_LATIN1, "caf\xE9!", {0, 1, 2, 3, 4}},
    {"UTF8", U_ENCODING_UTF8, "a\u00E9b\u3042\U0001F600z", {0, 1, 3, 4, 7, 11}},
};

// Runs `body` while the environment names the locales of the build. Only before other threads start.
template <class Body>
void WithBuildLocales(const Body& body)
{
    setenv("LOCPATH", QL_LOCALE_DIR, 1);
    body();
    unsetenv("LOCPATH");
}

// Loads the legacy locales of the build into the classifier, once. False when the build could not make them.
inline bool HaveLegacyLocales()
{
    static const bool have = [] {
        Up_LocaleForScript(256);
        WithBuildLocales([] {
            for (const unsigned int script : {0u, 1u, 3u, 25u}) Up_LocaleForScript(script);
        });
        return Up_LocaleForScript(1) != LC_GLOBAL_LOCALE;
    }();
    return have;
}

// Sets the application text encoding for a scope.
class ScEncoding {
  public:
    explicit ScEncoding(unsigned int encoding) : m_former{U_SetApplicationTextEncoding(encoding)} {}
    ~ScEncoding() { U_SetApplicationTextEncoding(m_former); }
    ScEncoding(const ScEncoding&) = delete;
    ScEncoding& operator=(const ScEncoding&) = delete;

  private:
    unsigned int m_former;
};

// The name of a test's row.
inline const auto kRowName = [](const auto& row) { return std::string(row.param.name); };

// Runs a test for each sample, under its encoding.
class EachSample : public testing::TestWithParam<TextSample> {
  protected:
    void SetUp() override
    {
        if (!HaveLegacyLocales()) GTEST_SKIP() << "the build has no legacy locales";
    }
    const TextSample& Sample() const { return GetParam(); }

  private:
    ScEncoding m_encoding{GetParam().encoding};
};
#define INSTANTIATE_SAMPLES(suite) \
    INSTANTIATE_TEST_SUITE_P(Encodings, suite, testing::ValuesIn(kTextSamples), kRowName)

#endif
