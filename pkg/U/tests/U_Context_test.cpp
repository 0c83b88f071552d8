#include "U_Context.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>
#include <vector>

#include "Contend.h"
#include "ContextTest.h"
#include "U_RenderContext.h"
#include "Up_ContextCore.h"

namespace {

template <class Context>
class BothContexts : public ContextTest {
  public:
    using Core = Up_ContextCore<Context>;
    using Setter = std::conditional_t<std::is_same_v<Context, U_Context>, U_WeakContextSetter,
                                      U_WeakRenderContextSetter>;
};

using Kinds = testing::Types<U_Context, U_RenderContext>;
TYPED_TEST_SUITE(BothContexts, Kinds);

TYPED_TEST(BothContexts, AreCurrentFromTheFirstActivationToTheLast)
{
    using Core = typename TestFixture::Core;
    EXPECT_FALSE(TypeParam::GetCurrent(true));
    EXPECT_EQ(0u, this->Reports().size());
    EXPECT_EQ("no current context", this->FailureOf([] { TypeParam::GetCurrent(false); }));
    auto context = TypeParam::MakeNewContext();
    context->Activate();
    context->Activate();
    EXPECT_EQ(context, TypeParam::GetCurrent(false));
    context->Deactivate();
    EXPECT_TRUE(Core::ThreadRecord());
    EXPECT_TRUE(Core::HasCurrent());
    context->Deactivate();
    EXPECT_FALSE(Core::ThreadRecord());
    EXPECT_FALSE(context->GetActivationToken(false));
    context->Activate();
    context.reset();  // the last owner takes the record of its own thread along
    EXPECT_FALSE(Core::ThreadRecord());
}

TYPED_TEST(BothContexts, RefuseASecondOneAndLeaveItUncounted)
{
    using Core = typename TestFixture::Core;
    const Active<TypeParam> first;
    const auto second = TypeParam::MakeNewContext();
    EXPECT_EQ("another context is already active", this->FailureOf([&] { second->Activate(); }));
    EXPECT_EQ(0, Core::ActivationCount(*second));
    // Leaving a context that is not this thread's lowers its count and touches nothing else.
    second->Deactivate();
    EXPECT_EQ(-1, Core::ActivationCount(*second));
    EXPECT_EQ(first, TypeParam::GetCurrent(true));
}

TYPED_TEST(BothContexts, RefuseOneThatWentToAnotherThread)
{
    const auto context = TypeParam::MakeNewContext();
    context->Activate();
    zvktest::OnAnotherThread([&] {
        // A thread without a current one takes it; what the former thread sees then is a context elsewhere.
        context->Activate();
        context->Deactivate();
    });
    EXPECT_EQ("context already active in another thread", this->FailureOf([&] { context->Activate(); }));
    TestFixture::Core::Detach("test", -1);
}

TYPED_TEST(BothContexts, NoticeThatTheCurrentOneDied)
{
    using Core = typename TestFixture::Core;
    auto context = TypeParam::MakeNewContext();
    context->Activate();
    const auto token = context->GetActivationToken(true);
    zvktest::OnAnotherThread([dying = std::move(context)]() mutable { dying.reset(); });
    EXPECT_FALSE(Core::HasCurrent());
    EXPECT_TRUE(Core::ThreadRecord());
    EXPECT_FALSE(TypeParam::GetCurrent(true));
    EXPECT_EQ("current context is gone", this->FailureOf([] { TypeParam::GetCurrent(false); }));
    const auto other = TypeParam::MakeNewContext();
    EXPECT_EQ("current context is gone", this->FailureOf([&] { other->Activate(); }));
    Core::Detach("test", -1);
}

TYPED_TEST(BothContexts, HaveStatesFromTheFirstFactoryOfAName)
{
    using State = typename TypeParam::State;
    struct Mine : State {
        explicit Mine(int v) : value{v} {}
        ImmutableString GetStateName() const { return {}; }
        int value;
    };
    const auto name = ImmutableString::Create("test.state"), late = ImmutableString::Create("test.late");
    const auto make = [](int value) {
        return [value](TypeParam*) { return boost::shared_ptr<State>{new Mine{value}}; };
    };
    TypeParam::RegisterState(name, make(1));
    TypeParam::RegisterState(name, make(2));
    const auto context = TypeParam::MakeNewContext();
    TypeParam::RegisterState(late, make(3));
    const boost::shared_ptr<State> state = std::as_const(*context).GetState(name);
    ASSERT_TRUE(state);
    EXPECT_EQ(1, static_cast<Mine&>(*state).value);
    EXPECT_FALSE(context->GetState(late));
    for (const auto& gone : {late, name, name}) TypeParam::UnregisterState(gone);
    EXPECT_EQ(state, context->GetState(name));
    EXPECT_FALSE(TypeParam::MakeNewContext()->GetState(name));

    const typename TypeParam::StateFactory broken[] = {
        [](TypeParam*) -> boost::shared_ptr<State> { throw 7; }, {}};
    for (const auto& factory : broken) {
        TypeParam::RegisterState(name, factory);
        EXPECT_ANY_THROW(TypeParam::MakeNewContext());
        TypeParam::UnregisterState(name);
    }
    EXPECT_TRUE(TypeParam::MakeNewContext());
}

TYPED_TEST(BothContexts, AreLentByAWeakSetterOnlyToAThreadWithoutOne)
{
    using Setter = typename TestFixture::Setter;
    const auto lent = TypeParam::MakeNewContext();
    {
        const Setter nothing{{}};
        const Setter setter{lent};
        EXPECT_EQ(lent, TypeParam::GetCurrent(true));
    }
    EXPECT_FALSE(TestFixture::Core::HasCurrent());
    const Active<TypeParam> own;
    {
        const Setter setter{lent};
        EXPECT_EQ(own, TypeParam::GetCurrent(true));
    }
    EXPECT_EQ(own, TypeParam::GetCurrent(true));
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
    U_Context::MakeNewContext()->ActivateConst();
    EXPECT_FALSE(U_Context::HasCurrentConst());
    const auto other = U_Context::MakeNewContext();
    EXPECT_EQ("current context is gone", FailureOf([&] { other->ActivateConst(); }));
    DetachConstContextTLS("test", -1);
}

TEST_F(ContextOnly, OnlyEscapeAborts)
{
    using Keys = std::vector<uint16_t>;
    Keys keys;  // the oldest is the last
    const U_KeyEventSource former =
        U_SetKeyEventSource({[](void* refcon, uint16_t* code) {
                                 auto& pending = *static_cast<Keys*>(refcon);
                                 if (pending.empty()) return false;
                                 *code = pending.back();
                                 pending.pop_back();
                                 return true;
                             },
                             [](void* refcon) { static_cast<Keys*>(refcon)->clear(); }, &keys});
    EXPECT_FALSE(U_Context::CheckAbortAndFlushCompletionRoutines());
    keys = {8, kU_KeyCode_Escape, 7};
    EXPECT_FALSE(U_Context::CheckAbortAndFlushCompletionRoutines());
    EXPECT_EQ(2u, keys.size());
    EXPECT_TRUE(U_Context::CheckAbortAndFlushCompletionRoutines());
    EXPECT_TRUE(keys.empty());
    U_SetKeyEventSource(former);
}

TEST_F(ContextOnly, ATemporaryRenderContextIsEndedByItsDeleter)
{
    static int deleted;
    deleted = 0;
    const auto destroy = [](U_RenderContext* context) {
        ++deleted;
        delete context;
    };
    EXPECT_TRUE(U_RenderContext::MakeNewTempContext(destroy)->GetIsTempCloneContext());
    EXPECT_EQ(1, deleted);
    EXPECT_FALSE(U_RenderContext::MakeNewContext()->GetIsTempCloneContext());
    EXPECT_EQ("deleter is null", FailureOf([] { U_RenderContext::MakeNewTempContext(nullptr); }));
}

}  // namespace
