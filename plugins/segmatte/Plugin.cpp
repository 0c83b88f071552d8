// The plug-in itself: offers its segmenter while it is started. Its code stays in memory as long as it is
// offered, or as an object that it made lives.
#include <MVPluginEntry.h>
#include <MVPlugins.h>
#include <U.h>

#include <atomic>
#include <cstring>

#include "SpanMatter.h"
#include "SpanSegmenter.h"

namespace segmatte {
namespace {

using namespace zvkcore::string::literals;

constexpr int kInUse = MV_CODE('I', 'n', 'U', 's');

std::atomic<int> g_living{0};  // objects that hosts hold
bool g_offered = false;        // used on the thread that drives the plug-in host

// An object of this plug-in that counts as long as it lives.
template <class Object>
class Counted : public Object {
  public:
    template <class... Arguments>
    explicit Counted(const Arguments&... arguments) : Object{arguments...}
    {
        ++g_living;
    }
    ~Counted() override { --g_living; }
};

class Maker : public tessaly::Creator<tessaly::Segmenter> {
  public:
    tessaly::Segmenter* Create(zvkcore::utility::Guid identity) override
    {
        return new Counted<SpanSegmenter>{identity};
    }
    tessaly::Segmenter* CreateMatter(zvkcore::utility::Guid) override { return new Counted<SpanMatter>; }
};

Maker& TheMaker()
{
    static Maker maker;
    return maker;
}

int Offer()
{
    return U_TrySection([] {
        tessaly::SegmenterProperties properties;
        properties.name = "Segmatte"_utf8;
        properties.displayName = u"Segmatte"_u16;
        tessaly::RegisterCreator<tessaly::Segmenter>(&TheMaker(), properties);
        g_offered = true;
    });
}

int Withdraw()
{
    if (g_offered) tessaly::UnregisterCreator<tessaly::Segmenter>(&TheMaker());
    g_offered = false;
    return 0;
}

// The end of the runtime takes the code away whatever is answered, so the offer has to be gone by then.
int Leave(const MVAccessMessage& message)
{
    if (message.accessPoint == MV_AccessPoint_TERM) return Withdraw();
    return g_offered || g_living > 0 ? kInUse : 0;
}

}  // namespace
}  // namespace segmatte

MV_PLUGIN_ENTRY(caller, selector, message)
{
    const auto is = [&](const char* from, const char* what) {
        return std::strcmp(caller, from) == 0 && std::strcmp(selector, what) == 0;
    };
    if (is(MV_Caller_INTERFACE, MV_Selector_STARTUP)) return segmatte::Offer();
    if (is(MV_Caller_INTERFACE, MV_Selector_SHUTDOWN)) return segmatte::Withdraw();
    if (is(MV_Caller_ACCESS, MV_Selector_UNLOAD))
        return segmatte::Leave(*static_cast<const MVAccessMessage*>(message));
    return 0;
}
