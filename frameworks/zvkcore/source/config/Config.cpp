// State, all of it made at load time or first use and never destroyed:
//   TheName()     the client name; guard: its own lock
//   g_beta        atomic
//   g_thrower     atomic; null for the default
//   g_handling    the terminate handler under ours and what the host wants; guard: g_handlingGuard, but for
//                 `former`, which the handler itself reads while the process ends
#include "zvkcore/config/Config.h"

#include <errno.h>

#include <atomic>
#include <exception>
#include <mutex>

#include "zvkcore/console/ConsoleLogFile.h"
#include "zvkcore/logging/LogException.h"
#include "zvkcore/string/Convert.h"

namespace zvkcore::config {
namespace {

struct Name {
    std::mutex guard;
    string::UTF16String text;  // empty for the default
};

Name& TheName()
{
    static Name* const name = new Name;
    return *name;
}

enum class Handling { kOff, kOn, kAway };

constinit std::atomic<bool> g_beta{false};
constinit std::atomic<ErrorThrower> g_thrower{nullptr};
constinit std::mutex g_handlingGuard;
constinit Handling g_handling = Handling::kOff;
constinit std::atomic<std::terminate_handler> g_formerTerminate{nullptr};

// The English default behind the first equals sign of a key; any other text as it stands.
const char* EnglishDefault(const char* text)
{
    if (text == nullptr) return "";
    const std::string_view view{text};
    const std::size_t equals = view.find('=');
    return view.starts_with("$$$") && equals != view.npos ? text + equals + 1 : text;
}

[[noreturn]] void OnTerminate()
{
    logging::LogException(std::current_exception(), "unhandled exception");
    console::ConsoleLogFile::GetInstance()->Flush();
    if (const std::terminate_handler former = g_formerTerminate.load()) former();
    std::abort();
}

void PutHandlerInPlace()
{
    const std::terminate_handler former = std::set_terminate(OnTerminate);
    if (former != OnTerminate) g_formerTerminate.store(former);
    g_handling = Handling::kOn;
}

}  // namespace

string::UTF16String GetClientName()
{
    Name& name = TheName();
    {
        const std::lock_guard lock{name.guard};
        if (!name.text.empty()) return name.text;
    }
    return string::UTF8to16(std::string_view{program_invocation_short_name});
}

void SetClientName(string::UTF16View text)
{
    string::UTF16String copy{text};
    Name& name = TheName();
    const std::lock_guard lock{name.guard};
    name.text.swap(copy);
}

bool IsBetaPrime() noexcept
{
    return g_beta.load(std::memory_order_relaxed);
}

bool SetIsBetaPrime(bool beta) noexcept
{
    return g_beta.exchange(beta);
}

Error::Error(int level, const char* text) : std::runtime_error{EnglishDefault(text)}, m_level{level} {}

Error::~Error() = default;

ErrorThrower SetErrorThrower(ErrorThrower thrower) noexcept
{
    return g_thrower.exchange(thrower);
}

void ThrowError(int level, const char* text)
{
    if (const ErrorThrower thrower = g_thrower.load()) thrower(level, text);
    throw Error{level, text};
}

void InstallUnhandledExceptionHandler() noexcept
{
    const std::lock_guard lock{g_handlingGuard};
    if (g_handling != Handling::kOn) PutHandlerInPlace();
}

// A handler that somebody has set above ours cannot be taken away from here: then ours stays under it.
void UninstallUnhandledExceptionHandler() noexcept
{
    const std::lock_guard lock{g_handlingGuard};
    if (g_handling != Handling::kOn) return;
    if (std::get_terminate() == OnTerminate) std::set_terminate(g_formerTerminate.load());
    g_handling = Handling::kAway;
}

void ReinstallUnhandledExceptionHandler() noexcept
{
    const std::lock_guard lock{g_handlingGuard};
    if (g_handling == Handling::kAway) PutHandlerInPlace();
}

}  // namespace zvkcore::config
