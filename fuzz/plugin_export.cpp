// Data of export lists: any bytes, which must be searched without harm, and lists built by the rules from the same
// bytes, in which each entry must be found.
#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "MVPlugins.h"
#include "U.h"
#include "U_ErrState.h"

namespace {

constexpr char kName[] = "Grain";

void Require(bool holds)
{
    if (!holds) __builtin_trap();
}

// Whether a plug-in with this export data is started for an export.
bool Starts(std::string_view data, const char* name, int32_t version)
{
    MVPropertyList* properties = nullptr;
    MVPluginList* plugins = nullptr;
    int32_t started = -1;
    const auto entry = [](const char*, const char*, void*) { return 0; };
    Require(MVAllocatePropertyList(&properties) == 0 && MVAllocatePluginList(nullptr, &plugins) == 0);
    Require(MVAddProperty(properties, MV_VENDOR, MV_Key_EXPORTS, 0, data.data(),
                          static_cast<uint32_t>(data.size())) == 0);
    Require(MVAddHostPlugin(plugins, entry, nullptr, "Exporter", properties, nullptr) == 0);
    Require(MVStartupExport(plugins, name, version, &started) == 0 && (started == 0 || started == 1));
    Require(MVFreePluginList(plugins) == 0);
    return started == 1;
}

void AppendWord(std::string& out, uint32_t word)
{
    for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>(word >> shift);
}

// Names end at a newline; the version of an entry is its place.
std::vector<std::string> Names(std::string_view text)
{
    std::vector<std::string> names;
    while (!text.empty() && names.size() < 8) {
        const std::string_view name = text.substr(0, text.find('\n'));
        names.emplace_back(name.substr(0, name.find('\0')));
        text.remove_prefix(std::min(name.size() + 1, text.size()));
    }
    return names;
}

std::string Listed(const std::vector<std::string>& names)
{
    std::string data;
    AppendWord(data, static_cast<uint32_t>(names.size()));
    for (uint32_t i = 0; i < names.size(); ++i) {
        const size_t padded = names[i].size() / 4 * 4 + 4;
        AppendWord(data, static_cast<uint32_t>(padded + 4));
        data += names[i] + std::string(padded - names[i].size(), '\0');
        AppendWord(data, i);
    }
    return data;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Require(U_Birth("fuzz", 1) == 0 && U_StartQuietErrorsOnCurrentThread(0) == 0);
    return MVInit(nullptr, nullptr, nullptr);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view bytes{reinterpret_cast<const char*>(data), size};
    if (Starts(bytes, kName, 1)) Require(bytes.find(std::string_view{kName, sizeof kName}) != bytes.npos);
    const auto names = Names(bytes);
    const std::string listed = Listed(names);
    for (size_t i = 0; i < names.size(); ++i) {
        Require(Starts(listed, names[i].c_str(), static_cast<int32_t>(i)));
        Require(!Starts(listed, names[i].c_str(), -1));
    }
    return 0;
}
