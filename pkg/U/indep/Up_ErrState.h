// The calling thread's error state, as the reporting path and the posting of errors read it.
//
// A map of the process gives every thread a stack of states. Only the owning thread touches its stack, and a
// thread finds it without a lock. The map lives from Up_BirthErrorStates to Up_DeathErrorStates; outside that
// time every thread has the absent state, and a start or an end is a failed verification.
#ifndef UP_ERRSTATE_H
#define UP_ERRSTATE_H

#include "U_ErrState.h"

enum Up_ErrorStateFlag : uint32_t {
    Up_ErrorState_NoLog = 2,      // no log line, stack crawl or logging callback
    Up_ErrorState_NoDisplay = 4,  // no last error, count, trail, posting or dialog
    Up_ErrorState_Aggregate = 8   // problems and warnings are posted under a title; nothing is shown
};

struct Up_PerThreadErrorState {
    uint32_t flags = 0;
    U_UTF16String problem_title;
    U_UTF16String warning_title;
};

/// Pushes a state: the top one with `flags` added, and with those titles that are not empty.
/// returns  0; 3 outside birth and death, after a report; the code of what was thrown, nothing pushed
Err Up_StartErrorStateOnCurrentThread(uint32_t flags, const U_UTF16String& problem_title,
                                      const U_UTF16String& warning_title);

/// Pops the top state.
/// returns  0; 3 without a state to end, after a report
Err Up_EndErrorStateOnCurrentThread();

/// Gives a copy of the top state, or the absent state, all zero. Never throws: a copy that fails gives the
/// absent state, after a report.
Up_PerThreadErrorState Up_GetPerThreadErrorState();

/// Gives the flags of the top state alone, without copying its titles: what a report asks first. Never
/// throws.
uint32_t Up_GetPerThreadErrorFlags();

/// Tells whether the calling thread is inside an aggregation. Each title pointer may be null; it receives the
/// title, or is emptied when the answer is false.
bool Up_HasErrorAggregationOnThisThread(U_UTF16String* problem_title, U_UTF16String* warning_title);

/// Carries the error state of one thread along with work that moves to another: while it lives, the calling
/// thread has that state on top of its own. Belongs on the stack.
class Up_ScCloneErrorState {
  public:
    /// throws  the error code as `int` if the state cannot be pushed: work never runs under another state
    ///         than its caller's
    explicit Up_ScCloneErrorState(const Up_PerThreadErrorState& state);
    ~Up_ScCloneErrorState();

    Up_ScCloneErrorState(const Up_ScCloneErrorState&) = delete;
    Up_ScCloneErrorState& operator=(const Up_ScCloneErrorState&) = delete;
};

/// Makes the map; a map that stands already is kept, with the scopes open in it. May throw std::bad_alloc.
void Up_BirthErrorStates();
/// Frees the map. No other thread may report meanwhile or afterwards.
void Up_DeathErrorStates();

#endif
