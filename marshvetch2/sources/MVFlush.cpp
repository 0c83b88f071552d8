// Flushing: which accesses may go, and asking everybody who has a say.
//
// Messages of a flush may load and release other plug-ins, and so change the list that is walked. Each flush has a
// number; an access that it has seen carries it, and one that comes meanwhile carries it from the start. So the walk
// begins at the head again after each access, and ends. A flush inside a flush does nothing.
#include "MVp_Accesses.h"
#include "MVp_Edge.h"
#include "U_TrySection.h"

namespace {

Err mvDefaultFlush(const char*, void*, int32_t* shouldFlush)
{
    *shouldFlush = 1;
    return U_Err_NONE;
}

// Host plug-ins have no code that could go, and the kind of the others is told by "StsP".
bool IsOfType(const MVPlugin* plugin, int32_t disposeType)
{
    if (disposeType == MV_Dispose_UNUSED) return true;
    if (plugin->hostEntry) return false;
    const bool stays = mvStartProperty(plugin, MV_Key_STAYS) != nullptr;
    return stays == (disposeType == MV_Dispose_STAYING);
}

// Plug-ins that other adapters serve go first: the plug-ins behind those adapters are needed for it, and would be
// loaded again otherwise.
MVAccess* NextUnseen(int32_t disposeType)
{
    const uint32_t serial = g_mvRuntime->flushSerial;
    for (const bool builtIn : {false, true})
        for (MVAccess* access = g_mvRuntime->accesses; access; access = access->next) {
            if (access->flushSerial == serial || mvIsBuiltIn(access->plugin) != builtIn) continue;
            access->flushSerial = serial;
            if (disposeType != MV_Dispose_UNUSED || access->count == 0) return access;
        }
    return nullptr;
}

}  // namespace

Err mvFlushAccesses(MVFlushProc flushProc, int32_t* flushed, int32_t disposeType)
{
    *flushed = 0;
    if (g_mvRuntime->flushing) {
        mvAssert("a flush is asked for inside a flush");
        return U_Err_NONE;
    }
    const MVFlushScope scope;
    if (!flushProc) flushProc = mvDefaultFlush;
    while (MVAccess* access = NextUnseen(disposeType)) {
        int32_t shouldFlush = 0;
        const Err error = flushProc(g_mvRuntime->names[kNameFlushAccess], access, &shouldFlush);
        if (error != U_Err_NONE) return error;
        // What the answer took: the host may have released, acquired or shut down meanwhile.
        if (!shouldFlush || !mvStands(access) || !IsOfType(access->plugin, disposeType)) continue;
        if (disposeType == MV_Dispose_UNUSED && access->count > 0) continue;
        if (mvDestroyAccess(access) == U_Err_NONE) ++*flushed;
    }
    *flushed += mvEdgeFlushAccess(disposeType);
    return U_Err_NONE;
}

Err MVFlushAccesses(MVFlushProc flushProc, int32_t* flushed, int32_t disposeType)
{
    int32_t count = 0;
    if (!g_mvRuntime || disposeType < MV_Dispose_UNUSED || disposeType > MV_Dispose_STAYING)
        return MV_Err_PARAMETER;
    const Err error = U_TrySection([&] { return mvFlushAccesses(flushProc, &count, disposeType); });
    if (flushed) *flushed = count;
    return error;
}

Err MVFlushCaches(MVFlushProc flushProc, int32_t* flushed)
{
    return MVFlushAccesses(flushProc, flushed, MV_Dispose_UNUSED);
}
