// An adapter: it serves plug-ins that are text files, "*.mvtext". Each of their lines answers one of the sample
// host's messages:
//
//     # a remark
//     Run begins: Hello from a text file
//
// The host sends "MV Adapters" messages here. "Register plugins" lists the text files among those that the scan of
// the plug-ins folder met; "Load plugin" reads one into a block, which is the plug-in's adapter info until "Release
// plugin"; "Send message" answers from it. Nothing is kept in this code, so it may go between two messages.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

#include "MVPluginEntry.h"
#include "SampleMessages.h"

namespace {

constexpr std::string_view kSuffix = ".mvtext";
constexpr char kAdapterName[] = "Text Adapter";
constexpr std::size_t kLongestText = 65536;

Err Register(const MVAdapterMessage& message)
{
    MVAdapter* adapter = nullptr;
    MVFindAdapter(kAdapterName, &adapter);
    if (adapter) return 0;
    if (const Err err = MVAddAdapter(message.data.self, kAdapterName, 1, 0, nullptr, &adapter)) return err;
    MVFileSpec* file = nullptr;
    while (MVNextFile(nullptr, file, &file) == 0 && file) {
        const char* path = "";
        MVGetFilePath(file, &path);
        if (!std::string_view{path}.ends_with(kSuffix)) continue;
        MVSetFileReason(file, nullptr);
        if (const Err err = MVAddPlugin(nullptr, file, nullptr, nullptr, adapter, nullptr, nullptr))
            return err;
    }
    return 0;
}

Err Release(MVPlugin* plugin)
{
    void* block = nullptr;
    MVGetPluginAdapterInfo(plugin, &block);
    MVSetPluginAdapterInfo(plugin, nullptr);
    return MVFreeBlock(block);
}

// Reads no more than may be, however long the file is.
bool ReadText(const char* path, std::string& text)
{
    std::ifstream stream{path, std::ios::binary};
    text.resize(kLongestText + 1);
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return stream.eof() && text.find('\0') == text.npos;
}

// The text outlives this code, so the host's own call allocates it: a description from here would go with the code.
Err Load(const MVAdapterMessage& message)
{
    MVPlugin* plugin = message.plugin;
    MVFileSpec* file = nullptr;
    const char* path = "";
    std::string text;
    if (MVGetPluginFileSpec(plugin, &file) != 0 || MVGetFilePath(file, &path) != 0)
        return MV_Err_NOT_ACQUIRED;
    if (!ReadText(path, text)) {
        MVSetFileReason(file, "it cannot be read as a text of at most 64 KiB");
        return MV_Err_NOT_ACQUIRED;
    }
    MVSetFileReason(file, nullptr);
    Release(plugin);  // of a load that nobody took up
    void* block = nullptr;
    if (const Err err = message.data.basic->AllocateBlock(text.size() + 1, &block)) return err;
    std::memcpy(block, text.c_str(), text.size() + 1);
    return MVSetPluginAdapterInfo(plugin, block);
}

// What stands behind a selector and a colon in the text; empty without such a line.
std::string_view FindAnswer(std::string_view text, std::string_view selector)
{
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (!line.starts_with(selector)) continue;
        line.remove_prefix(selector.size());
        if (line.starts_with(": ")) return line.substr(2);
    }
    return {};
}

int Send(const MVAdapterMessage& message)
{
    if (std::strcmp(message.caller, HOST_CALLER) != 0) return 0;
    void* block = nullptr;
    MVGetPluginAdapterInfo(message.plugin, &block);
    if (!block) return U_Err_BAD_PARAMETER;
    auto* out = static_cast<HostMessage*>(message.message);
    const std::string_view answer = FindAnswer(static_cast<const char*>(block), message.selector);
    out->words[answer.copy(out->words, sizeof out->words - 1)] = '\0';
    return 0;
}

}  // namespace

MV_PLUGIN_ENTRY(caller, selector, message)
{
    if (std::strcmp(caller, MV_Caller_ADAPTERS) != 0) return 0;
    const auto& adapters = *static_cast<const MVAdapterMessage*>(message);
    const std::string_view what{selector};
    if (what == MV_Selector_REGISTER_PLUGINS) return Register(adapters);
    if (what == MV_Selector_LOAD_PLUGIN) return Load(adapters);
    if (what == MV_Selector_RELEASE_PLUGIN || what == MV_Selector_DISPOSE_INFO)
        return Release(adapters.plugin);
    if (what == MV_Selector_SEND_MESSAGE) return Send(adapters);
    return 0;
}
