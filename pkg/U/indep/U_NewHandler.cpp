// What `operator new` asks when memory runs out: nothing can be freed here, but somebody is told.
#include <cstdio>
#include <new>
#include <utility>

#include "Up_Err.h"
#include "Up_ErrText.h"
#include "Up_Handlers.h"

namespace {

constexpr unsigned kLocation = 0x170028;

// From birth to death. The words are a copy: the table they come from ends before the handler does.
char g_text[256];
std::new_handler g_former = nullptr;
bool g_isInstalled = false;

// A report may itself run out of memory, and must not report that in turn without end.
thread_local bool t_isReporting = false;

}  // namespace

Err Up_InstallReportingNewHandler()
{
    std::snprintf(g_text, sizeof g_text, "%s", Up_String(33));
    const std::new_handler former = std::set_new_handler(Up_ReportingThrowingNewHandler);
    if (!g_isInstalled) g_former = former;
    g_isInstalled = true;
    return U_Err_NONE;
}

void Up_RemoveReportingNewHandler()
{
    if (!std::exchange(g_isInstalled, false)) return;
    std::set_new_handler(std::exchange(g_former, nullptr));
}

void Up_ReportingThrowingNewHandler()
{
    if (!t_isReporting && U_IsOnMainThread()) {
        struct Scope {
            Scope() { t_isReporting = true; }
            ~Scope() { t_isReporting = false; }
        } scope;
        Up_ReportErrString(kLocation, U_Sev_PLAIN, g_text);
    }
    throw std::bad_alloc();
}
