#include "U_Context.h"

#include <gtest/gtest.h>

#include <barrier>
#include <thread>
#include <vector>

#include "ContextTest.h"
#include "U_RenderContext.h"
#include "Up_ContextCore.h"

namespace {

template <class Context>
class BothContexts : public ContextTest {
  public:
    using Core = Up_ContextCore<Context>;
    static bool HasCurrent() { return Core::HasCurrent(); }
    static bool HasRecord() { return Core::ThreadRecord() != nullptr; }
};

using Kinds = testing::Types<U_Context, U_RenderContext>;
TYPED_TEST_SUITE(BothContexts, Kinds);

TYPED_TEST(BothContexts, AFreshThreadHasNone)
{
    EXPECT_FALSE(TypeParam::GetCurrent(true));
    EXPECT_EQ(0u, this->Reports().size());
    EXPECT_EQ("no current context", this->FailureOf([] { TypeParam::GetCurrent(false); }));
}

TYPED_TEST(BothContexts, NestedActivationOnlyCounts)
{
    const auto context = TypeParam::MakeNewContext();
    context->Activate();
    context->Activate();
    EXPECT_EQ(context, TypeParam::GetCurrent(false));
    context->Deactivate();
    EXPECT_TRUE(this->HasRecord());
    EXPECT_TRUE(this->HasCurrent());
    context->Deactivate();
    EXPECT_FALSE(this->HasRecord());
    EXPECT_FALSE(context->GetActivationToken(false));
}

TYPED_TEST(BothContexts, ASecondContextIsRefusedAndUncounted)
{
    using Core = Up_ContextCore<TypeParam>;
    const auto first = TypeParam::MakeNewContext(), second = TypeParam::MakeNewContext();
    first->Activate();
    EXPECT_EQ("another context is already active", this->FailureOf([&] { second->Activate(); }));
    EXPECT_EQ(0, Core::ActivationCount(*second));
    // Leaving a context that is not this thread's lowers its count and touches nothing else.
    second->Deactivate();
    EXPECT_EQ(-1, Core::ActivationCount(*second));
    EXPECT_EQ(first, TypeParam::GetCurrent(true));
    first->Deactivate();
}

TYPED_TEST(BothContexts, AContextOfAnotherThreadIsRefused)
{
    const auto context = TypeParam::MakeNewContext();
    context->Activate();
    std::thread{[&] {
        // A thread without a current one takes it; what the former thread sees then is a context elsewhere.
        context->Activate();
        context->Deactivate();
    }}.join();
    EXPECT_EQ("context already active in another thread", this->FailureOf([&] { context->Activate(); }));
    Up_ContextCore<TypeParam>::Detach("test", -1);
}

TYPED_TEST(BothContexts, ADeadContextIsNoticed)
{
    auto context = TypeParam::MakeNewContext();
    context->Activate();
    const auto token = context->GetActivationToken(true);
    std::thread{[dying = std::move(context)]() mutable { dying.reset(); }}.join();
    EXPECT_FALSE(this->HasCurrent());
    EXPECT_TRUE(this->HasRecord());
    EXPECT_FALSE(TypeParam::GetCurrent(true));
    EXPECT_EQ("current context is gone", this->FailureOf([] { TypeParam::GetCurrent(false); }));
    const auto other = TypeParam::MakeNewContext();
    EXPECT_EQ("current context is gone", this->FailureOf([&] { other->Activate(); }));
    Up_ContextCore<TypeParam>::Detach("test", -1);
    other->Activate();
    other->Deactivate();
}

TYPED_TEST(BothContexts, TheLastOwnerOnTheThreadTakesItsRecordAlong)
{
    auto context = TypeParam::MakeNewContext();
    context->Activate();
    context.reset();
    EXPECT_FALSE(this->HasRecord());
}

TYPED_TEST(BothContexts, StatesComeFromTheFirstFactoryOfAName)
{
    using Name = ImmutableString;
    struct Mine : TypeParam::State {
        explicit Mine(int v) : value{v} {}
        Name GetStateName() const { return Name::Create("test.state"); }
        int value;
    };
    const Name name = Name::Create("test.state"), late = Name::Create("test.late");
    const auto make = [](int value) {
        return [value](TypeParam*) { return boost::shared_ptr<typename TypeParam::State>{new Mine{value}}; };
    };
    TypeParam::RegisterState(name, make(1));
    TypeParam::RegisterState(name, make(2));
    const auto context = TypeParam::MakeNewContext();
    TypeParam::RegisterState(late, make(3));
    ASSERT_TRUE(context->GetState(name));
    EXPECT_EQ(1, static_cast<Mine&>(*context->GetState(name)).value);
    EXPECT_FALSE(context->GetState(late));
    TypeParam::UnregisterState(name);
    TypeParam::UnregisterState(name);
    TypeParam::UnregisterState(late);
    EXPECT_TRUE(context->GetState(name));
    EXPECT_FALSE(TypeParam::MakeNewContext()->GetState(name));
}

TYPED_TEST(BothContexts, AFactoryThatThrowsLeavesNothingBehind)
{
    const auto name = ImmutableString::Create("test.bad");
    TypeParam::RegisterState(name,
                             [](TypeParam*) -> boost::shared_ptr<typename TypeParam::State> { throw 7; });
    EXPECT_THROW(TypeParam::MakeNewContext(), int);
    TypeParam::UnregisterState(name);
    TypeParam::RegisterState(name, {});
    EXPECT_ANY_THROW(TypeParam::MakeNewContext());
    TypeParam::UnregisterState(name);
    EXPECT_TRUE(TypeParam::MakeNewContext());
}

TYPED_TEST(BothContexts, ManyThreadsEachHaveTheirOwn)
{
    constexpr int kThreads = 8, kRounds = 200;
    std::barrier start{kThreads};
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                const auto context = TypeParam::MakeNewContext();
                context->Activate();
                if (TypeParam::GetCurrent(true) != context) ++wrong;
                context->Deactivate();
                if (TypeParam::GetCurrent(true)) ++wrong;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(0, wrong);
}

class ContextOnly : public ContextTest {};

TEST_F(ContextOnly, TheConstRecordStandsBesideTheCurrentOne)
{
    const auto context = U_Context::MakeNewContext(), reading = U_Context::MakeNewContext();
    context->Activate();
    EXPECT_EQ(context, U_Context::GetCurrentConst(false));
    reading->ActivateConst();
    reading->ActivateConst();
    EXPECT_EQ(reading, U_Context::GetCurrentConst(false));
    EXPECT_EQ("another context is already active", FailureOf([&] { context->ActivateConst(); }));
    reading->DeactivateConst();
    EXPECT_EQ(reading, U_Context::GetCurrentConst(false));
    reading->DeactivateConst();
    EXPECT_EQ(context, U_Context::GetCurrentConst(false));
    context->Deactivate();
    EXPECT_FALSE(U_Context::HasCurrentConst());
    reading->DeactivateConst();
}

TEST_F(ContextOnly, ADeadConstContextIsNoticed)
{
    auto reading = U_Context::MakeNewContext();
    reading->ActivateConst();
    reading.reset();
    EXPECT_FALSE(U_Context::HasCurrentConst());
    const auto other = U_Context::MakeNewContext();
    EXPECT_EQ("current context is gone", FailureOf([&] { other->ActivateConst(); }));
    DetachConstContextTLS("test", -1);
}

TEST_F(ContextOnly, AWeakSetterLendsOnlyToAThreadWithoutOne)
{
    const auto own = U_Context::MakeNewContext(), lent = U_Context::MakeNewContext();
    {
        const U_WeakContextSetter setter{lent};
        EXPECT_EQ(lent, U_Context::GetCurrent(true));
    }
    EXPECT_FALSE(U_Context::HasCurrent(true));
    own->Activate();
    {
        const U_WeakContextSetter setter{lent};
        EXPECT_EQ(own, U_Context::GetCurrent(true));
    }
    EXPECT_EQ(own, U_Context::GetCurrent(true));
    own->Deactivate();
    const U_WeakContextSetter nothing{{}};
}

TEST_F(ContextOnly, OnlyEscapeAborts)
{
    struct Keys {
        std::vector<uint16_t> pending;
        int flushes = 0;
    } keys;
    const U_KeyEventSource source{[](void* refcon, uint16_t* code) {
                                      auto& pending = static_cast<Keys*>(refcon)->pending;
                                      if (pending.empty()) return false;
                                      *code = pending.front();
                                      pending.erase(pending.begin());
                                      return true;
                                  },
                                  [](void* refcon) { ++static_cast<Keys*>(refcon)->flushes; }, &keys};
    const U_KeyEventSource former = U_SetKeyEventSource(source);
    EXPECT_FALSE(U_Context::CheckAbortAndFlushCompletionRoutines());
    keys.pending = {7, kU_KeyCode_Escape, 8};
    EXPECT_FALSE(U_Context::CheckAbortAndFlushCompletionRoutines());
    EXPECT_EQ(0, keys.flushes);
    EXPECT_TRUE(U_Context::CheckAbortAndFlushCompletionRoutines());
    EXPECT_EQ(1, keys.flushes);
    U_SetKeyEventSource(former);
}

TEST_F(ContextOnly, ATemporaryRenderContextIsEndedByItsDeleter)
{
    static int deleted;
    deleted = 0;
    auto clone = U_RenderContext::MakeNewTempContext([](U_RenderContext* context) {
        ++deleted;
        delete context;
    });
    EXPECT_TRUE(clone->GetIsTempCloneContext());
    EXPECT_FALSE(U_RenderContext::MakeNewContext()->GetIsTempCloneContext());
    clone.reset();
    EXPECT_EQ(1, deleted);
}

}  // namespace
