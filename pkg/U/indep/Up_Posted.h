// The list of errors that wait to be shown, and their folding into few dialogs.
//
// Any thread posts. The list, and the record of what the UI thread showed last, are touched only under one
// plain mutex, which is held for short copies and never across a dialog, the folding or foreign code.
#ifndef UP_POSTED_H
#define UP_POSTED_H

#include <vector>

#include "U_ErrState.h"

struct Up_PostErrorData {
    U_UTF16String message;  // as the dialog shows it, the program's name included
    U_Severity severity = U_Sev_NONE;
    U_UTF16String location;           // text, empty for none
    U_UTF16String aggregation_title;  // empty outside an aggregation
    bool is_group_dialog = false;     // made by folding
    bool send_telemetry = false;
};

/// Posts a formatted message. A worker thread's repeat of what the UI thread showed last is dropped. Posting
/// a problem outside an aggregation, or anything fatal, raises the debugging assertion and is posted still.
///
/// returns  0, also when dropped; 0x1701 outside birth and death; the code of what was thrown, nothing posted
Err Up_PostError(const U_UTF16String& location_text, U_Severity severity, const U_UTF16String& message,
                 bool send_telemetry);

/// Folds grouped and titled errors: what stays alone in its posting order, then the groups by identifier,
/// then the aggregations by title. Linear in the number of errors, but for the look-up of their groups.
void Up_SeparateOutErrorGroups(std::vector<Up_PostErrorData>& list);

/// Records what the UI thread is about to show.
void Up_RememberShownError(const U_UTF16String& location_text, U_Severity severity,
                           const U_UTF16String& message);

/// Makes the list, then the map of error states (Up_ErrState.h). May throw std::bad_alloc, and then nothing
/// stands. What stands already is kept.
void Up_BirthErrorStorage();

/// Frees both. What is still posted is lost silently.
void Up_DeathErrorStorage();

#endif
