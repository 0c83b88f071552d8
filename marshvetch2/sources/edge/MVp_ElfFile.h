/// The property section of an open file, found by libelf: nothing of the file is loaded, and none of its code runs.
#ifndef MVP_ELFFILE_H
#define MVP_ELFFILE_H

#include <gelf.h>

#include "MVp_PropertySection.h"

class MVp_ElfFile {
  public:
    /// What came of looking for the section.
    enum class Finding {
        kFound,
        kNoPlugin,  ///< the file is something else, and may be of use to an adapter
        kUnusable   ///< it seems to be meant as a plug-in, but cannot serve as one
    };

    /// `descriptor` stays the caller's and must stay open; `size` is that of the file.
    MVp_ElfFile(int descriptor, uint64_t size);
    ~MVp_ElfFile();
    MVp_ElfFile(const MVp_ElfFile&) = delete;
    MVp_ElfFile& operator=(const MVp_ElfFile&) = delete;

    /// Finds the section. It stays valid as long as this object.
    ///
    /// section  written when it was found
    /// reason   why not, in words; a text for ever
    Finding FindSection(MVSectionBytes* section, const char** reason);

  private:
    bool HasMagic() const;
    const char* CheckHeader();
    bool HoldsSections(const GElf_Ehdr& header, uint64_t count) const;
    const char* ScanSections(Elf_Scn** found);
    const char* ReadSection(Elf_Scn* at, MVSectionBytes* section);
    bool Holds(uint64_t offset, uint64_t size) const { return offset <= m_size && size <= m_size - offset; }

    const int m_descriptor;
    const uint64_t m_size;
    Elf* const m_elf;
};

#endif
