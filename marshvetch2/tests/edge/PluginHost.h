// A host for tests over real plug-ins: a born library, a runtime over a folder, and what the runtime told.
#ifndef MV_TEST_PLUGINHOST_H
#define MV_TEST_PLUGINHOST_H

#include <dlfcn.h>

#include <filesystem>
#include <string>
#include <vector>

#include "MVPlugins.h"
#include "QLTest.h"

class PluginHost : public qltest::Library {
  protected:
    void TearDown() override
    {
        End();
        Library::TearDown();
    }

    void Begin(const std::filesystem::path& folder)
    {
        MVHostProcs procs{};
        procs.size = sizeof procs;
        procs.startupNotify = [](void* self, int32_t event, const void* data) {
            if (event == MV_Event_PLUGIN)
                static_cast<PluginHost*>(self)->started.push_back(Name(static_cast<const MVPlugin*>(data)));
        };
        procs.debugTrap = [](void* self, const char* sentence) {
            static_cast<PluginHost*>(self)->debugged.push_back(sentence);
        };
        procs.overrideStartup = [](void* self, MVPlugin* plugin) {
            return int32_t{static_cast<PluginHost*>(self)->keptBack == Name(plugin)};
        };
        ASSERT_EQ(MVInit(&procs, this, folder.c_str()), 0);
        m_runs = true;
    }

    /// Ends the runtime, if there is one: no block may be left, and no code.
    void End()
    {
        if (!m_runs) return;
        m_runs = false;
        debugged.clear();
        EXPECT_EQ(MVTerm(), 0);
        EXPECT_EQ(debugged, std::vector<std::string>{});
    }

    static std::string Name(const MVPlugin* plugin)
    {
        const char* name = "";
        MVGetPluginName(plugin, &name);
        return name;
    }

    static MVPlugin* Named(const char* name)
    {
        MVPlugin* plugin = nullptr;
        MVGetNamedPlugin(nullptr, name, &plugin);
        EXPECT_NE(plugin, nullptr) << name;
        return plugin;
    }

    /// The names of all plug-ins, from the head of the list.
    static std::vector<std::string> Names()
    {
        std::vector<std::string> names;
        MVPluginListIterator* at = nullptr;
        EXPECT_EQ(MVNewPluginListIterator(nullptr, &at), 0);
        for (MVPlugin* plugin = nullptr; MVNextPlugin(at, &plugin) == 0 && plugin;)
            names.push_back(Name(plugin));
        MVDeletePluginListIterator(at);
        return names;
    }

    /// Whether the dynamic loader holds this file.
    static bool InMemory(const std::filesystem::path& file)
    {
        void* loaded = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (loaded) dlclose(loaded);
        return loaded != nullptr;
    }

    /// The count of a plug-in's access; -1 when its code is not in memory.
    static int32_t AccessCount(const char* name)
    {
        MVAccess* access = nullptr;
        int32_t count = -1;
        if (MVGetPluginAccess(Named(name), &access) == 0 && access) MVGetAccessCount(access, &count);
        return count;
    }

    std::vector<std::string> started;   ///< names of plug-ins about to start, in that order
    std::vector<std::string> debugged;  ///< what debugTrap heard
    std::string keptBack;               ///< the name of a plug-in that the startup pass leaves out

  private:
    bool m_runs = false;
};

#endif
