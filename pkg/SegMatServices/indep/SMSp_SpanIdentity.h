// The identity under which an object of a span manager caches its results.
#ifndef SMSP_SPANIDENTITY_H
#define SMSP_SPANIDENTITY_H

#include <cstdint>
#include <string_view>

#include "zvkcore/utility/Guid.h"

namespace tessaly {

// The hash of a label, of the manager's identity and of an index, in this order.
zvkcore::utility::Guid SpanIdentity(std::string_view label, const zvkcore::utility::Guid& manager,
                                    int32_t index);

}  // namespace tessaly

#endif
