// libelf finds its way through the file; what it would take on trust is checked here against the file's size before
// it is asked for it, so that no lie in a header makes it read or allocate more than there is.
#include "MVp_ElfFile.h"

#include <link.h>
#include <unistd.h>

#include <cstring>

#include "MVPropertySection.h"

// The head of this library's own file, placed by the linker: what it was made for is what a plug-in must be made for.
extern "C" __attribute__((visibility("hidden"))) const ElfW(Ehdr) __ehdr_start;

namespace {

constexpr char kCutShort[] = "the file is cut short";
constexpr char kDamaged[] = "the file is damaged";
constexpr uint64_t kLargestNames = uint64_t{16} << 20;

Elf* Begin(int descriptor)
{
    elf_version(EV_CURRENT);
    return elf_begin(descriptor, ELF_C_READ, nullptr);
}

bool IsForThisMachine(const GElf_Ehdr& header)
{
    return header.e_ident[EI_CLASS] == __ehdr_start.e_ident[EI_CLASS] &&
           header.e_ident[EI_DATA] == __ehdr_start.e_ident[EI_DATA] &&
           header.e_machine == __ehdr_start.e_machine;
}

}  // namespace

MVp_ElfFile::MVp_ElfFile(int descriptor, uint64_t size)
    : m_descriptor{descriptor}, m_size{size}, m_elf{Begin(descriptor)}
{
}

MVp_ElfFile::~MVp_ElfFile()
{
    elf_end(m_elf);
}

bool MVp_ElfFile::HasMagic() const
{
    char magic[SELFMAG];
    return pread(m_descriptor, magic, SELFMAG, 0) == SELFMAG && std::memcmp(magic, ELFMAG, SELFMAG) == 0;
}

// Gives the reason against the file, or null.
const char* MVp_ElfFile::CheckHeader()
{
    GElf_Ehdr header;
    if (!gelf_getehdr(m_elf, &header)) return kDamaged;
    if (!IsForThisMachine(header)) return "the file is made for another machine";
    if (header.e_type != ET_DYN) return "the file is no shared object";
    if (header.e_shoff == 0) return nullptr;  // stripped of all sections: there is none of ours
    if (header.e_shentsize != gelf_fsize(m_elf, ELF_T_SHDR, 1, EV_CURRENT)) return kDamaged;
    // A count of 0 stands for one that the field cannot hold; the first section has it then.
    if (!HoldsSections(header, header.e_shnum ? header.e_shnum : 1)) return kCutShort;
    size_t count = 0;
    if (elf_getshdrnum(m_elf, &count) != 0) return kDamaged;
    return HoldsSections(header, count) ? nullptr : kCutShort;
}

bool MVp_ElfFile::HoldsSections(const GElf_Ehdr& header, uint64_t count) const
{
    return count <= m_size / header.e_shentsize && Holds(header.e_shoff, count * header.e_shentsize);
}

// Looks at the names of the sections, up to ours.
const char* MVp_ElfFile::ScanSections(Elf_Scn** found)
{
    size_t count = 0, names = 0;
    if (elf_getshdrnum(m_elf, &count) != 0 || count == 0) return nullptr;
    if (elf_getshdrstrndx(m_elf, &names) != 0) return kDamaged;
    if (names == SHN_UNDEF) return nullptr;
    GElf_Shdr header;
    if (!gelf_getshdr(elf_getscn(m_elf, names), &header)) return kDamaged;
    // A compressed table would be unpacked to whatever size it claims.
    if (header.sh_type != SHT_STRTAB || header.sh_flags & SHF_COMPRESSED) return kDamaged;
    if (header.sh_size > kLargestNames) return "the file has more section names than any plug-in";
    if (!Holds(header.sh_offset, header.sh_size)) return kCutShort;

    for (Elf_Scn* at = nullptr; (at = elf_nextscn(m_elf, at));) {
        if (!gelf_getshdr(at, &header)) return kDamaged;
        const char* name = elf_strptr(m_elf, names, header.sh_name);
        if (!name) return kDamaged;
        if (std::strcmp(name, MV_PROPERTY_SECTION) != 0) continue;
        *found = at;
        return nullptr;
    }
    return nullptr;
}

const char* MVp_ElfFile::ReadSection(Elf_Scn* at, MVSectionBytes* section)
{
    GElf_Shdr header;
    if (!gelf_getshdr(at, &header) || header.sh_type != SHT_PROGBITS) return kDamaged;
    if (!Holds(header.sh_offset, header.sh_size)) return kCutShort;
    if (header.sh_size > MV_PROPERTY_SECTION_MAX) return "the property list is larger than 1 MiB";
    const Elf_Data* data = elf_rawdata(at, nullptr);
    if (!data || (data->d_size != 0 && !data->d_buf)) return kDamaged;
    *section = {static_cast<const unsigned char*>(data->d_buf), data->d_size};
    return nullptr;
}

MVp_ElfFile::Finding MVp_ElfFile::FindSection(MVSectionBytes* section, const char** reason)
{
    if (!m_elf || elf_kind(m_elf) != ELF_K_ELF) {
        const bool begun = HasMagic();
        *reason = begun ? kDamaged : "the file is no shared object";
        return begun ? Finding::kUnusable : Finding::kNoPlugin;
    }
    Elf_Scn* found = nullptr;
    *reason = CheckHeader();
    if (!*reason) *reason = ScanSections(&found);
    if (!*reason && !found) {
        *reason = "the file has no property list";
        return Finding::kNoPlugin;
    }
    if (!*reason) *reason = ReadSection(found, section);
    return *reason ? Finding::kUnusable : Finding::kFound;
}
