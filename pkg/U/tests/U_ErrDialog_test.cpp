#include "QLTest.h"
#include "TelemetryRecorder.h"
#include "U_ErrState.h"
#include "Up_Err.h"
#include "zvkcore/config/Config.h"
#include "zvkcore/utility/ScAutoreleasePool.h"

namespace {

using errorstest::Provider;
using qltest::Text;
using qltest::Text16;
using Texts = std::vector<std::string>;

class Supplier : public zvkui::sketchbot::SupplierInterface {};

class Window : public zvkui::ui::UI_Node {
  public:
    explicit Window(int* alive) : m_alive(alive) { ++*m_alive; }
    ~Window() override { --*m_alive; }

  private:
    int* m_alive;
};

class Manager : public zvkui::ui::UI_NodeManager {
  public:
    Manager() : m_former(Set(this)) {}
    ~Manager() override { Set(m_former); }
    zvkui::ui::UI_NodePtr GetInputCapture() override { return captured; }
    void EndInputCapture(bool cancel) override { ended = cancel, captured.reset(); }

    zvkui::ui::UI_NodePtr captured;
    bool ended = false;

  private:
    UI_NodeManager* m_former;
};

class ErrDialog : public qltest::Library {
  protected:
    void SetUp() override
    {
        zvkcore::config::SetClientName(zvkcore::string::Units(u"Sample"));
        Library::SetUp();
    }
    void TearDown() override
    {
        Library::TearDown();
        zvkcore::config::SetClientName({});
    }
};

struct LookRow {
    U_Severity severity;
    int icon, level;
};
const LookRow kLooks[] = {{1, 0, 0},  {2, 4, 1},  {4, 2, 2},  {8, 1, 0},
                          {16, 1, 0}, {32, 4, 1}, {64, 4, 1}, {128, 4, 1}};

TEST_F(ErrDialog, IsAMessageBoxOverTheWindowAndAnAlertWithoutOne)
{
    int alive = 0;
    Supplier supplier;
    for (const LookRow& row : kLooks) {
        SCOPED_TRACE(row.severity);
        Forget();
        Up_ReportErrorDialog(Text16("( 1 :: 2 )"), row.severity, Text16("message"), 600.0f);
        U_SetSketchbotValuesForUErrors(&supplier, new Window(&alive));
        Up_ReportErrorDialog(Text16("( 1 :: 2 )"), row.severity, Text16("message"), 600.0f);
        Up_ReportErrorDialog({}, row.severity, Text16("message"), 0.0f);
        U_SetSketchbotValuesForUErrors(&supplier, nullptr);
        EXPECT_EQ(alive, 0);
        Up_ReportErrorDialog({}, row.severity, Text16("message"), 600.0f);

        ASSERT_EQ(Dialogs().size(), 4u);
        EXPECT_TRUE(Dialogs()[0].isAlert && Dialogs()[3].isAlert);
        EXPECT_EQ(Dialogs()[0].text, "( 1 :: 2 )\n\nmessage\n\n");
        EXPECT_EQ(Dialogs()[0].look, row.level);
        EXPECT_FALSE(Dialogs()[1].isAlert);
        EXPECT_EQ(Dialogs()[1].text, "message ( 1 :: 2 )");
        EXPECT_EQ(Dialogs()[1].look, row.icon);
        EXPECT_EQ(Dialogs()[1].width, 600.0f);
        EXPECT_EQ(Dialogs()[2].text, "message");
        EXPECT_EQ(Dialogs()[2].title, "Sample");
    }
}

TEST_F(ErrDialog, AnAlertGivesBackWhatItsPresenterHandedOver)
{
    int held = 0;
    Presenter().whileShown = [&] {
        ++held;
        ASSERT_TRUE(zvkcore::utility::ScAutoreleasePool::Autorelease([&] { --held; }));
        throw 9;
    };
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "text"), 9);
    EXPECT_EQ(Dialogs().size(), 1u);
    EXPECT_EQ(held, 0);
}

TEST_F(ErrDialog, DeathDropsTheWindowEvenWhenItFails)
{
    int alive = 0;
    Supplier supplier;
    ASSERT_EQ(U_Death(), 0);
    U_SetSketchbotValuesForUErrors(&supplier, new Window(&alive));
    EXPECT_EQ(U_Death(), U_Err_UNBORN);
    EXPECT_EQ(alive, 0);
    ASSERT_EQ(U_Birth(kName, 1), 0);
}

TEST_F(ErrDialog, DeathIsCompleteAndTellsWhenItsLastDialogsThrow)
{
    U_IncrementPostErrors();
    for (const char* text : {"first", "second", "third"}) Up_ReportErrString(0, U_Sev_WARNING, text);
    U_DecrementPostErrors();
    Presenter().whileShown = [] { throw 77; };
    EXPECT_EQ(U_Death(), 77);
    Presenter().whileShown = nullptr;
    EXPECT_EQ(U_GetNumPostedErrors(), 0);
    EXPECT_EQ(U_Death(), U_Err_UNBORN);
    std::string shown;
    for (const auto& dialog : Dialogs()) shown += dialog.text;
    for (const char* text : {"first", "second", "third"}) EXPECT_NE(shown.find(text), shown.npos) << shown;
    ASSERT_EQ(U_Birth(kName, 1), 0);
}

TEST_F(ErrDialog, EndsARunningCaptureAndWaitsForABusyManager)
{
    int alive = 0;
    Manager manager;
    Provider provider;
    manager.captured = new Window(&alive);
    Up_ReportErrString(0, U_Sev_WARNING, "first");
    EXPECT_TRUE(manager.ended && alive == 0);
    EXPECT_EQ(Dialogs().size(), 1u);
    manager.BeginUninterruptible();
    Up_ReportErrString(0, U_Sev_WARNING, "second");
    EXPECT_EQ(Dialogs().size(), 1u);
    EXPECT_EQ(U_GetNumPostedErrors(), 1);
    manager.EndUninterruptible();
    U_DisplayPostedErrors();
    EXPECT_EQ(Dialogs().size(), 2u);
    // The one that waited was sent when it was first to be shown, and then no more.
    EXPECT_EQ(provider.calls,
              (Texts{"group Ql,error,error_v2", "severity=Warning", "localizedMsg=QLTest warning: first",
                     "group Ql,error,error_v2", "severity=Warning", "localizedMsg=QLTest warning: second"}));
}

TEST_F(ErrDialog, SendsTheSeverityAndTheTextWithoutUserData)
{
    struct Row {
        U_Severity severity;
        const char* word;  // empty: nothing is sent
    };
    for (const Row& row : {Row{1, ""}, Row{2, ""}, Row{4, "Warning"}, Row{8, "Problem"}, Row{16, "Fatal"},
                           Row{32, ""}, Row{64, ""}, Row{128, "Leak"}}) {
        Provider provider;
        Up_ReportErrorUTF16({}, row.severity, Text16("cannot open \"secret.png\""), 0.0f, false, true);
        EXPECT_EQ(provider.calls, row.word[0]
                                      ? Texts({"group Ql,error,error_v2", std::string("severity=") + row.word,
                                               "localizedMsg=cannot open \"\""})
                                      : Texts());
    }
    Provider provider;
    const auto identifier = U_FormUniqueGroupErrorMessageIdentifier(Text16("Many."), Text16("@0 files"),
                                                                    Text16("A file is missing."));
    Up_ReportErrorUTF16({}, U_Sev_WARNING, U_GroupErrorMessage(Text16("detail"), identifier), 0.0f, false,
                        true);
    EXPECT_EQ(provider.calls, (Texts{"group Ql,error,error_v2", "severity=Warning",
                                     "localizedMsg=A file is missing.", "errDetail=detail"}));
}

}  // namespace
