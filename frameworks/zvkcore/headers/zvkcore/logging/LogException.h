/// A line in the trace for an exception that nobody could name.
#ifndef ZVKCORE_LOGGING_LOGEXCEPTION_H
#define ZVKCORE_LOGGING_LOGEXCEPTION_H

#include <exception>

namespace zvkcore::logging {

/// Traces `description` and what the exception tells of itself, at level 1 of the trace "Exception": the type
/// and `what()` of a `std::exception`, the value of an `int`. Null pointers are accepted. Throws nothing.
///
/// threads  any
void LogException(const std::exception_ptr& exception, const char* description) noexcept;

}  // namespace zvkcore::logging

#endif
