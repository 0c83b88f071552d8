// State: the installed logger, made at first use and never destroyed; guard: its own lock. A logger that is
// replaced dies outside the lock, when its last user lets go.
#include "zvkcore/config/UsageLogger.h"

#include <mutex>
#include <utility>

namespace zvkcore::config {
namespace {

struct Installed {
    std::mutex guard;
    std::shared_ptr<UsageLogger> logger;
};

Installed& TheInstalled()
{
    static Installed* const installed = new Installed;
    return *installed;
}

}  // namespace

UsageLoggerGroup::~UsageLoggerGroup() = default;

UsageLogger::~UsageLogger() = default;

std::shared_ptr<UsageLogger> UsageLogger::Get()
{
    Installed& installed = TheInstalled();
    const std::lock_guard lock{installed.guard};
    return installed.logger;
}

std::shared_ptr<UsageLogger> UsageLogger::Set(std::shared_ptr<UsageLogger> logger)
{
    Installed& installed = TheInstalled();
    const std::lock_guard lock{installed.guard};
    return std::exchange(installed.logger, std::move(logger));
}

}  // namespace zvkcore::config
