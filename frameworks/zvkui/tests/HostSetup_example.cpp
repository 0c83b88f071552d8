// The examples of docs/guides/frameworks.md, compiled and run.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "zvkappsupport/feature/Feature.h"
#include "zvkcore/allocator/MemoryRecycler.h"
#include "zvkcore/config/Config.h"
#include "zvkcore/console/ConsoleLogFile.h"
#include "zvkcore/debug/Trace.h"
#include "zvkcore/string/NumberLocale.h"
#include "zvkui/dialogs/MessageBox.h"

namespace {

// [setup]
using namespace zvkcore::string::literals;

void SetUpBeforeBirth(const char* logPath)
{
    zvkcore::config::SetClientName(u"Northlight"_u16);
    zvkcore::console::ConsoleLogFile::GetInstance()->Open(logPath, /*append=*/false);
    zvkcore::string::SetNumberLocale("de_DE");
    zvkcore::allocator::MemoryRecycler::SetPoolLimit(std::uint64_t{1} << 30);
    zvkappsupport::feature::SetFeatureEnabled("QL.AsyncMemoryPurging", true);
}
// [setup]

// [presenter]
class StatusLine : public zvkui::dialogs::Presenter {
  public:
    int ShowMessagebox(const zvkui::dialogs::messagebox::Request& request) override
    {
        m_last = request.text;
        return static_cast<int>(request.button);
    }
    const zvkcore::string::UTF16String& Last() const { return m_last; }

  private:
    zvkcore::string::UTF16String m_last;
};
// [presenter]

TEST(HostSetup, OfTheGuideWorks)
{
    const auto path = std::filesystem::path{testing::TempDir()} / "qlhostsetup" / "console.log";
    SetUpBeforeBirth(path.c_str());
    zvkcore::debug::Trace(5, "ALOG", "ready\n");
    auto* const log = zvkcore::console::ConsoleLogFile::GetInstance();
    log->Close();
    std::string line;
    std::getline(std::ifstream{path} >> std::ws, line);
    EXPECT_EQ(line, "ready");
    std::filesystem::remove_all(path.parent_path());

    const auto statusLine = std::make_shared<StatusLine>();
    zvkui::dialogs::SetPresenter(statusLine);
    zvkui::dialogs::ShowAlert({u"Northlight"_u16, u"a frame is missing"_u16, u"OK"_u16, {}, {}});
    EXPECT_EQ(zvkcore::string::View(statusLine->Last()), u"a frame is missing");

    zvkui::dialogs::SetPresenter(nullptr);
    zvkappsupport::feature::SetFeatureEnabled("QL.AsyncMemoryPurging", false);
    zvkcore::allocator::MemoryRecycler::SetPoolLimit(zvkcore::allocator::MemoryRecycler::kDefaultPoolLimit);
    zvkcore::string::SetNumberLocale(nullptr);
    zvkcore::config::SetClientName({});
}

}  // namespace
