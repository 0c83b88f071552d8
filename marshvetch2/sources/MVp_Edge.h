/// The platform's half of the plug-in host: files in a folder, property lists in files, code in memory.
///
/// The portable half decides what is loaded and when; this half does it, for plug-ins that the built-in adapter
/// serves and that come from a file. Host plug-ins never get here: their entry point is in the host already.
/// One thread at a time, as everywhere in the plug-in host; a runtime is there in every call. Nothing may let an
/// exception out but `std::bad_alloc`.
///
/// Why a file cannot be used is said in words, by `MVSetFileReason`: one line, naming the cause ("no section of
/// properties", "the symbol MVPluginMain is missing"), without the path. The reason of an earlier failure is
/// taken back (null) when the file serves after all.
#ifndef MVP_EDGE_H
#define MVP_EDGE_H

#include <span>

#include "MVPlugins.h"

/// Lists the plug-ins of a folder and of those inside it, without running any code of theirs.
///
/// Each regular file that `files` lacks is added to it (`MVAddFile`), in the order of their paths, so that the
/// listing does not depend on the file system. Those that can be plug-ins of the built-in adapter get their
/// property list read and are listed (`mvAddPlugins`); all others get a reason. A single bad file ends nothing.
///
/// returns  0; "Parm" when the folder cannot be read; 4. Then neither list has anything of this folder's that it had
///          not before
Err mvEdgeAddPlugins(MVPluginList* plugins, MVFileList* files, const char* folder);

/// Reads the property list of a plug-in file, with every offset and length checked.
///
/// properties  a fresh list that the caller frees; null on failure
/// returns     0; "!Acq" with a reason in `file`; 4
Err mvEdgeReadProperties(MVFileSpec* file, MVPropertyList** properties);

/// What loading the code of a file gives.
struct MVEdgeCode {
    void* info;           ///< what the platform knows the code by; belongs to the access
    MVPluginEntry entry;  ///< its entry point
};

/// Loads the code of `plugin`, which has a file (`MVGetPluginFileSpec`), and finds its entry point.
///
/// code     written on success only
/// returns  0; "!Acq" with a reason in the file, and nothing stays loaded; 4
Err mvEdgeCreateAccess(MVPlugin* plugin, MVEdgeCode* code);

/// Calls the entry point of loaded code. Does what the platform needs around it, and leaves the call itself to
/// `mvCallEntry`.
///
/// result   the plug-in's own
/// returns  what `mvCallEntry` does
Err mvEdgeCallPlugin(MVPlugin* plugin, const MVEdgeCode& code, const char* caller, const char* selector,
                     void* message, int32_t* result);

/// Unloads the code. It is gone for the portable half whatever is returned.
Err mvEdgeDestroyAccess(MVPlugin* plugin, const MVEdgeCode& code);

/// Lets go of what the platform keeps beyond accesses; gives how many pieces of code that were.
int32_t mvEdgeFlushAccess(int32_t disposeType);

/// Whether `address` lies inside the loaded code or its data: a table there is withdrawn before an unload.
bool mvEdgeHoldsAddress(const MVEdgeCode& code, const void* address);

// --- What the portable half gives the edge -----------------------------------------------------------------

/// Calls an entry point and keeps its exceptions inside: one that leaves it is reported and becomes the code, an
/// `int` as it is, a `std::exception` as it is translated, any other as 14. This is the one place where code of a
/// plug-in is entered.
///
/// result   what the entry point returned; 0 when it threw
Err mvCallEntry(MVPluginEntry entry, const char* caller, const char* selector, void* message,
                int32_t* result);

/// A file that turned out to be a plug-in.
struct MVFoundPlugin {
    MVFileSpec* file;
    MVPropertyList* properties;  ///< the plug-in's, once it is listed
    const char* name;            ///< null for the file's name
};

/// Lists plug-ins of the built-in adapter, the first of them at the head of the list, or, on failure, none of them.
Err mvAddPlugins(MVPluginList* list, std::span<const MVFoundPlugin> found);

/// Takes files out of a list and frees them. They stand in the order in which they were added.
void mvForgetFiles(MVFileList* list, std::span<MVFileSpec* const> files);

#endif
