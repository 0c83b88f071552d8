/// Where counted events go when the host keeps a usage log.
///
/// The host implements both classes and installs its logger. When: at each event that a caller marks for the
/// usage log, on the caller's thread, several threads at once. Must: keep or drop the event, and throw
/// nothing but `std::bad_alloc`. Default: no logger, and events are dropped.
#ifndef ZVKCORE_CONFIG_USAGELOGGER_H
#define ZVKCORE_CONFIG_USAGELOGGER_H

#include <memory>

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"

namespace zvkcore::config {

/// One group of fields that travel together.
class ZVKCORE_EXPORT UsageLoggerGroup {
  public:
    virtual ~UsageLoggerGroup();
    virtual void Add(const char* key, const string::UTF8String& value) = 0;
};

class ZVKCORE_EXPORT UsageLogger {
  public:
    virtual ~UsageLogger();

    virtual std::shared_ptr<UsageLoggerGroup> NewGroup(const char* owner, const char* category,
                                                       const char* subcategory) = 0;

    /// The same, joined to earlier groups of the same id.
    virtual std::shared_ptr<UsageLoggerGroup> NewGroup(const char* owner, const char* category,
                                                       const char* subcategory,
                                                       const string::UTF8String& groupID) = 0;

    /// The installed logger, or an empty pointer.
    static std::shared_ptr<UsageLogger> Get();

    /// Installs `logger` and returns the former one; an empty pointer takes the logger away.
    static std::shared_ptr<UsageLogger> Set(std::shared_ptr<UsageLogger> logger);
};

}  // namespace zvkcore::config

#endif
