// The scan of a plug-ins folder: its order, and everything in it that is no plug-in.
#include <sys/stat.h>
#include <unistd.h>

#include "PluginHost.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class PluginFolder : public PluginHost {
  protected:
    void SetUp() override
    {
        PluginHost::SetUp();
        m_folder = fs::path{testing::TempDir()} / ("plugins." + std::to_string(getpid()));
        fs::create_directories(m_folder / "inner");
    }
    void TearDown() override
    {
        PluginHost::TearDown();
        fs::remove_all(m_folder);
    }

    static std::string Reason(const fs::path& path)
    {
        MVFileSpec* file = nullptr;
        const char* reason = "is not listed";
        if (MVFindFile(nullptr, path.c_str(), &file) == 0 && file) MVGetFileReason(file, &reason);
        return reason;
    }

    fs::path m_folder;
};

TEST_F(PluginFolder, ListsByPathAndPassesOverTheRest)
{
    const fs::path nameless = fs::path{QL_PLUGINS_DIR} / "unruly/noentry.so";
    for (const char* name : {"b.so", "a.so", "inner/c.so", "no suffix", ".hidden.so"})
        fs::copy_file(nameless, m_folder / name);
    fs::create_symlink("a.so", m_folder / "z.so");
    fs::create_hard_link(m_folder / "a.so", m_folder / "y.so");
    fs::create_symlink(".", m_folder / "circle");
    fs::create_symlink("nowhere", m_folder / "dangling.so");
    fs::create_symlink("/proc/self/mem", m_folder / "unreadable.so");
    fs::create_symlink("/etc/hostname", m_folder / "words.txt");
    ASSERT_EQ(mkfifo((m_folder / "pipe.so").c_str(), 0600), 0);

    Begin(m_folder);
    ASSERT_EQ(MVAddPluginFolder(nullptr, m_folder.c_str()), 0);
    EXPECT_EQ(Names(), (Texts{"a", "b", "c", "no suffix"}));
    EXPECT_FALSE(InMemory(m_folder / "a.so"));
    EXPECT_EQ(Reason(m_folder / "a.so"), "");
    EXPECT_EQ(Reason(m_folder / "y.so"), "it is the same file as " + (m_folder / "a.so").native());
    EXPECT_EQ(Reason(m_folder / "z.so"), Reason(m_folder / "y.so"));
    EXPECT_EQ(Reason(m_folder / "words.txt"), "the file is no shared object");
    EXPECT_EQ(Reason(m_folder / "unreadable.so"), "the file is no shared object");
    EXPECT_EQ(Reason(m_folder / "dangling.so"), "the file cannot be read: No such file or directory");
    for (const char* name : {".hidden.so", "pipe.so", "circle/a.so"})
        EXPECT_EQ(Reason(m_folder / name), "is not listed") << name;
    EXPECT_EQ(Reports().size(), 1u);  // of the dangling link alone
    EXPECT_EQ(debugged.back(), (m_folder / "z.so").native() + ": " + Reason(m_folder / "z.so"));

    MVFileSpec* file = nullptr;
    ASSERT_EQ(MVAddFile(nullptr, (m_folder / ".dot").c_str(), &file), 0);
    ASSERT_EQ(MVAddPlugin(nullptr, file, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    ASSERT_EQ(MVAddPluginFolder(nullptr, m_folder.c_str()), 0);  // nothing is listed twice
    EXPECT_EQ(Names(), (Texts{".dot", "a", "b", "c", "no suffix"}));
    EXPECT_EQ(MVAddPluginFolder(nullptr, (m_folder / "absent").c_str()), MV_Err_PARAMETER);
    EXPECT_EQ(Reports().back().text, "QLTest warning: The plug-ins folder " + (m_folder / "absent").native() +
                                         " cannot be read: No such file or directory.");
}

}  // namespace
