/// A plug-in file as the edge sees it: opened safely, and spoken of when it cannot be used.
#ifndef MVP_EDGEFILE_H
#define MVP_EDGEFILE_H

#include <memory>

#include "MV.h"

struct MVp_PropertyListDeleter {
    void operator()(MVPropertyList* list) const { MVFreePropertyList(list); }
};
using MVp_PropertyListPtr = std::unique_ptr<MVPropertyList, MVp_PropertyListDeleter>;

const char* mvFilePath(const MVFileSpec* file);

/// Keeps the reason in the file without a word to the user: the file is something else.
void mvPassOver(MVFileSpec* file, const char* reason);

/// Keeps the reason in the file and reports it as a warning, unless it is known already.
void mvReportUnusable(MVFileSpec* file, const char* reason);

/// Reports that a folder cannot be listed.
void mvReportUnreadableFolder(const char* path, const char* reason);

#endif
