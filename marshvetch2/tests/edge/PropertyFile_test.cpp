// Property lists of files that lie: every count, offset and length that a reader might trust.
#include <elf.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "FailingAllocator.h"
#include "MVPropertySection.h"
#include "MVp_Edge.h"
#include "MVp_PropertySection.h"
#include "QLTest.h"
#include "U_TrySection.h"

namespace {

using namespace std::string_literals;

std::string Word(uint32_t value)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}
std::string Head(uint32_t count, uint32_t version = 1)
{
    return "MVPL" + Word(version) + Word(count);
}
std::string Property(const std::string& codes, uint32_t id, uint32_t length, const std::string& padded)
{
    return codes + Word(id) + Word(length) + padded;
}

struct Parsed {
    const char* reason = nullptr;
    MVPropertyList* list = nullptr;

    // From a block of exactly that size, so that a sanitizer sees each byte too far.
    explicit Parsed(const std::string& section)
    {
        const std::unique_ptr<unsigned char[]> exact{new unsigned char[section.size()]};
        std::memcpy(exact.get(), section.data(), section.size());
        EXPECT_EQ(MVAllocatePropertyList(&list), 0);
        reason = mvReadPropertySection({exact.get(), section.size()}, list);
    }
    ~Parsed() { MVFreePropertyList(list); }
};

const std::string kTwo =
    Head(2) + Property("CRVNname", 0, 5, "Blur\0\0\0\0"s) + Property("abcdStsP", ~0u, 0, "");

// What is wrong with a section, in a part of the words; null for nothing.
const struct {
    std::string section;
    const char* reason;
} kSections[] = {
    {Head(0), nullptr},
    {Head(0) + "\0\0\0\0\0"s, nullptr},
    {kTwo + "\0x"s, "behind"},
    {"LPVM" + kTwo.substr(4), "begin"},
    {Head(0, 2), "version"},
    {Head(3) + kTwo.substr(12), "inside a property"},
    {Head(1025) + kTwo.substr(12), "more than 1024"},
    {Head(1) + kTwo.substr(12), "behind"},
    {Head(1) + Property("CRVNname", 0, 9, "Blur\0\0\0\0"s), "longer"},
    {Head(1) + Property("CRVNname", 0, ~0u, "Blur"), "longer"},
    {Head(1) + Property("CRVNname", 0, 5, "Blur\0x\0\0"s), "padding"},
    {Head(2) + Property("CRVNabcd", 1, 0, "") + Property("CRVNabcd", 1, 0, ""), "twice"},
};

using PropertySection = qltest::Library;

TEST_F(PropertySection, SaysWhatIsWrong)
{
    for (const auto& row : kSections) {
        SCOPED_TRACE(&row - kSections);
        const Parsed parsed{row.section};
        ASSERT_EQ(parsed.reason != nullptr, row.reason != nullptr);
        EXPECT_TRUE(!row.reason || std::string_view{parsed.reason}.find(row.reason) != std::string::npos);
    }
    for (size_t size = 0; size < kTwo.size(); ++size)
        EXPECT_NE(Parsed{kTwo.substr(0, size)}.reason, nullptr) << size;
}

TEST_F(PropertySection, IsTakenAsItStands)
{
    const Parsed parsed{kTwo};
    ASSERT_EQ(parsed.reason, nullptr);
    const MVProperty *name = nullptr, *stays = nullptr;
    MVFindProperty(parsed.list, MV_VENDOR, MV_CODE('n', 'a', 'm', 'e'), 0, &name);
    MVFindProperty(parsed.list, MV_CODE('a', 'b', 'c', 'd'), MV_Key_STAYS, -1, &stays);
    ASSERT_TRUE(name && stays);
    EXPECT_EQ(std::string(static_cast<const char*>(name->data), name->size), "Blur\0"s);
    EXPECT_EQ(stays->size, 0u);
    ASSERT_EQ(MVNextProperty(parsed.list, name, &name), 0);
    EXPECT_EQ(name, stays);
    EXPECT_EQ(MVAddProperty(parsed.list, 1, 3, 0, nullptr, 4), MV_Err_PARAMETER);
}

// A real plug-in, spoiled in a copy.
class PropertyFile : public qltest::Library {
  protected:
    void SetUp() override
    {
        Library::SetUp();
        ASSERT_EQ(MVInit(nullptr, nullptr, nullptr), 0);
        std::ifstream stream{QL_SAMPLE_PLUGIN, std::ios::binary};
        m_good.assign(std::istreambuf_iterator<char>{stream}, {});
        ASSERT_GT(m_good.size(), sizeof(Elf64_Ehdr));
        m_path = std::filesystem::path{testing::TempDir()} / ("spoiled." + std::to_string(getpid()));
    }
    void TearDown() override
    {
        std::filesystem::remove(m_path);
        EXPECT_EQ(MVTerm(), 0);
        Library::TearDown();
    }

    // Why a file with these bytes is no plug-in; empty when it is one.
    std::string Reason(const std::string& bytes)
    {
        std::ofstream{m_path, std::ios::binary} << bytes;
        MVFileSpec* file = nullptr;
        MVPropertyList* list = nullptr;
        const char* reason = nullptr;
        EXPECT_EQ(MVAddFile(nullptr, m_path.c_str(), &file), 0);
        const Err err = mvEdgeReadProperties(file, &list);
        EXPECT_EQ(MVGetFileReason(file, &reason), 0);
        EXPECT_EQ(err, *reason ? Err{MV_Err_NOT_ACQUIRED} : 0) << reason;
        EXPECT_EQ(list == nullptr, err != 0);
        MVFreePropertyList(list);
        return reason;
    }

    std::string Spoiled(const std::function<void(Elf64_Ehdr&, Elf64_Shdr* headers, Elf64_Shdr& ours)>& spoil)
    {
        std::string bytes = m_good;
        auto* header = reinterpret_cast<Elf64_Ehdr*>(bytes.data());
        auto* sections = reinterpret_cast<Elf64_Shdr*>(bytes.data() + header->e_shoff);
        const char* names = bytes.data() + sections[header->e_shstrndx].sh_offset;
        auto* ours = sections;
        while (std::strcmp(names + ours->sh_name, MV_PROPERTY_SECTION) != 0) ++ours;
        spoil(*header, sections, *ours);
        return bytes;
    }

    std::string m_good;
    std::filesystem::path m_path;
};

TEST_F(PropertyFile, CutAnywhereIsRefused)
{
    EXPECT_EQ(Reason(m_good), "");
    for (size_t cut = 0; cut < m_good.size(); cut += cut < sizeof(Elf64_Ehdr) ? 1 : 97)
        EXPECT_NE(Reason(m_good.substr(0, cut)), "") << cut;
    // People hear of it once for each reason, and not of what is no plug-in at all.
    Forget();
    const std::string cut = m_good.substr(0, m_good.size() - 1);
    Reason(m_good), Reason(cut), Reason(cut), Reason("no plug-in at all");
    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].text,
              "QLTest warning: The plug-in " + m_path.native() + " cannot be used: the file is cut short.");
    for (const char* text : {"", "#!/bin/sh\n", "\177ELF", "!<arch>\n"}) EXPECT_NE(Reason(text), "") << text;
}

TEST_F(PropertyFile, LiesInHeadersAreFound)
{
    using Header = Elf64_Ehdr;
    using Section = Elf64_Shdr;
    const uint64_t most = ~uint64_t{0};
    const std::pair<std::function<void(Header&, Section*, Section&)>, const char*> rows[] = {
        {[](Header& h, Section*, Section&) { h.e_ident[EI_CLASS] = 7; }, "damaged"},
        {[](Header& h, Section*, Section&) { h.e_machine = EM_68K; }, "another machine"},
        {[](Header& h, Section*, Section&) { h.e_type = ET_CORE; }, "no shared object"},
        {[=](Header& h, Section*, Section&) { h.e_shoff = most - 63; }, ""},
        {[](Header& h, Section*, Section&) { h.e_shoff = 0, h.e_shnum = 0, h.e_shstrndx = 0; },
         "no property list"},
        {[](Header& h, Section*, Section&) { h.e_shentsize = 1; }, "damaged"},
        {[](Header& h, Section*, Section&) { h.e_shnum = 0xFE00; }, ""},
        {[=](Header& h, Section* s, Section&) { h.e_shnum = 0, s->sh_size = most; }, ""},
        {[](Header& h, Section*, Section&) { h.e_shstrndx = h.e_shnum; }, ""},
        {[](Header& h, Section*, Section&) { h.e_shstrndx = 0; }, "no property list"},
        {[](Header& h, Section* s, Section&) { s[h.e_shstrndx].sh_offset += 1 << 20; }, "cut short"},
        {[=](Header& h, Section* s, Section&) { s[h.e_shstrndx].sh_size = most; }, "more section names"},
        {[](Header& h, Section* s, Section&) { s[h.e_shstrndx].sh_flags |= SHF_COMPRESSED; }, "damaged"},
        {[](Header&, Section*, Section& ours) { ours.sh_name = ~0u; }, "damaged"},
        {[](Header&, Section*, Section& ours) { ours.sh_type = SHT_NOBITS; }, "damaged"},
        {[=](Header&, Section*, Section& ours) { ours.sh_offset = most; }, "cut short"},
        {[=](Header&, Section*, Section& ours) { ours.sh_size = most; }, "cut short"},
        {[](Header&, Section*, Section& ours) { ours.sh_size = 11; }, "cut short"},
        {[](Header&, Section*, Section& ours) { ours.sh_offset -= 1; }, "begin"},
        {[](Header&, Section* s, Section& ours) { s[1].sh_name = ours.sh_name; }, "damaged"},
    };
    int number = 0;
    for (const auto& [spoil, reason] : rows) {
        const std::string found = Reason(Spoiled(spoil));
        EXPECT_TRUE(!found.empty() && found.find(reason) != std::string::npos) << number << ": " << found;
        ++number;
    }
}

TEST_F(PropertyFile, FolderSurvivesEveryFailedAllocation)
{
    const auto folder = std::filesystem::path{QL_SAMPLE_PLUGIN}.parent_path();
    bool leftOver = false;
    qltest::EveryAllocationFails([&] {
        MVPluginList* plugins = nullptr;
        MVFileList* files = nullptr;
        int32_t count = 0;
        MVAllocatePluginList(nullptr, &plugins);
        MVAllocateFileList(&files);
        const Err err = !plugins || !files
                            ? Err{U_Err_OUT_OF_MEMORY}
                            : U_TrySection([&] { return mvEdgeAddPlugins(plugins, files, folder.c_str()); });
        MVGetPluginListCount(plugins, &count);
        MVFileSpec* file = nullptr;
        if (err == 0) MVFindFile(files, QL_SAMPLE_PLUGIN, &file);
        if (err != 0 && files) MVNextFile(files, nullptr, &file);
        leftOver |= err != 0 && (count != 0 || file);
        MVFreePluginList(plugins);
        MVFreeFileList(files);
        Forget();
        return err == 0 && count == 6 && file;
    });
    EXPECT_FALSE(leftOver) << "all or nothing";
}

}  // namespace
