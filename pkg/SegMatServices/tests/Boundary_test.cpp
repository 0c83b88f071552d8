// Types of the services on both sides of a shared object's boundary.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "FakePlugin.h"
#include "SMS_SpanManager.h"

namespace {

using namespace zvkcore::string::literals;

template <class Function>
Function* Find(void* plugin, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(plugin, name));
}

TEST(PluginBoundary, CastsAndErrorsPass)
{
    void* const plugin = dlopen(BOUNDARY_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(plugin, nullptr) << dlerror();
    Find<void()>(plugin, "OfferCreator")();
    tessaly::SpanManager manager{{}, true, "Boundary"_utf8, boost::rational<int>(1, 25)};
    manager.SetManualFrame(1, 1, 1);
    const auto& pair = manager.GetSpans().at(1);
    ASSERT_NE(pair.forwardMatter, nullptr) << "a matter of the plug-in is one in the library";
    smstest::FakeMatter own{{}, nullptr};
    EXPECT_TRUE(Find<bool(tessaly::Segmenter*)>(plugin, "IsMatter")(&own));
    EXPECT_FALSE(Find<bool(tessaly::Segmenter*)>(plugin, "IsMatter")(pair.forwardSegmenter.get()));
    EXPECT_TRUE(Find<bool()>(plugin, "SeesTheMissingPlugin")());
}

}  // namespace
