#include "zvkui/dialogs/MessageBox.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zvkui {
namespace {

using namespace dialogs;
using messagebox::Messagebox;
using messagebox::UI_MessageBox;
using namespace zvkcore::string::literals;

struct FakeTerminal {
    bool interactive = false;
    int waits = 0;
    std::string output;
};

class Dialogs : public testing::Test {
  protected:
    void SetUp() override
    {
        const Terminal terminal{
            [](void* self, const char* text, std::size_t size) { Fake(self).output.append(text, size); },
            [](void* self) { return Fake(self).interactive; }, [](void* self) { ++Fake(self).waits; },
            &m_terminal};
        SetTerminal(&terminal);
    }
    void TearDown() override
    {
        SetPresenter(nullptr);
        SetTerminal(nullptr);
    }
    static FakeTerminal& Fake(void* self) { return *static_cast<FakeTerminal*>(self); }

    FakeTerminal m_terminal;
};

struct Recorder : Presenter {
    int ShowMessagebox(const messagebox::Request& request) override
    {
        requests.push_back(request);
        return 7;
    }
    std::vector<messagebox::Request> requests;
};

TEST_F(Dialogs, WaitForReturnOnATerminalOnly)
{
    const Alert alert{u"Host"_u16, u"\n\nno\rmemory\n\n"_u16, u"OK"_u16, {}, AlertLevel::kCaution};
    ShowAlert(alert);
    EXPECT_EQ(m_terminal.output, "\n[Host]\nno\nmemory\n");
    EXPECT_EQ(m_terminal.waits, 0);
    m_terminal = {true, 0, {}};
    ShowAlert(alert);
    EXPECT_EQ(m_terminal.output, "\n[Host]\nno\nmemory\n<Return: OK> ");
    EXPECT_EQ(Messagebox(nullptr, u"Host"_u16, u"caf\u00E9"_u16, 1, UI_MessageBox::Button::kOK,
                         UI_MessageBox::Icon::kError, {}, {}, 600, 0),
              1);
    EXPECT_NE(m_terminal.output.find("caf\xC3\xA9\n"), std::string::npos);
    EXPECT_EQ(m_terminal.waits, 2);
}

TEST_F(Dialogs, GoToThePresenterOfTheHost)
{
    const auto recorder = std::make_shared<Recorder>();
    EXPECT_EQ(SetPresenter(recorder), nullptr);
    const ui::UI_NodePtr parent{new ui::UI_Node};
    int answered = 0;
    EXPECT_EQ(Messagebox(
                  nullptr, u"t"_u16, u"x"_u16, 1, UI_MessageBox::Button::kOK, UI_MessageBox::Icon::kWarning,
                  parent, [&](int answer) { answered = answer; }, 600, 0),
              7);
    EXPECT_EQ(answered, 7);
    ShowAlert({u"h"_u16, u"m"_u16, u"OK"_u16, {}, AlertLevel::kStop});
    ASSERT_EQ(recorder->requests.size(), 2u);
    EXPECT_EQ(recorder->requests[0].parent, parent);
    EXPECT_EQ(recorder->requests[0].width, 600);
    EXPECT_EQ(recorder->requests[1].icon, UI_MessageBox::Icon::kError);
    EXPECT_EQ(recorder->requests[1].text, u"m"_u16);
    EXPECT_EQ(SetPresenter(nullptr), recorder);
    EXPECT_TRUE(m_terminal.output.empty());
}

TEST_F(Dialogs, KeepTheirPresenterWhileTheyAreOpen)
{
    struct Leaver : Presenter {
        int ShowMessagebox(const messagebox::Request& request) override
        {
            SetPresenter(nullptr);
            return static_cast<int>(request.kind);
        }
    };
    SetPresenter(std::make_shared<Leaver>());
    ShowAlert({});
    EXPECT_EQ(SetPresenter(nullptr), nullptr);
}

TEST(Nodes, ManagerThatDiesIsNoLongerInstalled)
{
    struct Manager : ui::UI_NodeManager {
        ui::UI_NodePtr GetInputCapture() override { return {}; }
        void EndInputCapture(bool) override {}
    };
    EXPECT_EQ(ui::UI_NodeManager::Get(true), nullptr);
    {
        Manager manager;
        Manager other;
        EXPECT_EQ(ui::UI_NodeManager::Set(&other), nullptr);
        EXPECT_EQ(ui::UI_NodeManager::Set(&manager), &other);
        EXPECT_EQ(ui::UI_NodeManager::Get(false), &manager);
        manager.BeginUninterruptible();
        manager.BeginUninterruptible();
        manager.EndUninterruptible();
        EXPECT_EQ(manager.GetUninterruptibleCount(), 1);
    }
    EXPECT_EQ(ui::UI_NodeManager::Get(false), nullptr);
}

}  // namespace
}  // namespace zvkui
