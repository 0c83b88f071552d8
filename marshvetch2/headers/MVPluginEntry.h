/// The entry point of a plug-in, for its author. Needs nothing but this header; C and C++.
///
///     MV_PLUGIN_ENTRY(caller, selector, message)
///     {
///         if (strcmp(caller, "MV Interface") == 0 && strcmp(selector, "Startup") == 0) return Start(message);
///         return 0;  // what a plug-in does not know it leaves alone
///     }
///
/// The host calls it for every message, on the one thread that drives the plug-in host.
///
/// caller, selector  what the message is: texts, valid while the library's plug-in host runs
/// message           the message's record; it begins with an `MVMessageData` (MVPlugins.h)
/// returns           0, or the plug-in's own code. "S!Fd" at startup asks for another try once a suite has come;
///                   any other code marks the plug-in as broken. A code at "Unload" refuses to be unloaded
/// throws            better nothing: an exception that leaves it is caught by the host, reported, and becomes
///                   the call's code
#ifndef MV_PLUGINENTRY_H
#define MV_PLUGINENTRY_H

#ifdef __cplusplus
#define MV_PLUGIN_LINKAGE extern "C"
#else
#define MV_PLUGIN_LINKAGE
#endif

/// Declares the entry point, the exported function `MVPluginMain`, and stands in front of its body. The arguments
/// are the names of its parameters.
#define MV_PLUGIN_ENTRY(caller, selector, message)                             \
    MV_PLUGIN_LINKAGE __attribute__((visibility("default"))) int MVPluginMain( \
        const char* caller, const char* selector, void* message);              \
    int MVPluginMain(const char* caller, const char* selector, void* message)

#endif
