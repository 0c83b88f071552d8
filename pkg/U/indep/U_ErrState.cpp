// The stacks of error states: one a thread, in a map of the process.
//
// A scope pushes the state around it with its own restrictions added, so a nested scope can never loosen
// anything. The map's look-up for the calling thread takes no lock, and a stack is its thread's alone.
#include "Up_ErrState.h"

#include <atomic>
#include <memory>
#include <vector>

#include "U_Err.h"
#include "U_TrySection.h"
#include "zvkcore/threads/PerThreadData.h"

namespace {

using StateStack = std::vector<Up_PerThreadErrorState>;
using StateMap = zvkcore::threads::PerThreadData<StateStack>;

// Owned; stands between birth and death. Atomic because a misuse outside that time shall meet null and not a
// torn pointer. The stacks of threads that have ended stay in it.
std::atomic<StateMap*> s_thread_error_states{nullptr};

constexpr const char* kNotSetUp = "Per thread quiet data not set up yet!";

// The calling thread's stack, made at its first call, which may run out of memory. That is reported, and a
// report asks for its thread's state: while the stack is being made there is none, instead of a second try.
StateStack* StackOfThisThread(StateMap& map)
{
    if (StateStack* stack = map.Find()) return stack;
    static thread_local constinit bool t_isBeingMade = false;
    if (t_isBeingMade) return nullptr;
    struct Mark {
        Mark() { t_isBeingMade = true; }
        ~Mark() { t_isBeingMade = false; }
    } const mark;
    return map.FindOrCreate();
}

// The calling thread's newest state, or null.
const Up_PerThreadErrorState* TopState()
{
    StateMap* map = s_thread_error_states.load(std::memory_order_acquire);
    const StateStack* stack = map ? StackOfThisThread(*map) : nullptr;
    return stack && !stack->empty() ? &stack->back() : nullptr;
}

// Reports misuse at the line of the source that callers of this text have always known it by.
Err Misuse(int line, const char* message)
{
    U_ReportFailedVerification(0, line, nullptr, message);
    return U_Err_BAD_PARAMETER;
}

}  // namespace

// --- Reading ------------------------------------------------------------------------------------------

Up_PerThreadErrorState Up_GetPerThreadErrorState()
{
    Up_PerThreadErrorState state;
    const Err err = U_TrySection([&] {
        if (const auto* top = TopState()) state = *top;
    });
    // A copy that broke off may have some of its fields; the absent state is the one that promises nothing.
    return err == U_Err_NONE ? state : Up_PerThreadErrorState{};
}

uint32_t Up_GetPerThreadErrorFlags()
{
    uint32_t flags = 0;
    U_TrySection([&] {
        if (const auto* top = TopState()) flags = top->flags;
    });
    return flags;
}

bool Up_HasErrorAggregationOnThisThread(U_UTF16String* problem_title, U_UTF16String* warning_title)
{
    const auto* top = TopState();
    const bool aggregates = top && (top->flags & Up_ErrorState_Aggregate);
    if (problem_title) *problem_title = aggregates ? top->problem_title : U_UTF16String{};
    if (warning_title) *warning_title = aggregates ? top->warning_title : U_UTF16String{};
    return aggregates;
}

// --- Pushing and popping ------------------------------------------------------------------------------

Err Up_StartErrorStateOnCurrentThread(uint32_t flags, const U_UTF16String& problem_title,
                                      const U_UTF16String& warning_title)
{
    return U_TrySection([&]() -> Err {
        StateMap* map = s_thread_error_states.load(std::memory_order_acquire);
        if (!map) return Misuse(1340, kNotSetUp);
        StateStack* stack = StackOfThisThread(*map);
        if (!stack) return Misuse(1348, "PerThreadErrorStateStack can't be NULL now");

        Up_PerThreadErrorState state = stack->empty() ? Up_PerThreadErrorState{} : stack->back();
        state.flags |= flags;
        if (!problem_title.empty()) state.problem_title = problem_title;
        if (!warning_title.empty()) state.warning_title = warning_title;
        stack->push_back(std::move(state));
        return U_Err_NONE;
    });
}

// The messages say "Quiet" for every kind of state. Hosts match them, so they stay.
Err Up_EndErrorStateOnCurrentThread()
{
    return U_TrySection([]() -> Err {
        StateMap* map = s_thread_error_states.load(std::memory_order_acquire);
        if (!map) return Misuse(1382, kNotSetUp);
        StateStack* stack = StackOfThisThread(*map);
        if (!stack) return Misuse(1384, "Unbalanced U_EndQuietErrorsOnCurrentThread() (1)");
        if (stack->empty()) return Misuse(1385, "Unbalanced U_EndQuietErrorsOnCurrentThread() (2)");
        stack->pop_back();
        return U_Err_NONE;
    });
}

Err U_StartQuietErrorsOnCurrentThread(int keep_logging)
{
    const uint32_t flags = Up_ErrorState_NoDisplay | (keep_logging ? 0u : Up_ErrorState_NoLog);
    return Up_StartErrorStateOnCurrentThread(flags, {}, {});
}

Err U_EndQuietErrorsOnCurrentThread()
{
    return Up_EndErrorStateOnCurrentThread();
}

// --- Scopes -------------------------------------------------------------------------------------------

U_ScErrorDialogAggregation::U_ScErrorDialogAggregation(const U_UTF16String& problem_title,
                                                       const U_UTF16String& warning_title)
{
    const Err err = Up_StartErrorStateOnCurrentThread(Up_ErrorState_Aggregate, problem_title, warning_title);
    if (err != U_Err_NONE) throw int{err};
}

U_ScErrorDialogAggregation::~U_ScErrorDialogAggregation()
{
    Up_EndErrorStateOnCurrentThread();
}

bool U_ScErrorDialogAggregation::HasErrorAggregationOnThisThread()
{
    return (Up_GetPerThreadErrorFlags() & Up_ErrorState_Aggregate) != 0;
}

Up_ScCloneErrorState::Up_ScCloneErrorState(const Up_PerThreadErrorState& state)
{
    const Err err = Up_StartErrorStateOnCurrentThread(state.flags, state.problem_title, state.warning_title);
    if (err != U_Err_NONE) throw int{err};
}

Up_ScCloneErrorState::~Up_ScCloneErrorState()
{
    Up_EndErrorStateOnCurrentThread();
}

// --- Birth and death ----------------------------------------------------------------------------------

void Up_BirthErrorStates()
{
    if (s_thread_error_states.load(std::memory_order_acquire)) return;
    s_thread_error_states.store(new StateMap, std::memory_order_release);
}

void Up_DeathErrorStates()
{
    delete s_thread_error_states.exchange(nullptr, std::memory_order_acq_rel);
}
