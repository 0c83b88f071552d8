// Names an exception by throwing it again. No state.
#include "zvkcore/logging/LogException.h"

#include <boost/core/demangle.hpp>
#include <string>
#include <typeinfo>

#include "zvkcore/debug/Trace.h"

namespace zvkcore::logging {
namespace {

constexpr int kLevel = 1;
constexpr const char* kChannel = "Exception";

std::string Describe(const std::exception_ptr& exception)
{
    if (exception == nullptr) return "no exception";
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception& named) {
        const char* const what = named.what();
        return boost::core::demangle(typeid(named).name()) + ": " + (what == nullptr ? "" : what);
    } catch (int code) {
        return "error code " + std::to_string(code);
    } catch (...) {
        return "an exception of unknown type";
    }
}

}  // namespace

void LogException(const std::exception_ptr& exception, const char* description) noexcept
{
    try {
        if (!debug::TraceEnabled(kChannel, kLevel, true)) return;
        std::string line = description == nullptr ? "" : description;
        line += line.empty() ? "" : ": ";
        line += Describe(exception);
        line += '\n';
        debug::Trace(kLevel, kChannel, line);
    } catch (const std::exception&) {
        debug::Trace(kLevel, kChannel, "out of memory while logging an exception\n");
    }
}

}  // namespace zvkcore::logging
