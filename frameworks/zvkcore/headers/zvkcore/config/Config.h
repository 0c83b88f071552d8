/// What the host tells the library about itself, and the switch of the frameworks' own crash handling.
///
/// Set these before the library is born. Any thread may call.
#ifndef ZVKCORE_CONFIG_CONFIG_H
#define ZVKCORE_CONFIG_CONFIG_H

#include <stdexcept>

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"

namespace zvkcore::config {

/// The name of the application as people know it: the title of every dialog. By default the file name of the
/// running program.
ZVKCORE_EXPORT string::UTF16String GetClientName();

/// Sets that name; an empty one restores the default.
ZVKCORE_EXPORT void SetClientName(string::UTF16View name);

/// Whether this is a prerelease build of the application; false by default.
ZVKCORE_EXPORT bool IsBetaPrime() noexcept;

/// Sets that and returns the former answer.
ZVKCORE_EXPORT bool SetIsBetaPrime(bool beta) noexcept;

/// What `ThrowError` throws when nobody has installed anything better.
class ZVKCORE_EXPORT Error : public std::runtime_error {
  public:
    Error(int level, const char* text);
    ~Error() override;

    int GetLevel() const noexcept { return m_level; }

  private:
    int m_level;
};

/// Turns a localisable text into a thrown error. When: at each `ThrowError`, on its thread. Must: throw; one
/// that returns lets the default throw after it.
using ErrorThrower = void (*)(int level, const char* text);

/// Installs the thrower and returns the former one; null restores the default.
ZVKCORE_EXPORT ErrorThrower SetErrorThrower(ErrorThrower thrower) noexcept;

/// Raises an error that its text names to people.
///
/// level  how bad, in the thrower's own terms
/// text   a key with its English default behind an equals sign, or plain text; the default shows the English
[[noreturn]] ZVKCORE_EXPORT void ThrowError(int level, const char* text);

/// Turns the frameworks' crash handling on: when the process terminates for an exception, that exception is
/// traced and the console log file flushed before the former terminate handler runs. Off by default.
ZVKCORE_EXPORT void InstallUnhandledExceptionHandler() noexcept;

/// Takes that handling out of the way, so that somebody's own handler may be put under it; nothing happens if
/// it is off.
ZVKCORE_EXPORT void UninstallUnhandledExceptionHandler() noexcept;

/// Puts back what `UninstallUnhandledExceptionHandler` took away, and nothing else.
ZVKCORE_EXPORT void ReinstallUnhandledExceptionHandler() noexcept;

}  // namespace zvkcore::config

#endif
