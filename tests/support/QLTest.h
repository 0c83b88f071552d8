/// The fixture under which every package tests: a born library without a user.
///
///     using Cache = qltest::Library;
///     TEST_F(Cache, ReportsAFullDisk)
///     {
///         Fill();
///         ASSERT_EQ(Reports().size(), 1u);               // every report, with severity, location and text
///         EXPECT_EQ(Dialogs().at(0).text, "...");        // what a user would have seen
///     }
///
/// The test runs on the UI thread. Dialogs are recorded and answered at once. The library runs as a
/// library, so a crash of the test is a plain crash.
#ifndef QL_TEST_QLTEST_H
#define QL_TEST_QLTEST_H

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "U.h"
#include "U_Err.h"
#include "zvkcore/string/Convert.h"
#include "zvkui/dialogs/MessageBox.h"

namespace qltest {

/// The library's texts as the UTF-8 that a test can print and compare, and back.
inline std::string Text(const U_UTF16String& text)
{
    return std::string(zvkcore::string::View(zvkcore::string::UTF16to8(text)));
}
inline U_UTF16String Text16(std::string_view utf8)
{
    return zvkcore::string::UTF8to16(utf8);
}

/// A dialog as a user would have seen it.
struct Dialog {
    bool isAlert;
    std::string title;
    std::string text;
    int look;  ///< the icon of a message box, the level of an alert
    float width;
};

/// Records dialogs, and answers them at once.
class RecordingPresenter : public zvkui::dialogs::Presenter {
  public:
    int ShowMessagebox(const zvkui::dialogs::messagebox::Request& request) override
    {
        return Show(
            {false, Text(request.title), Text(request.text), static_cast<int>(request.icon), request.width});
    }

    void ShowAlert(const zvkui::dialogs::Alert& alert) override
    {
        Show({true, Text(alert.header), Text(alert.message), static_cast<int>(alert.level), 0.0f});
    }

    std::vector<Dialog> dialogs;
    std::function<void()> whileShown;  ///< runs while a dialog is open; may throw

  private:
    int Show(Dialog dialog)
    {
        dialogs.push_back(std::move(dialog));
        if (whileShown) whileShown();
        return 1;
    }
};

/// A report as the logging callbacks hear of it.
struct Report {
    unsigned location;
    U_Severity severity;
    std::string text;  ///< UTF-8, with the prefix "QLTest error: " and its kin

    bool operator==(const Report&) const = default;
};

class Library : public testing::Test {
  protected:
    static constexpr char kName[] = "QLTest";

    void SetUp() override
    {
        m_formerPresenter = zvkui::dialogs::SetPresenter(m_presenter);
        ASSERT_EQ(U_Birth(kName, 1), 0);
        ASSERT_EQ(U_AddLoggingCallback(HearReport, this), 0);
    }

    void TearDown() override
    {
        EXPECT_EQ(U_Death(), 0);
        while (U_IsOnMainThread()) U_DeregisterMainThread();
        zvkui::dialogs::SetPresenter(m_formerPresenter);
    }

    RecordingPresenter& Presenter() { return *m_presenter; }
    std::vector<Dialog>& Dialogs() { return m_presenter->dialogs; }

    /// What was reported so far. Ask when no other thread reports: they are written one at a time, but read
    /// freely.
    std::vector<Report>& Reports() { return m_reports; }

    void Forget()
    {
        Reports().clear();
        Dialogs().clear();
    }

  private:
    static int HearReport(void* self, unsigned location, U_Severity severity, const char* text)
    {
        static_cast<Library*>(self)->m_reports.push_back({location, severity, text});
        return 0;
    }

    std::shared_ptr<RecordingPresenter> m_presenter = std::make_shared<RecordingPresenter>();
    std::shared_ptr<zvkui::dialogs::Presenter> m_formerPresenter;
    std::vector<Report> m_reports;
};

}  // namespace qltest

#endif
