// The plug-ins of this host: listed and started from a folder, told of the run, shown, and shut down.
#ifndef QLHOST_PLUGINS_H
#define QLHOST_PLUGINS_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "Options.h"
#include "SampleMessages.h"

namespace qlhost {

class PluginLife {
  public:
    /// Begins the plug-in host over a folder and starts what is there. On failure `why` says what is wrong. The
    /// library must be born, and stay so; one of these at a time, on one thread.
    PluginLife(const std::filesystem::path& folder, std::string& why);
    ~PluginLife();
    PluginLife(const PluginLife&) = delete;
    PluginLife& operator=(const PluginLife&) = delete;

    bool Started() const { return m_started; }

    /// Prints how many plug-ins were started and how many of them are broken.
    void PrintCount() const;

    /// Sends every plug-in that runs a message about the run, and prints what they put in.
    void Tell(const char* selector, int frames, int failed) const;

    /// Prints a table of the plug-ins and, behind it, the files that cannot be used, each with its reason.
    void PrintTable() const;

  private:
    static void HearStartup(void* self, int32_t event, const void* data);
    std::vector<std::vector<std::string>> TableRows() const;

    // The numbers of the startup calls that each plug-in got; several for one that waited for a suite.
    std::map<const MVPlugin*, std::string> m_order;
    int m_calls = 0;
    bool m_begun = false;
    bool m_started = false;
};

/// The command "plugins": starts the plug-ins of a folder, prints the table in the language that the options ask for,
/// and shuts them down. Gives the exit code.
int ShowPlugins(const std::filesystem::path& folder, const RenderOptions& options);

}  // namespace qlhost

#endif
