// Plug-in files: listing them beside bare libelf and beside loading them, and loading them beside the bare loader.
// What each may keep between iterations: nothing of the files; the kernel keeps them in memory for both.
#include <dlfcn.h>
#include <fcntl.h>
#include <gelf.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "MVPlugins.h"
#include "MVPropertySection.h"
#include "Ratio.h"
#include "U.h"

namespace {

namespace fs = std::filesystem;
using benchmark::State;

constexpr const char* kFile = QL_PLUGIN_FILE;
constexpr int kFiles = 1000;

void Check(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "%s: the two do not agree\n", what);
    std::exit(1);
}

// --- The peer: one section by bare libelf, without a check ---------------------------------------------------

size_t Section(const char* path, const char* want)
{
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    Elf* elf = elf_begin(descriptor, ELF_C_READ, nullptr);
    size_t names = 0, found = 0;
    elf_getshdrstrndx(elf, &names);
    for (Elf_Scn* at = nullptr; (at = elf_nextscn(elf, at));) {
        GElf_Shdr header;
        const char* name = gelf_getshdr(at, &header) ? elf_strptr(elf, names, header.sh_name) : nullptr;
        if (!name || std::strcmp(name, want) != 0) continue;
        if (const Elf_Data* data = elf_rawdata(at, nullptr)) found = data->d_size;
        break;
    }
    elf_end(elf);
    close(descriptor);
    return found;
}

void LoadBare(State& state)
{
    for (auto _ : state) {
        void* loaded = dlopen(kFile, RTLD_NOW | RTLD_LOCAL);
        benchmark::DoNotOptimize(dlsym(loaded, MV_ENTRY_NAME));
        dlclose(loaded);
    }
}

size_t FolderBare(const fs::path& folder)
{
    size_t found = 0;
    std::vector<std::string> paths;
    for (const auto& entry : fs::directory_iterator{folder}) paths.push_back(entry.path().native());
    std::sort(paths.begin(), paths.end());
    for (const auto& path : paths) found += Section(path.c_str(), MV_PROPERTY_SECTION) != 0;
    return found;
}

// --- Ours ----------------------------------------------------------------------------------------------------

MVFileSpec* File()
{
    MVFileSpec* file = nullptr;
    MVAddFile(nullptr, kFile, &file);
    return file;
}

uint32_t ReadProperties(MVFileSpec* file)
{
    MVPropertyList* list = nullptr;
    const MVProperty* first = nullptr;
    if (MVReadFileProperties(file, &list) != 0) return 0;
    MVNextProperty(list, nullptr, &first);
    const uint32_t size = first->size;
    MVFreePropertyList(list);
    return size;
}

MVPlugin* Listed()
{
    MVFileSpec* file = File();
    MVPropertyList* list = nullptr;
    MVPlugin* plugin = nullptr;
    MVReadFileProperties(file, &list);
    MVAddPlugin(nullptr, file, list, nullptr, nullptr, nullptr, &plugin);
    return plugin;
}

int32_t LoadAndUnload(MVPlugin* plugin)
{
    MVAccess* access = nullptr;
    int32_t flushed = 0;
    MVAcquirePlugin(plugin, &access);
    MVReleasePlugin(access);
    MVFlushCaches(nullptr, &flushed);
    return flushed;
}

int32_t Folder(const fs::path& folder)
{
    MVPluginList* list = nullptr;
    int32_t count = 0;
    MVInit(nullptr, nullptr, nullptr);
    MVAllocatePluginList(nullptr, &list);
    MVAddPluginFolder(list, folder.c_str());
    MVGetPluginListCount(list, &count);
    MVFreePluginList(list);
    MVTerm();
    return count;
}

void WithRuntime(State& state, void (*body)(State&))
{
    MVInit(nullptr, nullptr, nullptr);
    body(state);
    MVTerm();
}

void List(State& state)
{
    MVFileSpec* file = File();
    for (auto _ : state) benchmark::DoNotOptimize(ReadProperties(file));
}

void Load(State& state)
{
    MVPlugin* plugin = Listed();
    for (auto _ : state) benchmark::DoNotOptimize(LoadAndUnload(plugin));
}

void ListBare(State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(Section(kFile, MV_PROPERTY_SECTION));
}

void CheckAll(const fs::path& folder)
{
    MVInit(nullptr, nullptr, nullptr);
    // The section is its head, one property's head, and the name, padded.
    Check(Section(kFile, MV_PROPERTY_SECTION) == 12 + 16 + (ReadProperties(File()) + 3) / 4 * 4,
          "property list");
    Check(LoadAndUnload(Listed()) == 1, "load and unload");
    MVTerm();
    Check(Folder(folder) == kFiles && FolderBare(folder) == kFiles, "folder");
}

}  // namespace

int main(int argc, char** argv)
{
    if (U_Birth("bench", 1) != 0) return 1;
    elf_version(EV_CURRENT);
    const fs::path folder = fs::temp_directory_path() / ("plugins." + std::to_string(getpid()));
    fs::create_directories(folder);
    for (int i = 0; i < kFiles; ++i) fs::copy_file(kFile, folder / (std::to_string(i) + ".so"));
    CheckAll(folder);

    const auto list = [](State& state) { WithRuntime(state, List); };
    qlbench::Pair("property list of a file / libelf, one section", 1.3, list, ListBare);
    qlbench::Pair("property list of a file / dlopen, dlsym, dlclose", 0.25, list, LoadBare);
    qlbench::Pair(
        "load and unload / dlopen, dlsym, dlclose", 1.2, [](State& state) { WithRuntime(state, Load); },
        LoadBare);
    qlbench::Pair(
        "folder of 1,000 / libelf over a sorted folder", 1.3,
        [&](State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(Folder(folder));
        },
        [&](State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(FolderBare(folder));
        });
    const int code = qlbench::Main(argc, argv);
    fs::remove_all(folder);
    U_Death();
    return code;
}
