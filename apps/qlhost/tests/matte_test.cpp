// The whole job end to end: a small clip is generated, its subject cut out through the real plug-in, frozen, saved,
// restored and served again; and what a user can get wrong.
#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/wait.h>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

struct Ended {
    int code;
    std::string said;  // on standard output and standard error
};

Ended Host(const std::string& arguments)
{
    const std::string command = std::string{QLHOST_PROGRAM} + " " + arguments + " 2>&1";
    std::FILE* pipe = popen(command.c_str(), "r");
    Ended ended{-1, ""};
    std::array<char, 4096> room;
    while (const std::size_t read = std::fread(room.data(), 1, room.size(), pipe))
        ended.said.append(room.data(), read);
    const int status = pclose(pipe);
    if (WIFEXITED(status)) ended.code = WEXITSTATUS(status);
    return ended;
}

class Matte : public testing::Test {
  protected:
    void SetUp() override
    {
        std::string pattern = (fs::temp_directory_path() / "qlhost-matte-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
        setenv("LSAN_OPTIONS", QLHOST_LEAKS, 1);
        const Ended made = Host("generate " + Clip() + " --frames 6 --width 320 --height 180");
        ASSERT_EQ(made.code, 0) << made.said;
    }
    void TearDown() override { fs::remove_all(m_folder); }

    std::string Clip() const { return (m_folder / "clip").string(); }
    std::string Out() const { return (m_folder / "out").string(); }
    Ended Cut(const std::string& more = "") const
    {
        return Host("matte " + Clip() + " --out " + Out() + " --rate 25 " + more);
    }
    std::string WriteStrokes(const std::string& text) const
    {
        std::ofstream{m_folder / "strokes.txt"} << text;
        return "--strokes " + (m_folder / "strokes.txt").string();
    }
    static void ExpectWords(const Ended& ended, std::initializer_list<const char*> words)
    {
        for (const char* word : words)
            EXPECT_NE(ended.said.find(word), std::string::npos) << word << " in\n" << ended.said;
    }

    fs::path m_folder;
};

TEST_F(Matte, CutsFreezesAndServesAgain)
{
    const Ended ended = Cut("--truth " + Clip() + "/truth --threads 3");
    EXPECT_EQ(ended.code, 0) << ended.said;
    ExpectWords(ended, {"1 manual frames cover 6 of 6 frames", "Rendered  6 frames on 3 threads",
                        "6 mattes compared", "Frozen    6 frames", "Served    6 frozen frames",
                        "6 of them bit for bit", "0 segments computed meanwhile"});
    for (const char* name : {"segments/segment_0000.png", "trimaps/trimap_0005.png", "mattes/matte_0003.png",
                             "composites/frame_0002.png", "contact.png", "mattes.csv", "spans.txt"})
        EXPECT_TRUE(fs::exists(fs::path{Out()} / name)) << name;

    std::ifstream table{fs::path{Out()} / "mattes.csv"};
    std::string line;
    std::getline(table, line);
    int rows = 0;
    for (; std::getline(table, line); ++rows)
        EXPECT_GE(std::stod(line.substr(line.rfind(',') + 1)), 0.9) << line;
    EXPECT_EQ(rows, 6);
}

TEST_F(Matte, GoesOnWhereItCan)
{
    // A frame that cannot be read is one problem, and so is each stroke and span that does not fit.
    std::ofstream{fs::path{Clip()} / "frame_0004.png"} << "no picture";
    const std::string strokes = WriteStrokes(
        "strokes 1\nframe 1 backward 9 forward 2\nforeground 12 104,70 104,105\n"
        "background 6 10,10 310,10\nforeground 2 9000,9000\n"
        "frame 5 backward 3 forward 1\nbackground 3 10,10\n"
        "frame 40 backward 1 forward 1\n");
    const Ended ended = Cut(strokes);
    EXPECT_EQ(ended.code, 1) << ended.said;
    ExpectWords(ended, {"frame 1: its span reaches past the clip and was cut to 2 backward, 2 forward",
                        "frame 1: a stroke from 9000,9000 lies outside of the frame",
                        "frame 5: it has no stroke on the subject", "frame 40: the clip has only 6 frames",
                        "frame_0004.png", "2 manual frames cover 6 of 6 frames", "5 of them bit for bit"});
}

TEST_F(Matte, EndsWithOneSentence)
{
    const Ended fault = Cut(WriteStrokes("strokes 1\nframe 0 backward 1 forward 1\nforegruond 3 1,1\n"));
    EXPECT_EQ(fault.code, 3);
    ExpectWords(fault, {"strokes.txt: line 3: 'foregruond' is none of"});
    EXPECT_EQ(Cut("--strokes " + (m_folder / "none").string()).code, 3);
    EXPECT_EQ(Host("matte " + (m_folder / "nowhere").string()).code, 3);

    fs::create_directory(m_folder / "empty");
    const std::string without = "--plugins " + (m_folder / "empty").string();
    const Ended missing = Cut(without);
    EXPECT_EQ(missing.code, 4);
    ExpectWords(missing, {"The Halo Brush plug-in is missing."});
    ExpectWords(
        Cut(without + " --dictionary " + fs::path{QLHOST_PROGRAM}.parent_path().string() + "/de.zdct"),
        {"Das Plug-in Halo Brush fehlt."});
}

}  // namespace
