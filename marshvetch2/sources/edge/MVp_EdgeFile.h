/// A plug-in file as the edge sees it: opened safely, and spoken of when it cannot be used.
#ifndef MVP_EDGEFILE_H
#define MVP_EDGEFILE_H

#include <sys/types.h>

#include <memory>
#include <utility>

#include "MV.h"

struct MVp_PropertyListDeleter {
    void operator()(MVPropertyList* list) const { MVFreePropertyList(list); }
};
using MVp_PropertyListPtr = std::unique_ptr<MVPropertyList, MVp_PropertyListDeleter>;

/// A plug-in file while it is looked at.
class MVp_OpenFile {
  public:
    /// What the file system knows a file by, whatever its names.
    using Identity = std::pair<dev_t, ino_t>;

    /// Opens a file of the list. One that cannot be read is reported, and is then not open.
    explicit MVp_OpenFile(MVFileSpec* file);
    ~MVp_OpenFile();
    MVp_OpenFile(const MVp_OpenFile&) = delete;
    MVp_OpenFile& operator=(const MVp_OpenFile&) = delete;

    bool IsOpen() const { return m_descriptor >= 0; }
    Identity GetIdentity() const { return m_identity; }

    /// As `mvEdgeReadProperties`.
    Err ReadProperties(MVp_PropertyListPtr& properties);

  private:
    Err ReadInto(MVPropertyList* list);

    MVFileSpec* const m_file;
    int m_descriptor;
    Identity m_identity{};
    uint64_t m_size = 0;
};

const char* mvFilePath(const MVFileSpec* file);

/// Keeps the reason in the file without a word to the user: the file is something else. Throws `std::bad_alloc`.
void mvPassOver(MVFileSpec* file, const char* reason);

/// Keeps the reason in the file and reports it as a warning, unless it is known already. Throws `std::bad_alloc`.
void mvReportUnusable(MVFileSpec* file, const char* reason);

/// Reports that a folder cannot be listed.
void mvReportUnreadableFolder(const char* path, const char* reason);

#endif
