// The last stretch of a report's road: one error shown to the user, on the UI thread.
#include <utility>

#include "U_ErrState.h"
#include "U_Telemetry.h"
#include "U_ZString.h"
#include "Up_Err.h"
#include "Up_Posted.h"
#include "zvkcore/config/Config.h"
#include "zvkcore/string/Convert.h"
#include "zvkcore/utility/ScAutoreleasePool.h"
#include "zvkui/dialogs/MessageBox.h"

namespace {

using namespace zvkcore::string::literals;
using zvkui::ui::UI_NodeManager;
using zvkui::ui::UI_NodePtr;

// What a message box stands over; from `U_SetSketchbotValuesForUErrors` to the next call or the death. The
// UI thread only. The window is counted by hand: a static of a counting type would release it at exit, when
// its code may be gone.
zvkui::sketchbot::SupplierInterface* g_supplier = nullptr;
zvkui::ui::UI_Node* g_window = nullptr;

/// What a severity is called in telemetry, and how its dialogs look.
struct DialogLook {
    U_Severity severity;
    const char* telemetryWord;  // null: nothing is sent
    zvkui::dialogs::messagebox::UI_MessageBox::Icon icon;
    zvkui::dialogs::AlertLevel alertLevel;
};

using Icon = zvkui::dialogs::messagebox::UI_MessageBox::Icon;
using zvkui::dialogs::AlertLevel;

// U_Sev_NONE has no icon in a message box and that of an error in an alert: an alert cannot go without.
constexpr DialogLook kLooks[] = {
    {U_Sev_NONE, nullptr, Icon::kNone, AlertLevel::kStop},
    {U_Sev_WARNING, "Warning", Icon::kWarning, AlertLevel::kCaution},
    {U_Sev_PROBLEM, "Problem", Icon::kError, AlertLevel::kStop},
    {U_Sev_FATAL, "Fatal", Icon::kError, AlertLevel::kStop},
    {U_Sev_LEAK, "Leak", Icon::kOther, AlertLevel::kNote},
};
constexpr DialogLook kOtherLook = {0, nullptr, Icon::kOther, AlertLevel::kNote};

const DialogLook& Look(U_Severity severity)
{
    for (const DialogLook& look : kLooks) {
        if (look.severity == severity) return look;
    }
    return kOtherLook;
}

void EndInputCapture()
{
    UI_NodeManager* manager = UI_NodeManager::Get(false);
    if (manager && manager->GetInputCapture()) manager->EndInputCapture(true);
}

bool IsUserInterfaceBusy()
{
    const UI_NodeManager* manager = UI_NodeManager::Get(false);
    return manager && manager->GetUninterruptibleCount() >= 1;
}

// What stands between quotation marks stays on this machine. Of a grouped message only the words for a
// single error and, apart from them, the message itself are sent.
void SendTelemetry(U_Severity severity, const U_UTF16String& message)
{
    const char* word = Look(severity).telemetryWord;
    if (!word) return;
    const auto group = U::telemetry::NewDataGroup("Ql", "error", "error_v2", {}, false);
    const auto add = [&](const char* key, const U_UTF8String& value) {
        U::telemetry::AddToGroup(group, key, value, false);
    };
    const U_UTF16String stripped = U::telemetry::StripQuotedContents(message);
    add("severity", U_UTF8String{zvkcore::string::Units(std::string_view(word))});
    if (!U_IsGroupedErrorMessage(message, nullptr)) {
        add("localizedMsg", zvkcore::string::UTF16to8(stripped));
        return;
    }
    U_UTF16String plural, type, singular;
    U_ExtractSingularPluralFromUniqueGroupIdentifier(stripped, plural, type, singular);
    add("localizedMsg", zvkcore::string::UTF16to8(singular));
    add("errDetail", zvkcore::string::UTF16to8(U_StripGroupedErrorMessage(stripped, nullptr)));
}

void ShowMessageBox(const U_UTF16String& location_text, U_Severity severity, const U_UTF16String& message,
                    float dialog_size)
{
    namespace messagebox = zvkui::dialogs::messagebox;
    U_UTF16String text = message;
    if (!location_text.empty()) text += U_ZStringToUTF16String("$$$/QL/EGG/Alert/Spacer= ") + location_text;
    messagebox::Messagebox(g_supplier, zvkcore::config::GetClientName(), text, 1,
                           messagebox::UI_MessageBox::Button::kOK, Look(severity).icon, UI_NodePtr(g_window),
                           {}, dialog_size, 0.0f);
}

// A presenter has no scope that outlives the alert, so it may hand to the pool what the alert needs.
void ShowAlert(const U_UTF16String& location_text, U_Severity severity, const U_UTF16String& message)
{
    const zvkcore::utility::ScAutoreleasePool pool;
    zvkui::dialogs::Alert alert;
    alert.header = zvkcore::config::GetClientName();
    alert.message = location_text + u"\n\n"_u16 + message + u"\n\n"_u16;
    alert.buttonTitle = U_ZStringToUTF16String("$$$/QL/U/Up_ReportErrorDialog/OKButtonText=OK");
    alert.iconName = zvkcore::config::IsBetaPrime() ? u"ql_app_beta"_u16 : u"ql_app_stable"_u16;
    alert.level = Look(severity).alertLevel;
    zvkui::dialogs::ShowAlert(alert);
}

}  // namespace

void U_SetSketchbotValuesForUErrors(zvkui::sketchbot::SupplierInterface* supplier, UI_NodePtr window)
{
    g_supplier = supplier;
    const UI_NodePtr former(std::exchange(g_window, window.detach()), false);
}

void Up_ReportErrorUTF16(const U_UTF16String& location_text, U_Severity severity,
                         const U_UTF16String& message, float dialog_size, bool display_posted_first,
                         bool send_telemetry)
{
    if (display_posted_first) U_DisplayPostedErrors();
    EndInputCapture();
    Up_RememberShownError(location_text, severity, message);
    if (send_telemetry) SendTelemetry(severity, message);
    if (IsUserInterfaceBusy()) {
        // Its telemetry has been sent.
        Up_PostError(location_text, severity, message, false);
    } else {
        Up_ReportErrorDialog(location_text, severity, message, dialog_size);
    }
}

void Up_ReportErrorDialog(const U_UTF16String& location_text, U_Severity severity,
                          const U_UTF16String& message, float dialog_size)
{
    if (g_supplier && g_window) {
        ShowMessageBox(location_text, severity, message, dialog_size);
    } else {
        ShowAlert(location_text, severity, message);
    }
}
