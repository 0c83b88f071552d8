#include "Up_ErrText.h"

#include <cstring>

#include "QLTest.h"
#include "Up_Err.h"

namespace {

class ErrText : public qltest::Library {
  protected:
    static std::string After(const char* buffer, char* (*translate)(int), int error)
    {
        std::strcpy(Up_GetThreadLoggingBuffer(), buffer);
        return translate(error);
    }
};

TEST_F(ErrText, TheTableIsNumberedAndItsRowsAreFound)
{
    for (int row = 0; row < 119; ++row) {
        char start[64];
        std::snprintf(start, sizeof start, "$$$/QL/UOverride/LStr/%04d=", row);
        EXPECT_TRUE(std::string_view(UOverride_G_ztab[row].key).starts_with(start)) << row;
    }
    EXPECT_STREQ(Up_String(0), "");
    EXPECT_STREQ(Up_String(7), "not enough memory to create %s.\r(%dK requested, %dK available)");
    EXPECT_STREQ(Up_String(118), "Path name too long");
    for (long row : {-1L, 119L, 1L << 32}) EXPECT_STREQ(Up_String(row), "[?]");
}

TEST_F(ErrText, LibraryErrors)
{
    EXPECT_EQ(After("Failed.", Up_TolmEnglishError, 3), "Failed — a bad parameter was passed.");
    EXPECT_EQ(After("", Up_TolmEnglishError, 0), "no error occurred.");
    EXPECT_EQ(After("", Up_TolmEnglishError, 4), "Out of memory..");  // the row brings its own full stop
    EXPECT_EQ(After("Failed.", Up_TolmEnglishError, 13), "Failed (d).");
    EXPECT_EQ(After("Failed", Up_TolmEnglishError, -1), "Failed (ffffffff).");
}

TEST_F(ErrText, SystemErrors)
{
    EXPECT_EQ(After("Open.", Up_SysEnglishError, -2110), "Open — Path name too long (-2110).");
    EXPECT_EQ(After("Open.", Up_SysEnglishError, -1), "Open (-1).");
    // Both ends of each range, and a number inside that has a row of its own.
    const struct {
        int number, row;
    } kRows[] = {{-2000, 90},  {-2058, 90},  {-2030, 90},  {-2028, 80},  {-2059, 0},   {-1999, 0},
                 {-2800, 91},  {-2899, 91},  {-2801, 83},  {-8960, 101}, {-8976, 101}, {-8961, 95},
                 {-9400, 102}, {-9408, 102}, {-9994, 103}, {-9999, 103}, {-10000, 0},  {-43, 23}};
    for (const auto& row : kRows) {
        const std::string text = row.row == 0 ? "" : std::string(" — ") + Up_String(row.row);
        EXPECT_EQ(After("", Up_SysEnglishError, row.number), text + " (" + std::to_string(row.number) + ").");
    }
}

TEST_F(ErrText, ALongBufferIsCutOnACharacter)
{
    std::string full;
    while (full.size() + 3 < Up_kLoggingBufferSize) full += "—";
    const std::string cut = After(full.c_str(), Up_SysEnglishError, -43);
    EXPECT_TRUE(cut == full || cut == full + " ") << cut.substr(full.size());
}

TEST_F(ErrText, ADictionaryCannotMakeAFormatOfItsOwn)
{
    char text[32];
    Up_FormatRow(text, sizeof text, "%s|%d|%s", {"a", -5, static_cast<const char*>(nullptr)});
    EXPECT_STREQ(text, "a|-5|");
    Up_FormatRow(text, sizeof text, "%d %n %99999s %x %% %s %s %", {"a"});
    EXPECT_STREQ(text, "%d %n %99999s %x %% a %s %");
    Up_FormatRow(text, 4, "%s", {"abcdef"});
    EXPECT_STREQ(text, "abc");
}

}  // namespace
