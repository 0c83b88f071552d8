/// What becomes of errors for a while: silenced, deferred, gathered under a title, posted and shown later.
///
/// A report (U_Err.h) asks the calling thread's error state what it may do. The states of a thread form a
/// stack, so scopes nest, and a nested scope can only add restrictions. `U_Sev_FATAL` is never silenced;
/// inside an aggregation it is posted like the others, but without the title.
///
///   state                  log and callbacks   last error and count   dialog
///   none                   yes                 yes                    UI thread shows, others post
///   quiet, keep logging    yes                 no                     none
///   quiet                  no                  no                     none
///   aggregation            yes                 yes                    always posted, under its title
///   aggregation in quiet   as the quiet state  no                     none
///   deferred               by its mask         yes                    by its mask; one report at the end
///
/// An error that cannot be shown at once is posted: it joins one list of the process and waits there until
/// the UI thread calls `U_DisplayPostedErrors`, which folds what belongs together into one dialog each.
///
///     void Import(const Paths& paths)  // on any thread
///     {
///         U_ScErrorDialogAggregation gather{ProblemTitle(), WarningTitle()};
///         for (const auto& path : paths) ImportOne(path);  // each failure is reported as usual
///     }
///
/// Ground rules. All of this lives from `U_Birth` to `U_Death`. States belong to the calling thread alone. A
/// function with an `Err` result lets nothing thrown out. Text is UTF-16 unless a `char*` says otherwise.
#ifndef U_ERRSTATE_H
#define U_ERRSTATE_H

#include "U_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- Quiet --------------------------------------------------------------------------------------------

/// Silences errors on the calling thread until the matching end: no dialog, no posting, no last error, no
/// count. `keep_logging` other than 0 keeps the log line, the stack crawl and the logging callbacks.
///
/// returns  0; 3 outside birth and death, after a report; 4 when memory ran out, and then nothing was pushed
/// threads  any
U_EXPORT Err U_StartQuietErrorsOnCurrentThread(int keep_logging);

/// Ends the newest state of the calling thread, of whatever kind it is.
///
/// returns  0; 3 without a state to end, after a report, and then nothing changed
/// threads  any
U_EXPORT Err U_EndQuietErrorsOnCurrentThread(void);

// --- Deferred -----------------------------------------------------------------------------------------

/// What a stretch of deferred work has to put back. Owned by the caller, filled by the start, emptied by the
/// end; each start needs exactly one end, on the same thread.
typedef struct U_DeferredReportingState {
    uint32_t saved_interact;   ///< interact mask at the start
    int32_t interact_receipt;  ///< receipt of the mask in force meanwhile
    int32_t error_count;       ///< errors counted at the start
    char* saved_text;          ///< copy of the thread's last report text, or null; freed by the end
} U_DeferredReportingState;

/// Begins a stretch of work whose errors are held back: of the interact mask in force, only the bits of
/// `mask` stay. The low half of a mask lets a severity reach the user, the high half (the same bits shifted
/// left by 16) lets it reach the log and the logging callbacks.
///
/// The mask and the error count belong to the whole process: while one thread defers, the mask holds for
/// all, and an error of another thread counts as a failure of this stretch.
///
/// returns  0; 3 for a null `state`; the code for which the error count could not be read, and then no mask
///          is in force
/// threads  any
U_EXPORT Err U_DeferredReportingStart(unsigned int mask, U_DeferredReportingState* state);

/// Ends the stretch: `U_DeferredReportingEndAsync` with `async` false.
U_EXPORT Err U_DeferredReportingEnd(bool report, const char* fallback_text, U_DeferredReportingState* state);

/// Ends the stretch. With `report` false its errors are forgotten: the error count and the text of the last
/// report go back to what they were. With `report` true and an error counted since the start, the last error
/// of the thread is reported once, under the mask that stood at the start, less the logging that it already
/// had.
///
/// async          post the error for the UI thread without logging it, as `U_AsyncReport` does
/// fallback_text  said when the last error has no text; in the system encoding; may be null
/// returns        0, also when there was nothing to report; 3 for a null `state`; else what went wrong in
///                the report, the answer of a logging callback included
/// threads        the one that started
U_EXPORT Err U_DeferredReportingEndAsync(bool report, bool async, const char* fallback_text,
                                         U_DeferredReportingState* state);

// --- Posted errors ------------------------------------------------------------------------------------

/// Gives how many errors wait to be shown; 0 outside birth and death.
/// threads  any
U_EXPORT int U_GetNumPostedErrors(void);

/// Shows what was posted: related errors are folded, then each one gets its dialog. Inside an aggregation of
/// the calling thread it does nothing. Errors posted meanwhile wait for the next call.
///
/// An exception out of a dialog passes on to the caller; the errors behind it stay and are shown, as they
/// were folded, by the next call. An exception while folding loses the errors that were taken.
///
/// threads  the UI thread; it is not tested
U_EXPORT void U_DisplayPostedErrors(void);

/// Forgets what the UI thread showed last. A worker thread's repeat of that error is dropped, so after this
/// call the same error can be posted again.
/// threads  any
U_EXPORT void U_ClearLastReportedError(void);

#ifdef __cplusplus
}  // extern "C"

// --- Aggregation --------------------------------------------------------------------------------------

/// While it lives, warnings and problems of the calling thread are posted under a title, and nothing posted
/// is shown on this thread. All errors of one title end in one dialog, the title and a numbered list.
///
/// An empty title keeps the title of the scope around it. Belongs on the stack.
class U_EXPORT U_ScErrorDialogAggregation {
  public:
    /// throws  the error code as `int` if the state cannot be pushed
    U_ScErrorDialogAggregation(const U_UTF16String& problem_title, const U_UTF16String& warning_title);
    ~U_ScErrorDialogAggregation();

    U_ScErrorDialogAggregation(const U_ScErrorDialogAggregation&) = delete;
    U_ScErrorDialogAggregation& operator=(const U_ScErrorDialogAggregation&) = delete;

    /// Tells whether the calling thread is inside an aggregation.
    static bool HasErrorAggregationOnThisThread();
};

// --- Reports that only post ---------------------------------------------------------------------------

/// Posts an error for the UI thread and does nothing else: no log line, no logging callback, no last error,
/// no dialog at once, whichever thread calls. Dropped in a quiet state (unless fatal) or when the interact
/// mask keeps the severity from the user. Nothing thrown comes out.
///
/// location  module number in the high half, number inside the module in the low half, 0 for none
/// threads   any
U_EXPORT void U_AsyncReport(unsigned int location, unsigned short severity, const U_UTF16String& text);
/// The same with the location as the user shall read it.
U_EXPORT void U_AsyncReport(const U_UTF16String& location_text, unsigned short severity,
                            const U_UTF16String& text);

// --- Grouped messages ---------------------------------------------------------------------------------
//
// A grouped message carries an identifier inside its text. Posted messages of one identifier are shown in one
// dialog. The identifier is made of the lead text for several errors, the lead text for a single one, and the
// line that counts them:
//
//   Grouped_Message_{Files are missing.|||A file is missing.###@0 files:}take_4.exr
//   |---- tag -----| |---- plural ----|   |-- singular ---|   |- type -|  |message|
//
// In the type of error "@0" stands for the count. The words of the tag and of the separators are localised
// texts; the braces are fixed.

/// Forms an identifier. Mind the order: the singular text comes last here, and in the middle of the text.
U_EXPORT U_UTF16String U_FormUniqueGroupErrorMessageIdentifier(const U_UTF16String& plural_text,
                                                               const U_UTF16String& type_of_error,
                                                               const U_UTF16String& singular_text);

/// Takes an identifier apart: the inverse of the above. Without a type of error the count line is "Errors:";
/// without a singular text of its own both lead texts are the same. A type of error without "@0" comes out
/// as it stands; the dialog puts "@0 " in front of it.
U_EXPORT void U_ExtractSingularPluralFromUniqueGroupIdentifier(const U_UTF16String& group_identifier,
                                                               U_UTF16String& plural_text,
                                                               U_UTF16String& type_of_error,
                                                               U_UTF16String& singular_text);

/// Gives the message with tag and identifier in front.
U_EXPORT U_UTF16String U_GroupErrorMessage(const U_UTF16String& message,
                                           const U_UTF16String& group_identifier);

/// Tells whether the tag stands anywhere in the text. `position` may be null; it receives the offset of the
/// first tag in units, or `U_UTF16String::npos`.
U_EXPORT bool U_IsGroupedErrorMessage(const U_UTF16String& text, size_t* position);

/// Gives what stands behind the identifier's "}"; what stands in front of the tag is dropped. A text without
/// the tag, or without a "}" behind it, comes back whole.
///
/// group_identifier  may be null; receives what stands between the first "{" and the first "}" behind the
///                   tag, or nothing when they are not there in this order
U_EXPORT U_UTF16String U_StripGroupedErrorMessage(const U_UTF16String& text, U_UTF16String* group_identifier);

#endif
#endif
