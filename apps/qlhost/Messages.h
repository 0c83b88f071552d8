// Every sentence that the host shows, each made from a key with its English behind it, so that a dictionary can
// speak another language; and the way its problems are reported.
#ifndef QLHOST_MESSAGES_H
#define QLHOST_MESSAGES_H

#include <U_ErrState.h>

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>

namespace qlhost {

/// The text of a key with "@0", "@1" and so on replaced.
std::string Text(const char* key, std::initializer_list<std::string> arguments = {});

std::string ProgressText(std::size_t done, std::size_t all, std::uint64_t inUse);
std::string MebiBytes(std::uint64_t bytes);

/// One report for a frame that cannot be read. From a render thread it is posted. `gathered` says that a title
/// stands around it; without one the reports find together by their kind.
void ReportUnreadableFrame(const std::filesystem::path& file, const std::string& why, bool gathered);

/// One report for a render thread that ended early with this code.
void ReportEndedRender(int err);

/// One report for something that went wrong with a matte; `frame` is below 0 for what belongs to no frame. They find
/// together in one group.
void ReportMatteProblem(int frame, const std::string& why);

/// Gathers the problems of the calling thread under a title; does nothing for an empty one.
class GatherScope {
  public:
    explicit GatherScope(const std::string& title);

  private:
    std::optional<U_ScErrorDialogAggregation> m_aggregation;
};

}  // namespace qlhost

#endif
