// Exceptions to error codes: what every exported function that can throw rests on.
#include <limits>
#include <map>
#include <memory>
#include <optional>

#include "U_ZString.h"
#include "Up_Err.h"
#include "Up_Globals.h"
#include "Up_Handlers.h"
#include "zvkcore/logging/LogException.h"

namespace {

using Translator = std::function<bool(std::exception*, int*)>;
using TranslatorLock = zvkcore::threads::RecursiveMutex::ScopedLock;

// The mutex and the key are there from load to unload, the table from birth to death. The mutex guards
// both, and is held while translators run.
zvkcore::threads::RecursiveMutex g_mutex{"U.ExceptionTranslators"};
std::unique_ptr<std::map<unsigned, Translator>> g_translators;
unsigned S_translator_nextkey = 100;

/// Reports the outcome of a translation, but not from inside such a report: a logging callback that throws
/// at every call would otherwise be translated and reported without end.
void ReportTranslation(U_Severity severity, const char* text)
{
    thread_local bool t_isReporting = false;
    if (t_isReporting) return;
    struct Scope {
        explicit Scope(bool& flag) : m_flag(flag) { m_flag = true; }
        ~Scope() { m_flag = false; }
        bool& m_flag;
    } scope(t_isReporting);
    Up_ReportErrString(0, severity, text);
}

// A translator that throws does not know the exception.
bool Knows(const Translator& translator, std::exception& exception, int& code)
{
    try {
        return translator && translator(&exception, &code);
    } catch (...) {
        return false;
    }
}

/// The translator with the highest key below `key`, copied: it may take itself out while it runs.
std::optional<std::pair<unsigned, Translator>> TranslatorBefore(unsigned key)
{
    if (!g_translators) return std::nullopt;
    auto found = g_translators->lower_bound(key);
    if (found == g_translators->begin()) return std::nullopt;
    return *--found;
}

// Translating must not fail in turn: when the table cannot be had, or copied from, nobody knows the
// exception.
bool AskTranslators(std::exception& exception, int& code) noexcept
try {
    const TranslatorLock lock(g_mutex, nullptr, Up_kLockTimeoutMilliseconds);
    unsigned key = std::numeric_limits<unsigned>::max();
    while (const auto translator = TranslatorBefore(key)) {
        if (Knows(translator->second, exception, code)) return true;
        key = translator->first;
    }
    return false;
} catch (...) {
    return false;
}

// What is logged is an exception thrown here, not the one that nobody knew: the log line marks the place.
int Up_HandleUntranslatedException()
{
    try {
        throw std::exception();
    } catch (...) {
        zvkcore::logging::LogException(std::current_exception(),
                                       "Err Up_HandleUntranslatedException(std::exception &)");
    }
    ReportTranslation(U_Sev_WARNING, "Unknown Exception.");
    return U_Err_UNKNOWN;
}

}  // namespace

void Up_BirthTranslators()
{
    auto translators = std::make_unique<std::map<unsigned, Translator>>();
    const TranslatorLock lock(g_mutex, nullptr, Up_kLockTimeoutMilliseconds);
    g_translators = std::move(translators);
}

void Up_DeathTranslators()
{
    const TranslatorLock lock(g_mutex, nullptr, Up_kLockTimeoutMilliseconds);
    g_translators.reset();
}

unsigned U_RegisterExceptionTranslatorImpl(std::function<bool(std::exception*, int*)> translator)
{
    const TranslatorLock lock(g_mutex, nullptr, Up_kLockTimeoutMilliseconds);
    if (!g_translators) return 0;
    g_translators->emplace(S_translator_nextkey, std::move(translator));
    return S_translator_nextkey++;
}

void U_UnregisterExceptionTranslator(unsigned key)
{
    const TranslatorLock lock(g_mutex, nullptr, Up_kLockTimeoutMilliseconds);
    if (g_translators) g_translators->erase(key);
}

int U_TranslateAndReportException(std::exception& exception)
{
    // Who ran out of memory has reported it, through the new handler.
    if (dynamic_cast<std::bad_alloc*>(&exception)) return U_Err_OUT_OF_MEMORY;
    if (dynamic_cast<std::bad_cast*>(&exception)) {
        ReportTranslation(U_Sev_PROBLEM, "Unexpected data type");
        return U_Err_BAD_PARAMETER;
    }
    int code = U_Err_UNKNOWN;
    if (AskTranslators(exception, code)) return code;
    return Up_HandleUntranslatedException();
}

void U_Throw_Damaged_Project(unsigned errorCode)
{
    U_ReportError(
        errorCode, U_Sev_PROBLEM,
        U_ZStringToUTF16String("$$$/U/Error/DamagedProject=This project appears to be damaged, and poses a "
                               "possible security risk."));
    throw static_cast<int>(U_Err_DAMAGED);
}
