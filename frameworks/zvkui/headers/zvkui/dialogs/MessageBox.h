/// Dialogs: a message box over the host's window, and an alert for a process without one.
///
/// The library shows nothing by itself. Both calls go to the presenter that the host has installed; without
/// one both go to the terminal: on a terminal the text is printed and Return is waited for, elsewhere it is
/// printed and the program goes on, so a headless host never hangs.
///
/// Both are called on the UI thread and return when the user has answered.
#ifndef ZVKUI_DIALOGS_MESSAGEBOX_H
#define ZVKUI_DIALOGS_MESSAGEBOX_H

#include <cstddef>
#include <functional>
#include <memory>

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"
#include "zvkui/sketchbot/Supplier.h"
#include "zvkui/ui/NodeManager.h"

namespace zvkui::dialogs {

namespace messagebox {

struct UI_MessageBox {
    enum class Button : int { kOK = 1 };
    enum class Icon : int { kNone = 0, kError = 1, kWarning = 2, kOther = 4 };
};

/// Called with the answer when the box is closed; may be empty.
using Handler = std::function<void(int answer)>;

/// What a presenter is asked to show.
struct Request {
    sketchbot::SupplierInterface* supplier;
    zvkcore::string::UTF16String title;
    zvkcore::string::UTF16String text;
    int kind;                      ///< 1 for a plain message
    UI_MessageBox::Button button;  ///< the default button
    UI_MessageBox::Icon icon;
    ui::UI_NodePtr parent;
    float width;   ///< the preferred width in points; 0 leaves it to the presenter
    float height;  ///< likewise
};

/// Shows a modal box and gives the answer: the number of the button. Then calls `handler`, if there is one.
ZVKCORE_EXPORT int Messagebox(sketchbot::SupplierInterface* supplier,
                              const zvkcore::string::UTF16String& title,
                              const zvkcore::string::UTF16String& text, int kind,
                              UI_MessageBox::Button button, UI_MessageBox::Icon icon, ui::UI_NodePtr parent,
                              const Handler& handler, float width, float height);

}  // namespace messagebox

/// How grave an alert is.
enum class AlertLevel : int { kStop = 0, kNote = 1, kCaution = 2 };

/// An alert for a process that has no window to put a box over.
struct Alert {
    zvkcore::string::UTF16String header;
    zvkcore::string::UTF16String message;
    zvkcore::string::UTF16String buttonTitle;
    zvkcore::string::UTF16String iconName;  ///< a name in the host's resources; may be empty
    AlertLevel level = AlertLevel::kNote;
};

/// Shows an alert and returns when the user has answered.
ZVKCORE_EXPORT void ShowAlert(const Alert& alert);

/// The host's own dialogs. When: at each box or alert, on the UI thread. Must: return when the user has
/// answered, with the number of the button. Default: the terminal.
class ZVKCORE_EXPORT Presenter {
  public:
    virtual ~Presenter();
    virtual int ShowMessagebox(const messagebox::Request& request) = 0;

    /// Shows it as a message box without a parent, unless the host does better. A report shows its alert
    /// inside a `zvkcore::utility::ScAutoreleasePool`: what is handed to that is given back behind the alert.
    virtual void ShowAlert(const Alert& alert);
};

/// Installs a presenter and returns the former one; an empty pointer restores the terminal. A dialog that is
/// open keeps its presenter alive. Any thread may call.
ZVKCORE_EXPORT std::shared_ptr<Presenter> SetPresenter(std::shared_ptr<Presenter> presenter);

/// The terminal under the default presenter.
///
/// When: `write` for each dialog, then `isInteractive`, and `waitForReturn` if that said yes. Must:
/// `waitForReturn` returns at Return and at the end of the input. Default: standard error and standard input;
/// interactive if both are terminals and the process is in the foreground there.
struct Terminal {
    void (*write)(void* self, const char* text, std::size_t size);
    bool (*isInteractive)(void* self);
    void (*waitForReturn)(void* self);
    void* self;
};

/// Replaces the terminal; null restores the default. What it points at is copied; `self` is the caller's and
/// stays alive until it is replaced. Any thread may call, while no dialog is open.
ZVKCORE_EXPORT void SetTerminal(const Terminal* terminal) noexcept;

}  // namespace zvkui::dialogs

#endif
