// From an address to the name of the function that it lies in.
#ifndef ZVKCORE_DEBUG_FUNCTIONNAMES_H
#define ZVKCORE_DEBUG_FUNCTIONNAMES_H

#include <string>

namespace zvkcore::debug {

// The demangled name, empty without one. Any thread may call; the caller holds no lock. Throws
// `std::bad_alloc`.
std::string FindFunctionName(void* address);

}  // namespace zvkcore::debug

#endif
