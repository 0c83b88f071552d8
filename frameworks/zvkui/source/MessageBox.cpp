// Both kinds of dialog end in one presenter, the host's or the terminal's.
//
// State: the host's presenter, made at first use and never destroyed; guard: its own lock, not held while a
// dialog is open. g_terminal, the terminal's three calls; guard: none, it is set while no dialog is open.
#include "zvkui/dialogs/MessageBox.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <utility>

#include "zvkcore/string/Convert.h"

namespace zvkui::dialogs {
namespace {

using messagebox::UI_MessageBox;
using zvkcore::string::UTF16String;
using zvkcore::string::UTF8String;
using namespace zvkcore::string::literals;

void WriteToStandardError(void*, const char* text, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = write(STDERR_FILENO, text, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text += written;
        size -= static_cast<std::size_t>(written);
    }
}

// A process in the background of its terminal would be stopped by reading from it.
bool IsInteractive(void*)
{
    return isatty(STDIN_FILENO) && isatty(STDERR_FILENO) && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

void WaitForReturn(void*)
{
    for (char byte = 0; byte != '\n';) {
        const ssize_t got = read(STDIN_FILENO, &byte, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 && errno == EAGAIN) {
            pollfd ready{STDIN_FILENO, POLLIN, 0};
            if (poll(&ready, 1, -1) >= 0 || errno == EINTR) continue;
        }
        if (got <= 0) return;
    }
}

constexpr Terminal kStandardTerminal{WriteToStandardError, IsInteractive, WaitForReturn, nullptr};
constinit Terminal g_terminal = kStandardTerminal;

/// The text as lines of a terminal: the library's line end is a return, and blank lines around a text say
/// nothing there.
UTF8String TerminalLines(const UTF16String& text)
{
    UTF8String lines = zvkcore::string::UTF16to8(text);
    std::replace(lines.begin(), lines.end(), static_cast<unsigned char>('\r'),
                 static_cast<unsigned char>('\n'));
    const auto isBlank = [](unsigned char unit) { return unit == '\n' || unit == ' '; };
    while (!lines.empty() && isBlank(lines.back())) lines.pop_back();
    lines.erase(lines.begin(),
                std::find_if_not(lines.begin(), lines.end(), [](unsigned char u) { return u == '\n'; }));
    return lines;
}

void ShowOnTerminal(const UTF16String& title, const UTF16String& text, const UTF16String& button)
{
    const Terminal terminal = g_terminal;
    const bool waits = terminal.isInteractive(terminal.self);
    UTF8String out = "\n["_utf8 + zvkcore::string::UTF16to8(title) + "]\n"_utf8;
    out += TerminalLines(text);
    out.push_back('\n');
    if (waits) out += "<Return: "_utf8 + zvkcore::string::UTF16to8(button) + "> "_utf8;
    const std::string_view bytes = zvkcore::string::View(out);
    terminal.write(terminal.self, bytes.data(), bytes.size());
    if (waits) terminal.waitForReturn(terminal.self);
}

class TerminalPresenter : public Presenter {
  public:
    int ShowMessagebox(const messagebox::Request& request) override
    {
        ShowOnTerminal(request.title, request.text, u"OK"_u16);
        return static_cast<int>(request.button);
    }
    void ShowAlert(const Alert& alert) override
    {
        ShowOnTerminal(alert.header, alert.message, alert.buttonTitle);
    }
};

struct Installed {
    std::mutex guard;
    std::shared_ptr<Presenter> presenter;  // empty for the terminal
};

Installed& TheInstalled()
{
    static Installed* const installed = new Installed;
    return *installed;
}

std::shared_ptr<Presenter> GetPresenter()
{
    Installed& installed = TheInstalled();
    {
        const std::lock_guard lock{installed.guard};
        if (installed.presenter != nullptr) return installed.presenter;
    }
    return std::make_shared<TerminalPresenter>();
}

UI_MessageBox::Icon IconOf(AlertLevel level)
{
    switch (level) {
        case AlertLevel::kStop:
            return UI_MessageBox::Icon::kError;
        case AlertLevel::kCaution:
            return UI_MessageBox::Icon::kWarning;
        case AlertLevel::kNote:
            break;
    }
    return UI_MessageBox::Icon::kOther;
}

}  // namespace

int messagebox::Messagebox(sketchbot::SupplierInterface* supplier, const UTF16String& title,
                           const UTF16String& text, int kind, UI_MessageBox::Button button,
                           UI_MessageBox::Icon icon, ui::UI_NodePtr parent, const Handler& handler,
                           float width, float height)
{
    const int answer = GetPresenter()->ShowMessagebox(
        {supplier, title, text, kind, button, icon, std::move(parent), width, height});
    if (handler) handler(answer);
    return answer;
}

void ShowAlert(const Alert& alert)
{
    GetPresenter()->ShowAlert(alert);
}

Presenter::~Presenter() = default;

void Presenter::ShowAlert(const Alert& alert)
{
    ShowMessagebox({nullptr, alert.header, alert.message, 1, UI_MessageBox::Button::kOK, IconOf(alert.level),
                    ui::UI_NodePtr{}, 0, 0});
}

std::shared_ptr<Presenter> SetPresenter(std::shared_ptr<Presenter> presenter)
{
    Installed& installed = TheInstalled();
    const std::lock_guard lock{installed.guard};
    return std::exchange(installed.presenter, std::move(presenter));
}

void SetTerminal(const Terminal* terminal) noexcept
{
    g_terminal = terminal == nullptr ? kStandardTerminal : *terminal;
}

}  // namespace zvkui::dialogs
