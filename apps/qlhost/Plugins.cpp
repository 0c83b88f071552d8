#include "Plugins.h"

#include <U.h>
#include <U_ErrState.h>

#include <algorithm>
#include <cstdio>

#include "Host.h"
#include "Messages.h"

namespace qlhost {
namespace {

using Row = std::vector<std::string>;

std::vector<MVPlugin*> Plugins()
{
    std::vector<MVPlugin*> plugins;
    MVPluginListIterator* at = nullptr;
    if (MVNewPluginListIterator(nullptr, &at) != 0) return plugins;
    for (MVPlugin* plugin = nullptr; MVNextPlugin(at, &plugin) == 0 && plugin;) plugins.push_back(plugin);
    MVDeletePluginListIterator(at);
    return plugins;
}

bool Is(Err (*reader)(const MVPlugin*, int32_t*), const MVPlugin* plugin)
{
    int32_t bit = 0;
    return reader(plugin, &bit) == 0 && bit != 0;
}

std::string Name(const MVPlugin* plugin)
{
    const char* name = "";
    MVGetPluginName(plugin, &name);
    return name;
}

void Append(std::string& list, const std::string& item)
{
    if (!list.empty()) list += ", ";
    list += item;
}

std::string FourCharacters(int32_t code)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char character = static_cast<char>(code >> shift);
        text += character >= ' ' && character <= '~' ? character : '?';
    }
    return text;
}

// The keys, with the vendor in front of those that are not the plug-in host's own.
std::string Properties(const MVPlugin* plugin)
{
    std::string text;
    MVPropertyList* list = nullptr;
    const MVProperty* property = nullptr;
    MVGetPluginPropertyList(plugin, &list);
    while (list && MVNextProperty(list, property, &property) == 0 && property) {
        const std::string vendor =
            property->vendor == MV_VENDOR ? "" : FourCharacters(property->vendor) + "/";
        Append(text, vendor + FourCharacters(property->key));
    }
    return text;
}

std::string State(const MVPlugin* plugin)
{
    if (Is(MVGetPluginBroken, plugin)) return Text("$$$/QLHost/Plugins/Broken=broken");
    if (Is(MVGetPluginStarted, plugin)) return Text("$$$/QLHost/Plugins/Started=started");
    return Text("$$$/QLHost/Plugins/Waiting=not started");
}

std::string Accesses(MVPlugin* plugin)
{
    MVAccess* access = nullptr;
    int32_t count = 0;
    if (MVGetPluginAccess(plugin, &access) != 0 || !access) return "-";
    MVGetAccessCount(access, &count);
    return std::to_string(count);
}

std::string Suites(const MVPlugin* plugin)
{
    std::string text;
    MVSuiteListIterator* at = nullptr;
    if (MVNewSuiteListIterator(nullptr, &at) != 0) return text;
    for (MVSuite* suite = nullptr; MVNextSuite(at, &suite) == 0 && suite;) {
        MVPlugin* host = nullptr;
        const char* name = "";
        int32_t api = 0, internal = 0;
        MVGetSuiteHost(suite, &host);
        MVGetSuiteName(suite, &name);
        MVGetSuiteAPIVersion(suite, &api);
        MVGetSuiteInternalVersion(suite, &internal);
        if (host == plugin) Append(text, name + (" " + std::to_string(api)) + "." + std::to_string(internal));
    }
    MVDeleteSuiteListIterator(at);
    return text;
}

// Counted in characters, not in bytes of UTF-8.
std::size_t Width(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

void PrintAligned(const std::vector<Row>& rows)
{
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], Width(row[i]));
    }
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += row[i] + std::string(widths[i] - Width(row[i]) + 2, ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        std::printf("%s\n", line.c_str());
    }
}

void PrintUnusableFiles()
{
    MVFileSpec* file = nullptr;
    while (MVNextFile(nullptr, file, &file) == 0 && file) {
        const char* path = "";
        const char* reason = "";
        MVGetFilePath(file, &path);
        MVGetFileReason(file, &reason);
        if (*reason) std::printf("%s: %s\n", path, reason);
    }
}

std::string ErrorText(Err err)
{
    return err > 0xFFFFFF ? "\"" + FourCharacters(err) + "\"" : std::to_string(err);
}

}  // namespace

void PluginLife::HearStartup(void* self, int32_t event, const void* data)
{
    auto& life = *static_cast<PluginLife*>(self);
    if (event == MV_Event_PLUGIN)
        Append(life.m_order[static_cast<const MVPlugin*>(data)], std::to_string(++life.m_calls));
}

PluginLife::PluginLife(const std::filesystem::path& folder, std::string& why)
{
    std::error_code unreadable;
    if (!std::filesystem::is_directory(folder, unreadable)) {
        why = folder.string() + " is no folder of plug-ins";
        return;
    }
    MVHostProcs procs{};
    procs.size = sizeof procs;
    procs.startupNotify = HearStartup;
    Err err = MVInit(&procs, this, folder.c_str());
    m_begun = err == 0;
    if (!err) err = MVStartupPlugins();
    m_started = err == 0;
    if (err) why = "the plug-ins of " + folder.string() + " cannot start: error " + ErrorText(err);
}

PluginLife::~PluginLife()
{
    if (!m_begun) return;
    MVShutdownPlugins();  // also those that had started when the startup failed
    MVTerm();
}

void PluginLife::PrintCount() const
{
    const auto plugins = Plugins();
    const auto count = [&plugins](auto reader) {
        return std::count_if(plugins.begin(), plugins.end(), [=](auto* one) { return Is(reader, one); });
    };
    std::printf("%s\n",
                Text("$$$/QLHost/Plugins/Count=Plug-ins  @0 started, @1 of them broken",
                     {std::to_string(count(MVGetPluginStarted)), std::to_string(count(MVGetPluginBroken))})
                    .c_str());
}

void PluginLife::Tell(const char* selector, int frames, int failed) const
{
    for (MVPlugin* plugin : Plugins()) {
        if (!Is(MVGetPluginStarted, plugin) || Is(MVGetPluginBroken, plugin)) continue;
        HostMessage message{};
        message.frames = frames;
        message.failed = failed;
        int32_t result = 0;
        if (MVSendMessage(plugin, HOST_CALLER, selector, &message, &result) != 0 || result != 0) continue;
        message.words[sizeof message.words - 1] = '\0';
        if (message.words[0]) std::printf("%-9s %s\n", Name(plugin).c_str(), message.words);
    }
}

std::vector<Row> PluginLife::TableRows() const
{
    std::vector<Row> rows{
        {Text("$$$/QLHost/Plugins/Name=name"), Text("$$$/QLHost/Plugins/Properties=properties"),
         Text("$$$/QLHost/Plugins/Order=order"), Text("$$$/QLHost/Plugins/State=state"),
         Text("$$$/QLHost/Plugins/Accesses=accesses"), Text("$$$/QLHost/Plugins/Suites=suites")}};
    for (MVPlugin* plugin : Plugins()) {
        const auto order = m_order.find(plugin);
        rows.push_back({Name(plugin), Properties(plugin), order == m_order.end() ? "-" : order->second,
                        State(plugin), Accesses(plugin), Suites(plugin)});
    }
    return rows;
}

void PluginLife::PrintTable() const
{
    PrintAligned(TableRows());
    PrintUnusableFiles();
}

int ShowPlugins(const std::filesystem::path& folder, const RenderOptions& options)
{
    if (const Err err = U_Birth("qlhost", false)) {
        std::fprintf(stderr, "qlhost: the library cannot start: error %d\n", err);
        return kExitLibraryFailed;
    }
    // The table has all reasons; nobody is to be stopped by a dialog for each of them as well.
    U_StartQuietErrorsOnCurrentThread(1);
    std::string why;
    if (Speak(options, why)) {
        const PluginLife life{folder, why};
        if (life.Started()) life.PrintTable();
    }
    U_EndQuietErrorsOnCurrentThread();
    U_Death();
    if (why.empty()) return kExitDone;
    std::fprintf(stderr, "qlhost: %s\n", why.c_str());
    return kExitUnusableFolder;
}

}  // namespace qlhost
