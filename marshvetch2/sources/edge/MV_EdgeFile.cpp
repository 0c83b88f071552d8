// Property lists of files, and what people are told about files that cannot be used.
//
// A file that is no plug-in is passed over in silence, with the reason kept in it: the folder may hold files for
// adapters, and libraries that plug-ins need. One that means to be a plug-in and cannot serve is reported, once for
// each reason.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <system_error>

#include "MVp_Edge.h"
#include "MVp_EdgeFile.h"
#include "MVp_ElfFile.h"
#include "U_Err.h"
#include "U_SubString.h"
#include "U_TrySection.h"
#include "U_ZString.h"
#include "zvkcore/string/Convert.h"

namespace {

// Where these reports say they come from: the plug-in host, its files and its folders.
constexpr unsigned kUnusableFile = 0x000A0001;
constexpr unsigned kUnreadableFolder = 0x000A0002;

// A logging callback may end a report with a code of its own. The file stays as unusable as it was.
void Report(unsigned location, const char* format, const char* path, const char* reason)
{
    U_TrySection([&] {
        const auto path16 = zvkcore::string::UTF8to16(std::string_view{path});
        const auto reason16 = zvkcore::string::UTF8to16(std::string_view{reason});
        U_ReportError(location, U_Sev_WARNING,
                      U_SubString16(U_ZStringToUTF16String(format), path16, reason16));
    });
}

std::string Unreadable(int error)
{
    return "the file cannot be read: " + std::generic_category().message(error);
}

}  // namespace

const char* mvFilePath(const MVFileSpec* file)
{
    const char* path = "";
    MVGetFilePath(file, &path);
    return path;
}

void mvPassOver(MVFileSpec* file, const char* reason)
{
    // Without memory for its reason the file would pass for a usable one.
    if (MVSetFileReason(file, reason) != U_Err_NONE) throw std::bad_alloc();
}

void mvReportUnusable(MVFileSpec* file, const char* reason)
{
    const char* known = "";
    MVGetFileReason(file, &known);
    if (std::strcmp(known, reason) == 0) return;
    mvPassOver(file, reason);
    Report(kUnusableFile, "$$$/QL/MV/UnusableFile=The plug-in ^1 cannot be used: ^2.", mvFilePath(file),
           reason);
}

void mvReportUnreadableFolder(const char* path, const char* reason)
{
    Report(kUnreadableFolder, "$$$/QL/MV/UnreadableFolder=The plug-ins folder ^1 cannot be read: ^2.", path,
           reason);
}

// Without blocking, should the file have become a pipe since it was listed.
MVp_OpenFile::MVp_OpenFile(MVFileSpec* file)
    : m_file{file}, m_descriptor{open(mvFilePath(file), O_RDONLY | O_CLOEXEC | O_NONBLOCK)}
{
    struct stat status;
    const bool known = m_descriptor >= 0 && fstat(m_descriptor, &status) == 0;
    const int error = known ? 0 : errno;
    if (known && S_ISREG(status.st_mode)) {
        m_identity = {status.st_dev, status.st_ino};
        m_size = static_cast<uint64_t>(status.st_size);
        return;
    }
    if (m_descriptor >= 0) close(m_descriptor);
    m_descriptor = -1;
    known ? mvPassOver(file, "it is no file") : mvReportUnusable(file, Unreadable(error).c_str());
}

MVp_OpenFile::~MVp_OpenFile()
{
    if (IsOpen()) close(m_descriptor);
}

Err MVp_OpenFile::ReadInto(MVPropertyList* list)
{
    MVp_ElfFile elf{m_descriptor, m_size};
    MVSectionBytes section;
    const char* reason = nullptr;
    const auto finding = elf.FindSection(&section, &reason);
    if (finding == MVp_ElfFile::Finding::kFound) reason = mvReadPropertySection(section, list);
    if (!reason) {
        MVSetFileReason(m_file, nullptr);
        return U_Err_NONE;
    }
    finding == MVp_ElfFile::Finding::kNoPlugin ? mvPassOver(m_file, reason)
                                               : mvReportUnusable(m_file, reason);
    return MV_Err_NOT_ACQUIRED;
}

Err MVp_OpenFile::ReadProperties(MVp_PropertyListPtr& properties)
{
    if (!IsOpen()) return MV_Err_NOT_ACQUIRED;
    MVPropertyList* made = nullptr;
    if (const Err err = MVAllocatePropertyList(&made)) return err;
    MVp_PropertyListPtr list{made};
    const Err err = ReadInto(made);
    if (!err) properties = std::move(list);
    return err;
}

Err mvEdgeReadProperties(MVFileSpec* file, MVPropertyList** properties)
{
    MVp_PropertyListPtr list;
    const Err err = MVp_OpenFile{file}.ReadProperties(list);
    *properties = list.release();
    return err;
}

Err MVReadFileProperties(MVFileSpec* file, MVPropertyList** properties)
{
    if (!file || !properties) return MV_Err_PARAMETER;
    return U_TrySection([&] { return mvEdgeReadProperties(file, properties); });
}
