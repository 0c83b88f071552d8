// File lists: paths, and for each what is known against the file. The order is that in which they were added.
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>

#include "MVp_Edge.h"
#include "MVp_Runtime.h"
#include "U_TrySection.h"

struct MVFileSpec {
    MVFileSpec* next = nullptr;
    std::string path;
    std::string reason;
};

struct MVFileList {
    MVFileSpec* first = nullptr;
    MVFileSpec* last = nullptr;
    std::unordered_map<std::string_view, MVFileSpec*> byPath;  // keys lie in the files

    ~MVFileList()
    {
        for (MVFileSpec *file = first, *next; file; file = next) {
            next = file->next;
            mvDelete(file);
        }
    }
};

namespace {

MVFileList* OrRuntimes(MVFileList* list)
{
    return list || !g_mvRuntime ? list : g_mvRuntime->files;
}

MVFileSpec* FileOf(const MVFileList* list, std::string_view path)
{
    const auto found = list->byPath.find(path);
    return found == list->byPath.end() ? nullptr : found->second;
}

MVFileSpec* NewFile(MVFileList* list, const char* path)
{
    MVFileSpec* file = mvNew<MVFileSpec>("a file");
    if (!file) throw std::bad_alloc();
    try {
        file->path = path;
        list->byPath.emplace(file->path, file);
    } catch (...) {
        mvDelete(file);
        throw;
    }
    (list->last ? list->last->next : list->first) = file;
    list->last = file;
    return file;
}

}  // namespace

void mvForgetFiles(MVFileList* list, std::span<MVFileSpec* const> files)
{
    MVFileSpec** link = &list->first;
    list->last = nullptr;
    for (auto next = files.begin(); MVFileSpec* file = *link;) {
        if (next == files.end() || file != *next) {
            list->last = file;
            link = &file->next;
            continue;
        }
        *link = file->next;
        list->byPath.erase(file->path);
        mvDelete(file);
        ++next;
    }
}

Err MVAllocateFileList(MVFileList** list)
{
    if (!list) return MV_Err_PARAMETER;
    return U_TrySection([&]() -> Err {
        *list = mvNew<MVFileList>("a file list");
        return *list ? U_Err_NONE : U_Err_OUT_OF_MEMORY;
    });
}

Err MVFreeFileList(MVFileList* list)
{
    if (!list || (g_mvRuntime && list == g_mvRuntime->files)) return MV_Err_PARAMETER;
    mvDelete(list);
    return U_Err_NONE;
}

Err MVAddFile(MVFileList* list, const char* path, MVFileSpec** file)
{
    list = OrRuntimes(list);
    if (!list || !path || !file) return MV_Err_PARAMETER;
    return U_TrySection([&] {
        MVFileSpec* known = FileOf(list, path);
        *file = known ? known : NewFile(list, path);
    });
}

Err MVFindFile(const MVFileList* list, const char* path, MVFileSpec** file)
{
    list = OrRuntimes(const_cast<MVFileList*>(list));
    if (!list || !path || !file) return MV_Err_PARAMETER;
    *file = FileOf(list, path);
    return U_Err_NONE;
}

Err MVNextFile(const MVFileList* list, const MVFileSpec* former, MVFileSpec** file)
{
    list = OrRuntimes(const_cast<MVFileList*>(list));
    if (!list || !file) return MV_Err_PARAMETER;
    *file = former ? former->next : list->first;
    return U_Err_NONE;
}

Err MVGetFilePath(const MVFileSpec* file, const char** path)
{
    if (!file || !path) return MV_Err_PARAMETER;
    *path = file->path.c_str();
    return U_Err_NONE;
}

Err MVGetFileReason(const MVFileSpec* file, const char** reason)
{
    if (!file || !reason) return MV_Err_PARAMETER;
    *reason = file->reason.c_str();
    return U_Err_NONE;
}

Err MVSetFileReason(MVFileSpec* file, const char* reason)
{
    if (!file) return MV_Err_PARAMETER;
    return U_TrySection([&] {
        file->reason = reason ? reason : "";
        if (reason) mvDebug("%s: %s", file->path.c_str(), reason);
    });
}
