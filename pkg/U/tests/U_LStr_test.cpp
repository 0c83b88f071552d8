#include "U_LStr.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "Contend.h"
#include "FailingAllocator.h"
#include "STR_Z.h"
#include "U_ZString.h"
#include "Up_LStr.h"

namespace {

/// A table of its own, so that every test starts with no texts, in a library of which only the messages live.
class LStr : public testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_EQ(Up_ZLStrBirth(), 0);
        ASSERT_EQ(U_ZLocaleBirth(), 0);
    }
    void TearDown() override
    {
        EXPECT_EQ(Up_ZLStrDeath(), 0);
        EXPECT_EQ(U_ZLocaleDeath(), 0);
    }

    const char* Look(int index, short english = 0)
    {
        return U_ZLookupLStrCache(m_table, index, english, nullptr);
    }

    static void SpeakGerman()
    {
        const std::u16string_view text = u"\uFEFF\"$$$/X/0=null\"\n\"$$$/X/1=eins\"";
        const std::vector<unsigned short> block(text.begin(), text.end());
        ASSERT_EQ(U_ZStringSetCurrentDictionary(block.data(), block.size() * 2), 0);
    }

    char m_final[6] = "final";
    U_ZLStrCacheEntry m_rows[4] = {U_LSTR_ROW("$$$/X/0=zero"),
                                   U_LSTR_ROW("$$$/X/1=one #{mdash}"),
                                   {nullptr, m_final, nullptr, U_LStrRow_FINAL_TEXT},
                                   U_LSTR_CLOSING_ROW};
    U_ZLStrCache m_header = U_LSTR_HEADER("X", m_rows);
    U_ZLStrCache_Opaque* m_table = reinterpret_cast<U_ZLStrCache_Opaque*>(&m_header);
};

TEST_F(LStr, ConvertsOnceALanguage)
{
    EXPECT_STREQ(Look(1), "one \u2014");
    EXPECT_EQ(m_rows[1].localized, nullptr);  // nobody has chosen a language yet
    EXPECT_EQ(m_rows[1].flags, unsigned{U_LStrRow_OWNS_ENGLISH});
    EXPECT_EQ(Look(1), m_rows[1].english);
    SpeakGerman();
    EXPECT_STREQ(Look(1), "eins");
    EXPECT_STREQ(Look(1, 1), "one \u2014");
    EXPECT_EQ(Look(1), m_rows[1].localized);
    EXPECT_EQ(m_header.flags, unsigned{U_LStrCache_HELD});
    ASSERT_EQ(Up_ZLStrBirth(), 0);  // a second birth takes no text away
    EXPECT_STREQ(Look(1), "eins");

    ASSERT_EQ(Up_ZLStrDeath(), 0);
    EXPECT_EQ(m_rows[1].localized, nullptr);
    EXPECT_EQ(m_rows[1].english, nullptr);
    EXPECT_STREQ(Look(1), "eins");  // still usable
    std::free(m_rows[1].localized);
    m_rows[1].localized = nullptr;
}

TEST_F(LStr, WhatIsNoRowIsAQuestionMark)
{
    int status = 9, length = 9;
    for (int index : {-1, 3, 0x7FFFFFFF}) {
        EXPECT_STREQ(U_ZLookupLStrCache(m_table, index, 0, &status), "[?]");
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(U_ZGetLengthLStrCache(nullptr, nullptr), 0);
    m_header.entries += 3;  // the closing row alone
    m_header.count = 1;
    EXPECT_EQ(U_ZGetLengthLStrCache(m_table, &length), 0);
    EXPECT_EQ(length, 0);
    EXPECT_STREQ(Look(0), "[?]");
}

TEST_F(LStr, AFinalTextIsCopiedOnceForBothLanguages)
{
    const char* const text = Look(2);
    EXPECT_STREQ(text, "final");
    EXPECT_NE(text, m_final);
    EXPECT_EQ(m_rows[2].localized, m_rows[2].english);
    SpeakGerman();
    EXPECT_EQ(Look(2), text);
    m_rows[2].english = nullptr;
    EXPECT_EQ(Look(2, 1), text);  // never replaced under those who hold it
}

TEST_F(LStr, ARegisteredTableIsAPrivateCopy)
{
    Look(0);
    U_ZLStrCache_Opaque* ref = m_table;
    ASSERT_EQ(U_ZRegisterLStrCache(&ref), 0);
    const auto* const copy = reinterpret_cast<U_ZLStrCache*>(ref);
    ASSERT_NE(copy, &m_header);
    EXPECT_STREQ(copy->name, "X");
    EXPECT_EQ(copy->entries[0].english, nullptr);
    EXPECT_STREQ(copy->entries[2].localized, "final");
    EXPECT_EQ(m_rows[0].english, nullptr);  // the former table has let go of its texts
    EXPECT_EQ(m_header.flags, 0u);

    m_rows[0].key = nullptr;  // the copy needs the former table no more
    EXPECT_STREQ(U_ZLookupLStrCache(ref, 0, 0, nullptr), "zero");
    EXPECT_STREQ(U_ZLookupLStrCache(ref, 2, 1, nullptr), "final");
    EXPECT_EQ(copy->flags, unsigned{U_LStrCache_PRIVATE_COPY});  // not held: its owner frees it

    EXPECT_EQ(U_ZUnregisterLStrCache(&m_table), U_Err_BAD_PARAMETER);
    EXPECT_EQ(U_ZUnregisterLStrCache(&ref), 0);
    EXPECT_EQ(ref, nullptr);
    EXPECT_EQ(U_ZRegisterLStrCache(nullptr), 0);
    EXPECT_EQ(U_ZUnregisterLStrCache(nullptr), 0);
    m_header.entries = nullptr;  // the former table may be gone: death, which ends on damage, skips it
}

TEST_F(LStr, ADeepCopyHasTheTextsToo)
{
    Look(0);
    U_ZLStrCache* copy = Up_ZCacheDeepCopy(&m_header, true);
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy->entries[0].english, "zero");
    EXPECT_NE(copy->entries[0].english, m_rows[0].english);
    copy->flags |= U_LStrCache_PRIVATE_COPY;
    auto* ref = reinterpret_cast<U_ZLStrCache_Opaque*>(copy);
    EXPECT_EQ(U_ZUnregisterLStrCache(&ref), 0);
    EXPECT_EQ(Up_ZCacheDeepCopy(nullptr, true), nullptr);
}

TEST_F(LStr, EveryFailedAllocationLeavesARowToTryAgain)
{
    bool untouched = true;
    qltest::EveryAllocationFails([&] {
        U_ZLStrCache_Opaque* ref = m_table;
        if (U_ZRegisterLStrCache(&ref) != 0) {
            untouched &= ref == m_table;
            return false;
        }
        bool good = true;
        for (int index = 0; index < 3; ++index) {
            good &= std::strcmp(U_ZLookupLStrCache(ref, index, 1, nullptr), "[?]") != 0;
        }
        return U_ZUnregisterLStrCache(&ref) == 0 && good;
    });
    EXPECT_TRUE(untouched);
}

TEST_F(LStr, ADamagedTableEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    m_header.flags = U_LStrCache_HELD | U_LStrCache_PRIVATE_COPY;
    EXPECT_DEATH(Look(0), "");
    m_header.flags = 0;
    m_rows[3].flags = 1;
    EXPECT_DEATH(Look(0), "");
    EXPECT_DEATH(U_ZLookupLStrCache(nullptr, 0, 0, nullptr), "");
    m_rows[3].flags = 0;
}

TEST_F(LStr, ObjectsAndCallbacksLookUpAsTheFunctionsDo)
{
    {
        STR_ZLinkedCacheMinder minder(m_table);
        STR_ZLinkedCachePlugin plugin(m_table);
        for (STR_IZCache* cache : std::initializer_list<STR_IZCache*>{&minder, &plugin}) {
            EXPECT_EQ(cache->LStrCount(), 3);
            EXPECT_STREQ(cache->LStrLookup(0, true), "zero");
        }
        STR_ZLinkedCacheMinder none(nullptr);
        EXPECT_THROW(none.LStrCount(), int);
        EXPECT_THROW(none.LStrLookup(0, false), int);
    }
    int length = 0;
    ASSERT_EQ(STR_ZRegisterLStrCacheCB(&m_table), 0);
    EXPECT_STREQ(STR_ZLookupLStrCacheCB(m_table, 0, 0, nullptr), "zero");
    EXPECT_EQ(STR_ZGetLengthLStrCache(m_table, &length), 0);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(STR_ZUnregisterLStrCache(&m_table), 0);
    EXPECT_EQ(STR_ZDump(&length), &length);
}

TEST_F(LStr, LookupsOfOneRowRace)
{
    constexpr int kThreads = 4;
    SpeakGerman();
    for (int round = 0; round < 50; ++round) {
        const char* seen[kThreads][3];
        zvktest::Contend(kThreads, [&](int thread) {
            for (int index = 0; index < 3; ++index) {
                seen[thread][index] = Look(index, static_cast<short>(index == 2 ? thread % 2 : 0));
            }
        });
        EXPECT_STREQ(seen[0][1], "eins");
        for (const auto& texts : seen) {  // all hold the one text that was kept
            EXPECT_EQ(texts[0], seen[0][0]);
            EXPECT_EQ(texts[1], seen[0][1]);
        }
        EXPECT_EQ(m_header.flags, unsigned{U_LStrCache_HELD});
        // A new round starts with no texts.
        ASSERT_EQ(Up_ZLStrDeath(), 0);
        ASSERT_EQ(Up_ZLStrBirth(), 0);
        m_header.flags = 0;
        m_rows[2] = {nullptr, m_final, nullptr, U_LStrRow_FINAL_TEXT};
    }
}

}  // namespace
