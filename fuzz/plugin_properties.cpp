// Property lists of any bytes: a section by itself, and a whole file, as the first byte says. A list that is taken is
// written again by the rules of the format and must come out the same.
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>

#include "MVPlugins.h"
#include "MVPropertySection.h"
#include "MVp_PropertySection.h"
#include "U.h"
#include "U_ErrState.h"

namespace {

MVFileSpec* g_file;  // always the same path, with the bytes of the round behind it
int g_descriptor;

void Require(bool holds)
{
    if (!holds) __builtin_trap();
}

void AppendWord(std::string& out, uint32_t word)
{
    for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>(word >> shift);
}

void AppendCode(std::string& out, int32_t code)
{
    for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>(code >> shift);
}

std::string Written(const MVPropertyList* list)
{
    std::string properties, section{MV_PROPERTY_SECTION_MAGIC};
    uint32_t count = 0;
    for (const MVProperty* at = nullptr; MVNextProperty(list, at, &at) == 0 && at; ++count) {
        AppendCode(properties, at->vendor);
        AppendCode(properties, at->key);
        AppendWord(properties, static_cast<uint32_t>(at->id));
        AppendWord(properties, at->size);
        properties.append(static_cast<const char*>(at->data), at->size);
        properties.resize((properties.size() + 3) / 4 * 4);
    }
    AppendWord(section, MV_PROPERTY_SECTION_VERSION);
    AppendWord(section, count);
    return section + properties;
}

void ReadSection(const uint8_t* data, size_t size)
{
    // A block of exactly that size, so that the sanitizer sees each byte too far.
    const std::unique_ptr<uint8_t[]> exact{new uint8_t[size]};
    if (size) std::memcpy(exact.get(), data, size);
    MVPropertyList* list = nullptr;
    Require(MVAllocatePropertyList(&list) == 0);
    if (!mvReadPropertySection({exact.get(), size}, list)) {
        const std::string written = Written(list);
        Require(written.size() <= size && std::memcmp(written.data(), data, written.size()) == 0);
    }
    MVFreePropertyList(list);
}

void ReadFile(const uint8_t* data, size_t size)
{
    Require(ftruncate(g_descriptor, 0) == 0 &&
            pwrite(g_descriptor, data, size, 0) == static_cast<ssize_t>(size));
    MVPropertyList* list = nullptr;
    const char* reason = nullptr;
    const Err err = MVReadFileProperties(g_file, &list);
    MVGetFileReason(g_file, &reason);
    Require(err == 0 ? list && !*reason : !list && *reason);
    MVFreePropertyList(list);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    g_descriptor = memfd_create("plug-in", MFD_CLOEXEC);
    const std::string path = "/proc/self/fd/" + std::to_string(g_descriptor);
    Require(U_Birth("fuzz", 1) == 0 && U_StartQuietErrorsOnCurrentThread(0) == 0);
    Require(MVInit(nullptr, nullptr, nullptr) == 0 && MVAddFile(nullptr, path.c_str(), &g_file) == 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) return 0;
    data[0] & 1 ? ReadFile(data + 1, size - 1) : ReadSection(data + 1, size - 1);
    return 0;
}
