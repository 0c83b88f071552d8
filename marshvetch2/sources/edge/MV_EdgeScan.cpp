// The plug-ins folder: which files there are, in an order that depends on their paths alone, and which of them are
// plug-ins.
//
// Passed over are names that begin with a dot, and what is neither a file nor a folder. A link to a file counts as
// that file, and one that leads nowhere as a file that cannot be read; a link to a folder is not followed, so that no
// circle of links is walked. A file that is there under several names is a plug-in under the first of them only.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "MVp_Edge.h"
#include "MVp_EdgeFile.h"

namespace {

constexpr int32_t kNameKey = MV_CODE('n', 'a', 'm', 'e');

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

enum class Kind { kFile, kFolder, kOther };

// What an entry of a folder is, by what the folder says of it; only links, and entries of which it says nothing, are
// looked at themselves.
Kind KindOf(const dirent& entry, const std::string& path)
{
    unsigned char type = entry.d_type;
    struct stat status;
    if (type == DT_UNKNOWN && lstat(path.c_str(), &status) == 0) type = IFTODT(status.st_mode);
    if (type == DT_LNK)
        return stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode) ? Kind::kFile : Kind::kOther;
    return type == DT_REG ? Kind::kFile : type == DT_DIR ? Kind::kFolder : Kind::kOther;
}

// Lists one folder: files are added to `files`, folders inside it to `folders`. Gives the system's error number, or 0.
//
// Not by std::filesystem, whose iterator ends the program when memory runs out.
int ListFolder(const std::string& folder, std::vector<std::string>& files, std::vector<std::string>& folders)
{
    const std::unique_ptr<DIR, DirectoryCloser> directory{opendir(folder.c_str())};
    if (!directory) return errno;
    const std::string prefix = folder.ends_with('/') ? folder : folder + '/';
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(directory.get());
        if (!entry) return errno;
        if (entry->d_name[0] == '.') continue;
        std::string path = prefix + entry->d_name;
        const Kind kind = KindOf(*entry, path);
        if (kind != Kind::kOther) (kind == Kind::kFile ? files : folders).push_back(std::move(path));
    }
}

void ReportUnreadable(const std::string& folder, int error)
{
    mvReportUnreadableFolder(folder.c_str(), std::generic_category().message(error).c_str());
}

// All files of a folder and of those inside it, by the bytes of their paths. A folder inside it that cannot be read is
// reported and passed over.
Err ListFiles(const char* outermost, std::vector<std::string>& files)
{
    std::vector<std::string> folders{outermost};
    for (bool isOutermost = true; !folders.empty(); isOutermost = false) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        const int error = ListFolder(folder, files, folders);
        if (error == 0) continue;
        ReportUnreadable(folder, error);
        if (error == ENOMEM) return U_Err_OUT_OF_MEMORY;
        if (isOutermost) return MV_Err_PARAMETER;
    }
    std::sort(files.begin(), files.end());
    return U_Err_NONE;
}

// Files by what the file system knows them by, each with the path under which it was met first.
using SeenFiles = std::map<MVp_OpenFile::Identity, std::string_view>;

// The name that the property list gives, or null. It must be a text that ends.
bool TakeName(const MVPropertyList* properties, const char** name)
{
    const MVProperty* property = nullptr;
    MVFindProperty(properties, MV_VENDOR, kNameKey, 0, &property);
    *name = nullptr;
    if (!property) return true;
    const std::string_view text{static_cast<const char*>(property->data), property->size};
    if (text.size() < 2 || text.find('\0') != text.size() - 1) return false;
    *name = text.data();
    return true;
}

// A scan under way, and what it has met. Unless it is kept, all of that is forgotten again: files that stayed listed
// would be passed over by the next scan, and their plug-ins never found.
class Scan {
  public:
    explicit Scan(MVFileList* files) : m_files{files} {}
    ~Scan()
    {
        for (const MVFoundPlugin& one : m_found) MVFreePropertyList(one.properties);
        mvForgetFiles(m_files, m_met);
    }
    Scan(const Scan&) = delete;
    Scan& operator=(const Scan&) = delete;

    Err Read(const std::vector<std::string>& paths);
    Err Keep(MVPluginList* plugins);

  private:
    Err ReadFile(MVFileSpec* file);

    MVFileList* const m_files;
    SeenFiles m_seen;
    std::vector<MVFileSpec*> m_met;
    std::vector<MVFoundPlugin> m_found;
};

Err Scan::ReadFile(MVFileSpec* file)
{
    MVp_OpenFile open{file};
    if (!open.IsOpen()) return U_Err_NONE;
    const auto [former, fresh] = m_seen.try_emplace(open.GetIdentity(), mvFilePath(file));
    if (!fresh) {
        mvPassOver(file, ("it is the same file as " + std::string{former->second}).c_str());
        return U_Err_NONE;
    }
    MVp_PropertyListPtr properties;
    const Err err = open.ReadProperties(properties);
    if (err) return err == MV_Err_NOT_ACQUIRED ? Err{U_Err_NONE} : err;
    const char* name = nullptr;
    if (TakeName(properties.get(), &name)) {
        m_found.push_back({file, properties.get(), name});
        properties.release();
    } else {
        mvReportUnusable(file, "its name is no text");
    }
    return U_Err_NONE;
}

Err Scan::Read(const std::vector<std::string>& paths)
{
    m_met.reserve(paths.size());
    for (const std::string& path : paths) {
        MVFileSpec* file = nullptr;
        if (const Err err = MVFindFile(m_files, path.c_str(), &file)) return err;
        if (file) continue;
        if (const Err err = MVAddFile(m_files, path.c_str(), &file)) return err;
        m_met.push_back(file);
        if (const Err err = ReadFile(file)) return err;
    }
    return U_Err_NONE;
}

Err Scan::Keep(MVPluginList* plugins)
{
    const Err err = mvAddPlugins(plugins, m_found);
    if (err) return err;
    m_found.clear();
    m_met.clear();
    return U_Err_NONE;
}

}  // namespace

Err mvEdgeAddPlugins(MVPluginList* plugins, MVFileList* files, const char* folder)
{
    std::vector<std::string> paths;
    Scan scan{files};
    Err err = ListFiles(folder, paths);
    if (!err) err = scan.Read(paths);
    return err ? err : scan.Keep(plugins);
}
