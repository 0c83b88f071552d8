// Both forms through the writers and back, and the program's exit codes.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Entries.h"
#include "zlex.h"
#include "zvkcore/string/UTFString.h"

namespace {

using namespace zvkcore::string::literals;
using zdict::Content;
using zvkcore::string::UTF16String;

Content Sample()
{
    Content content;
    content.name = "Süß";
    content.entries = {
        {"/plain", u"Bild @0"_u16, {}},
        {"/escapes", u"\"a\\b^n\\n\"^\n\r\t\b\u0001\u007F"_u16, u"Strg+B"_u16},
        {"/entities", u"#{endl} # #{ {#} #{0023}"_u16, {}},
        {"/empty", {}, {}},
        {"/astral", u"\U0001F3AC \u2014"_u16, u"^"_u16},
        {std::string("/k\xE9y\\ $$$\x01\0z", 13), u"key of bytes"_u16, {}},
    };
    // Halves of pairs, which no UTF-8 can hold.
    content.entries.push_back({"/halves", UTF16String{0xDC00, 0xD800, 'x', 0xD800}, {}});
    return content;
}

void ExpectSame(const Content& read, const Content& expected)
{
    EXPECT_TRUE(read.warnings.empty());
    ASSERT_EQ(read.entries.size(), expected.entries.size());
    for (size_t at = 0; at < expected.entries.size(); ++at) {
        SCOPED_TRACE(expected.entries[at].key);
        EXPECT_EQ(read.entries[at].key, expected.entries[at].key);
        EXPECT_EQ(read.entries[at].text, expected.entries[at].text);
        EXPECT_EQ(read.entries[at].accelerator, expected.entries[at].accelerator);
    }
}

TEST(Forms, ReadBackTheSame)
{
    const Content sample = Sample();
    for (bool swapped : {false, true}) {
        const Content read = zdict::ReadContent(zdict::WriteStored(sample, swapped));
        ExpectSame(read, sample);
        EXPECT_EQ(read.name, sample.name);
        ExpectSame(zdict::ReadContent(zdict::WriteText(read)), sample);
    }
}

TEST(Forms, AreReadAlikeByTheLibrary)
{
    const Content sample = Sample();
    const std::string forms[] = {zdict::WriteText(sample), zdict::WriteStored(sample, false),
                                 zdict::WriteStored(sample, true)};
    for (const std::string& form : forms) {
        zlex::Dictionary dictionary;
        ASSERT_TRUE(dictionary.Read(form.data(), static_cast<int>(form.size()), false));
        for (const zdict::Entry& entry : sample.entries) {
            if (entry.key.find('\0') != std::string::npos) continue;
            EXPECT_EQ(dictionary.Lookup(("$$$" + entry.key + "=x").c_str(), nullptr).Take(), entry.text);
        }
    }
}

TEST(Forms, TellWhatIsWrong)
{
    const auto complaint = [](auto&& action) -> std::string {
        try {
            action();
        } catch (const zdict::BadDictionary& bad) {
            return bad.what();
        }
        return "";
    };
    EXPECT_NE(complaint([] { zdict::ReadContent("remark\n\"$$/k=v\"\n"); }).find("line 2"),
              std::string::npos);
    EXPECT_NE(complaint([] { zdict::ReadContent("\"$$$/key\""); }).find("line 1"), std::string::npos);
    EXPECT_NE(complaint([] { zdict::ReadContent("\"$$$=v\""); }).find("empty"), std::string::npos);
    EXPECT_NE(complaint([] { zdict::ReadContent("\xFF\xFF\"/k=v\""); }).find("UTF-8"), std::string::npos);
    EXPECT_NE(complaint([] { zdict::ReadContent("ZString Binary Format\x02\x01"); }).find("damaged"),
              std::string::npos);
    EXPECT_NE(complaint([] {
                  zdict::WriteText({"", {{"/a=b", {}, {}}}, {}});
              }).find("/a=b"),
              std::string::npos);
    EXPECT_NE(complaint([] {
                  zdict::WriteStored({"", {{"/long", UTF16String(32768, 'x'), {}}}, {}}, false);
              }).find("65536"),
              std::string::npos);

    const Content twice = zdict::ReadContent("\"/k=1\"\n\"/l=2\"\n\"/k=3\"\n$$$/m=4");
    ASSERT_EQ(twice.entries.size(), 2u);
    EXPECT_EQ(twice.entries[0].text, u"3"_u16);
    EXPECT_EQ(twice.warnings.size(), 2u);
}

class Program : public testing::Test {
  protected:
    void SetUp() override
    {
        std::string pattern = std::filesystem::temp_directory_path() / "zdict_XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    void Write(const char* name, const std::string& text) { std::ofstream(m_folder / name) << text; }

    /// Runs the program in the folder; its output goes to `out`.
    int Run(const std::string& arguments, std::string* out = nullptr)
    {
        const std::string command =
            "cd " + m_folder.string() + " && '" ZDICT_PROGRAM "' " + arguments + " >out 2>err";
        const int status = std::system(command.c_str());
        if (out) {
            std::ifstream file(m_folder / "out");
            out->assign(std::istreambuf_iterator<char>(file), {});
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::filesystem::path m_folder;
};

TEST_F(Program, CompilesDumpsAndLooksUp)
{
    Write("de.txt", "remark\n\"$$$/a=eins ^C\"\n\"/b=zwei\"\n");
    std::string out;
    EXPECT_EQ(Run("compile de.txt -o de.zdict --swapped --name de"), 0);
    EXPECT_EQ(Run("dump de.zdict", &out), 0);
    EXPECT_EQ(out, "\"$$$/a=eins ©\"\n\"$$$/b=zwei\"\n");
    EXPECT_EQ(Run("lookup de.zdict '$$$/a=one'", &out), 0);
    EXPECT_EQ(out, "eins ©\n");
    EXPECT_EQ(Run("lookup de.txt /c", &out), 1);
    EXPECT_EQ(out, "");
}

TEST_F(Program, FailsByExitCode)
{
    Write("bad.txt", "\"$/a=b\"\n");
    EXPECT_EQ(Run("--help"), 0);
    EXPECT_EQ(Run(""), 2);
    EXPECT_EQ(Run("compile bad.txt"), 2);
    EXPECT_EQ(Run("dump missing"), 3);
    EXPECT_EQ(Run("dump ."), 3);
    EXPECT_EQ(Run("compile bad.txt -o x"), 4);
    EXPECT_EQ(Run("lookup bad.txt /a"), 4);
    Write("good.txt", "\"/a=b\"\n");
    EXPECT_EQ(Run("compile good.txt -o missing/x"), 3);
}

}  // namespace
