// From an address to the name of the function that it lies in.
#ifndef ZVKCORE_DEBUG_FUNCTIONNAMES_H
#define ZVKCORE_DEBUG_FUNCTIONNAMES_H

#include <string>

namespace zvkcore::debug {

// The demangled name, empty without one. Not safe for threads: the caller holds a lock across the call. Throws
// `std::bad_alloc`.
std::string FindFunctionName(void* address);

}  // namespace zvkcore::debug

#endif
