#include "ErrorsTest.h"
#include "TelemetryRecorder.h"
#include "Up_Err.h"
#include "zvkcore/config/Config.h"
#include "zvkcore/utility/ScAutoreleasePool.h"

namespace {

using namespace errorstest;

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
    Manager() { Set(this); }
    zvkui::ui::UI_NodePtr GetInputCapture() override { return captured; }
    void EndInputCapture(bool cancel) override { ended = cancel, captured.reset(); }

    zvkui::ui::UI_NodePtr captured;
    bool ended = false;
};

using ErrDialog = Errors;

const struct {
    U_Severity severity;
    int icon, level;
    const char* word;  // in telemetry; empty: nothing is sent
} kLooks[] = {{1, 0, 0, ""},       {2, 4, 1, ""},  {4, 2, 2, "Warning"}, {8, 1, 0, "Problem"},
              {16, 1, 0, "Fatal"}, {32, 4, 1, ""}, {64, 4, 1, ""},       {128, 4, 1, "Leak"}};

TEST_F(ErrDialog, IsAMessageBoxOverTheWindowAndAnAlertWithoutOne)
{
    zvkcore::config::SetClientName(zvkcore::string::Units(u"Sample"));
    int alive = 0;
    Supplier supplier;
    const auto show = [&](const char* location, const auto& row) {
        Up_ReportErrorDialog(Text16(location), row.severity, Text16("message"), 600.0f);
        const qltest::Dialog dialog = std::move(Dialogs().back());
        EXPECT_EQ(dialog.title, "Sample");
        EXPECT_EQ(dialog.look, dialog.isAlert ? row.level : row.icon) << row.severity;
        EXPECT_EQ(dialog.width, dialog.isAlert ? 0.0f : 600.0f);
        return (dialog.isAlert ? "alert: " : "box: ") + dialog.text;
    };
    for (const auto& row : kLooks) {
        EXPECT_EQ(show("( 1 :: 2 )", row), "alert: ( 1 :: 2 )\n\nmessage\n\n");
        U_SetSketchbotValuesForUErrors(&supplier, new Window(&alive));
        EXPECT_EQ(show("( 1 :: 2 )", row), "box: message ( 1 :: 2 )");
        EXPECT_EQ(show("", row), "box: message");
        U_SetSketchbotValuesForUErrors(&supplier, nullptr);
        EXPECT_EQ(alive, 0);
        EXPECT_EQ(show("", row), "alert: \n\nmessage\n\n");
    }
    zvkcore::config::SetClientName({});
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

TEST_F(ErrDialog, DeathIsCompleteAndTellsWhenItsLastDialogsThrow)
{
    int alive = 0;
    Supplier supplier;
    U_IncrementPostErrors();
    for (const char* text : {"first", "second", "third"}) Up_ReportErrString(0, U_Sev_WARNING, text);
    U_DecrementPostErrors();
    Presenter().whileShown = [] { throw 77; };
    EXPECT_EQ(U_Death(), 77);
    Presenter().whileShown = nullptr;
    EXPECT_EQ(TakeShown(),
              (Texts{"QLTest warning: first", "QLTest warning: second", "QLTest warning: third"}));
    // A death that fails drops the window too.
    U_SetSketchbotValuesForUErrors(&supplier, new Window(&alive));
    EXPECT_EQ(U_Death(), U_Err_UNBORN);
    EXPECT_EQ(alive, 0);
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
    manager.BeginUninterruptible();
    Up_ReportErrString(0, U_Sev_WARNING, "second");
    EXPECT_EQ(Dialogs().size(), 1u);
    manager.EndUninterruptible();
    U_DisplayPostedErrors();
    EXPECT_EQ(TakeShown(), (Texts{"QLTest warning: first", "QLTest warning: second"}));
    // The one that waited was sent when it was first to be shown, and then no more.
    EXPECT_EQ(provider.calls,
              (Texts{"group Ql error error_v2", "severity=Warning", "localizedMsg=QLTest warning: first",
                     "group Ql error error_v2", "severity=Warning", "localizedMsg=QLTest warning: second"}));
}

TEST_F(ErrDialog, SendsTheSeverityAndTheTextWithoutUserData)
{
    Provider provider;
    const auto sent = [&](U_Severity severity, const U_UTF16String& text) {
        provider.calls.clear();
        Up_ReportErrorUTF16({}, severity, text, 0.0f, false, true);
        return provider.calls;
    };
    for (const auto& row : kLooks) {
        const Texts all{"group Ql error error_v2", std::string("severity=") + row.word,
                        "localizedMsg=cannot open \"\""};
        EXPECT_EQ(sent(row.severity, Text16("cannot open \"secret.png\"")), row.word[0] ? all : Texts());
    }
    const auto identifier = U_FormUniqueGroupErrorMessageIdentifier(Text16("Many."), Text16("@0 files"),
                                                                    Text16("A file is missing."));
    EXPECT_EQ(sent(U_Sev_WARNING, U_GroupErrorMessage(Text16("\"secret\" detail"), identifier)),
              (Texts{"group Ql error error_v2", "severity=Warning", "localizedMsg=A file is missing.",
                     "errDetail=\"\" detail"}));
}

}  // namespace
