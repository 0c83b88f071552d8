/// The file that receives the trace: what a support engineer asks for.
///
///     ConsoleLogFile::GetInstance()->Open("/var/log/host/console.log", false);   // before U_Birth
///     U_Birth("Host", false);
///
/// The host opens it, and does so before the library is born: the log asks once in a process whether the file
/// exists, so one that is opened later receives the traces but not the log's own lines. Nothing in the
/// environment opens it. While it is open it is a sink of `zvkcore::debug::Trace`.
///
/// Lines are buffered, and are on disk after `Flush`, `Close` or a normal exit. Any thread may call.
#ifndef ZVKCORE_CONSOLE_CONSOLELOGFILE_H
#define ZVKCORE_CONSOLE_CONSOLELOGFILE_H

#include <string_view>

#include "zvkcore/config/Export.h"

namespace zvkcore::console {

class ConsoleLogFile {
  public:
    /// The one object; never null, and alive to the end of the process.
    ZVKCORE_EXPORT static ConsoleLogFile* GetInstance() noexcept;

    /// Opens `path` for writing, after closing what was open; the folders on its way are made. With `append`
    /// earlier content stays.
    ///
    /// returns  false, with nothing open, if the file cannot be written
    ZVKCORE_EXPORT bool Open(const char* path, bool append) noexcept;

    /// Flushes and closes; nothing happens if nothing is open.
    ZVKCORE_EXPORT void Close() noexcept;

    /// Whether a file is open.
    ZVKCORE_EXPORT bool Exists() const noexcept;

    /// Appends `text` as it stands. Without an open file nothing happens; a full disk loses the text
    /// silently.
    ZVKCORE_EXPORT void Write(std::string_view text) noexcept;

    ZVKCORE_EXPORT void Flush() noexcept;

    ConsoleLogFile(const ConsoleLogFile&) = delete;
    ConsoleLogFile& operator=(const ConsoleLogFile&) = delete;

  private:
    ConsoleLogFile() = default;
    ~ConsoleLogFile() = default;
};

}  // namespace zvkcore::console

#endif
