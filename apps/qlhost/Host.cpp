#include "Host.h"

#include <U.h>
#include <U_Memory.h>
#include <U_ZString.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "Messages.h"
#include "zvkcore/config/Config.h"
#include "zvkcore/console/ConsoleLogFile.h"
#include "zvkcore/debug/Trace.h"

namespace qlhost {
namespace {

using namespace zvkcore::string::literals;

constexpr std::uint64_t kMiB = 1048576;

// Whether the log file exists is asked once, at the library's first log line, so it is opened before birth.
bool OpenLog(const RenderOptions& options, std::string& why)
{
    const auto file = options.log.empty() ? options.out / "qlhost.log" : options.log;
    if (!zvkcore::console::ConsoleLogFile::GetInstance()->Open(file.c_str(), false)) {
        why = "cannot write the log " + file.string();
        return false;
    }
    zvkcore::debug::SetTraceLevel("ALOG", 5);
    return true;
}

// The units of a file, and its size, which may be odd.
std::vector<unsigned short> ReadUnits(const std::filesystem::path& path, std::size_t& size)
{
    std::ifstream file{path, std::ios::binary};
    const std::string bytes{std::istreambuf_iterator<char>{file}, {}};
    std::vector<unsigned short> units((bytes.size() + 1) / 2);
    bytes.copy(reinterpret_cast<char*>(units.data()), bytes.size());
    size = bytes.size();
    return units;
}

// Errors that the library names by a key speak the language of the dictionary, like everything else.
void ThrowTranslated(int level, const char* text)
{
    throw zvkcore::config::Error{level, Text(text).c_str()};
}

}  // namespace

LibraryLife::LibraryLife(const RenderOptions& options, std::string& why)
{
    if (!OpenLog(options, why)) return;
    zvkcore::config::SetClientName(u"qlhost"_u16);
    zvkcore::config::SetErrorThrower(ThrowTranslated);
    if (const Err err = U_Birth("qlhost", false)) {
        why = "the library cannot start: error " + std::to_string(err);
        return;
    }
    m_born = Speak(options, why);
    if (!m_born) {
        U_Death();
        return;
    }
    // The second limit is the one that a user thinks of; the first lies 1 MiB below it.
    U_SetMemUsageLimits(options.limitMiB * kMiB, options.limitMiB * kMiB);
}

LibraryLife::~LibraryLife()
{
    if (m_born) U_Death();
}

bool Speak(const RenderOptions& options, std::string& why)
{
    if (options.english) U_ZStringSetEnglish();
    if (options.dictionary.empty()) return true;
    // The stored form is read as 16-bit units; its size is given in bytes.
    std::size_t size = 0;
    const std::vector<unsigned short> units = ReadUnits(options.dictionary, size);
    const Err err = U_ZStringSetCurrentDictionary(units.data(), size);
    if (err) why = options.dictionary.string() + " is no dictionary (error " + std::to_string(err) + ")";
    return err == U_Err_NONE;
}

}  // namespace qlhost
