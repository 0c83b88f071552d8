// Posting an error, and showing what was posted.
//
// The list is linked to under the mutex and taken whole by a drain, so a posting thread waits for a few
// pointers at most. Nothing is allocated under the mutex: memory that runs out is reported, and that report
// may post or drain on the same thread. A drain folds and shows what it took without the mutex. When a dialog
// ends in an exception, what the drain had not shown yet goes back, folded as it is, and the next drain shows
// it first.
#include <iterator>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "U.h"
#include "U_TrySection.h"
#include "Up_Err.h"
#include "Up_ErrState.h"
#include "Up_Posted.h"
#include "zvkcore/string/Convert.h"

namespace {

using Waiting = std::list<Up_PostErrorData>;
using Entries = std::vector<Up_PostErrorData>;

struct PostedErrors {
    Waiting waiting;                 // in posting order
    std::list<Entries> interrupted;  // folded, left over by drains that an exception ended; oldest first
    // What the UI thread showed last.
    U_UTF16String S_last_main_thread_location;
    U_Severity S_last_main_thread_severity = U_Sev_NONE;
    U_UTF16String S_last_main_thread_message;
};

// Guards the pointer and all that it points to. It stands from load time, so that a post outside birth and
// death meets a lock and a null pointer instead of freed memory.
std::mutex s_post_mutex;
PostedErrors* s_posted_errors = nullptr;  // owned; between birth and death

constexpr float kGroupDialogSize = 600;
constexpr float kPlainDialogSize = 0;

bool IsRepeatOfLastShown(const U_UTF16String& location_text, U_Severity severity,
                         const U_UTF16String& message)
{
    const std::lock_guard lock(s_post_mutex);
    if (!s_posted_errors) return false;
    const PostedErrors& posted = *s_posted_errors;
    return posted.S_last_main_thread_severity == severity &&
           posted.S_last_main_thread_location == location_text &&
           posted.S_last_main_thread_message == message;
}

Err Append(Up_PostErrorData&& entry)
{
    Waiting one;
    one.push_back(std::move(entry));
    const std::lock_guard lock(s_post_mutex);
    if (!s_posted_errors) return U_Err_UNBORN;
    s_posted_errors->waiting.splice(s_posted_errors->waiting.end(), one);
    return U_Err_NONE;
}

// Gives the entry its title if it has one, and tells whether this post deserves the assertion: a problem or a
// fatal error that is posted can come too late for what its author meant it to stop.
bool AssignTitle(Up_PostErrorData& entry)
{
    if (entry.severity == U_Sev_FATAL) return true;
    const bool is_problem = entry.severity == U_Sev_PROBLEM;
    if (!is_problem && entry.severity != U_Sev_WARNING) return false;

    U_UTF16String title;
    const bool aggregates =
        Up_HasErrorAggregationOnThisThread(is_problem ? &title : nullptr, is_problem ? nullptr : &title);
    if (!aggregates) return is_problem;
    if (!U_IsGroupedErrorMessage(entry.message, nullptr)) entry.aggregation_title = std::move(title);
    return false;
}

// A debugging aid: it does not stop the post, and running out of memory for its words does not either. File,
// line and function are those that people filter assertions by.
void AssertOnPosting(const U_UTF16String& message)
{
    std::string words = "Up_PostError:  ";
    try {
        const auto utf8 = zvkcore::string::UTF16to8(message);
        words += zvkcore::string::View(utf8);
    } catch (const std::bad_alloc&) {
        // The place is worth more than the message.
    }
    Up_SimpleAssert("U/indep/U_Err", 437,
                    "Err Up_PostError(const U_UTF16String &, U_Severity, const U_UTF16String &, bool)",
                    "sev != U_Sev_PROBLEM && sev != U_Sev_FATAL", words.c_str());
}

// Errors on their way from the list to their dialogs. What is left when it dies goes back.
class Drain {
  public:
    Drain()
    {
        const std::lock_guard lock(s_post_mutex);
        if (!s_posted_errors) return;
        m_posted.swap(s_posted_errors->waiting);
        m_folded.swap(s_posted_errors->interrupted);
    }
    ~Drain() { GiveBack(); }
    Drain(const Drain&) = delete;
    Drain& operator=(const Drain&) = delete;

    bool IsEmpty() const { return m_posted.empty() && m_folded.empty(); }

    void Fold()
    {
        // All memory that this step needs is had before the first error is moved.
        std::list<Entries> room(1);
        Entries entries;
        entries.reserve(m_posted.size());
        entries.assign(std::move_iterator(m_posted.begin()), std::move_iterator(m_posted.end()));
        m_posted.clear();
        // When this fails the errors are lost, the one such case: half folded they would be shown as what
        // they are not.
        Up_SeparateOutErrorGroups(entries);
        room.front().swap(entries);
        m_folded.splice(m_folded.end(), room);
    }

    void Show()
    {
        for (; !m_folded.empty(); m_folded.pop_front(), m_shown = 0) {
            while (m_shown < m_folded.front().size()) {
                // Counted as shown before it is: what a dialog throws must not bring the same dialog back.
                const Up_PostErrorData entry = std::move(m_folded.front()[m_shown++]);
                Up_ReportErrorUTF16(entry.location, entry.severity, entry.message,
                                    entry.is_group_dialog ? kGroupDialogSize : kPlainDialogSize, false,
                                    entry.send_telemetry);
            }
        }
    }

  private:
    void GiveBack() noexcept
    {
        if (!m_folded.empty()) {
            Entries& first = m_folded.front();
            first.erase(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(m_shown));
        }
        const std::lock_guard lock(s_post_mutex);
        if (!s_posted_errors) return;
        s_posted_errors->waiting.splice(s_posted_errors->waiting.begin(), m_posted);
        s_posted_errors->interrupted.splice(s_posted_errors->interrupted.begin(), m_folded);
    }

    Waiting m_posted;             // taken, not folded yet
    std::list<Entries> m_folded;  // in the order in which they are shown
    size_t m_shown = 0;           // of the first of them
};

}  // namespace

// --- Posting ------------------------------------------------------------------------------------------

Err Up_PostError(const U_UTF16String& location_text, U_Severity severity, const U_UTF16String& message,
                 bool send_telemetry)
{
    return U_TrySection([&]() -> Err {
        if (!U_IsOnUIThread() && IsRepeatOfLastShown(location_text, severity, message)) return U_Err_NONE;
        Up_PostErrorData entry{message, severity, location_text, {}, false, send_telemetry};
        if (AssignTitle(entry)) AssertOnPosting(message);
        return Append(std::move(entry));
    });
}

int U_GetNumPostedErrors()
{
    const std::lock_guard lock(s_post_mutex);
    if (!s_posted_errors) return 0;
    size_t count = s_posted_errors->waiting.size();
    for (const Entries& batch : s_posted_errors->interrupted) count += batch.size();
    return static_cast<int>(count);
}

// --- Showing ------------------------------------------------------------------------------------------

void U_DisplayPostedErrors()
{
    if (U_ScErrorDialogAggregation::HasErrorAggregationOnThisThread()) return;
    Drain drain;
    if (drain.IsEmpty()) return;
    drain.Fold();
    drain.Show();
}

void Up_RememberShownError(const U_UTF16String& location_text, U_Severity severity,
                           const U_UTF16String& message)
{
    U_UTF16String location = location_text, text = message;  // before the lock, so it cannot fail inside
    const std::lock_guard lock(s_post_mutex);
    if (!s_posted_errors) return;
    s_posted_errors->S_last_main_thread_location.swap(location);
    s_posted_errors->S_last_main_thread_severity = severity;
    s_posted_errors->S_last_main_thread_message.swap(text);
}

void U_ClearLastReportedError()
{
    Up_RememberShownError({}, U_Sev_NONE, {});
}

// --- Birth and death ----------------------------------------------------------------------------------

void Up_BirthErrorStorage()
{
    auto posted = std::make_unique<PostedErrors>();
    Up_BirthErrorStates();
    const std::lock_guard lock(s_post_mutex);
    if (!s_posted_errors) s_posted_errors = posted.release();
}

void Up_DeathErrorStorage()
{
    std::unique_ptr<PostedErrors> posted;
    {
        const std::lock_guard lock(s_post_mutex);
        posted.reset(std::exchange(s_posted_errors, nullptr));
    }
    posted.reset();
    Up_DeathErrorStates();
}
