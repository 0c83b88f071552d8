/// Named switches of the application's features.
///
///     zvkappsupport::feature::SetFeatureEnabled("QL.AsyncMemoryPurging", true);
///
/// A feature that nobody has set is off, unless whoever asks says otherwise. Asking takes no lock and
/// allocates nothing, so it may be asked for every large allocation; an answer may be one change old. Names are
/// few and stay for the life of the process.
#ifndef ZVKAPPSUPPORT_FEATURE_FEATURE_H
#define ZVKAPPSUPPORT_FEATURE_FEATURE_H

#include <string_view>

#include "zvkcore/config/Export.h"

namespace zvkappsupport::feature {

/// Whether the feature is on.
///
/// threads  any
ZVKCORE_EXPORT bool IsFeatureEnabled(std::string_view name) noexcept;

/// The same for a feature that is `unset` as long as nobody has set it.
///
/// threads  any
ZVKCORE_EXPORT bool IsFeatureEnabled(std::string_view name, bool unset) noexcept;

/// Turns it on or off and returns the former answer, off if there was none. Throws `std::bad_alloc` at the first use of a name.
///
/// threads  any
ZVKCORE_EXPORT bool SetFeatureEnabled(std::string_view name, bool enabled);

}  // namespace zvkappsupport::feature

#endif
