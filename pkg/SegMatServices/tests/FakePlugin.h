// A plug-in whose objects paint their output with one value and write down what they are asked. All of them
// follow one script, which may tell them to throw.
#ifndef SEGMATSERVICES_TESTS_FAKEPLUGIN_H
#define SEGMATSERVICES_TESTS_FAKEPLUGIN_H

#include <functional>

#include "FakeHost.h"
#include "QLTest.h"
#include "zvkcore/debug/Assert.h"

namespace smstest {

struct Script {
    Calls calls;
    bool result = true;  // of each render
    bool makesNothing = false, makesNoMatter = false;
    uint8_t paint = 100;  // painted at local frame 0; each frame on adds 1
    std::function<void()> whileRendering;
    std::set<int> cached{0, 1, 4, 5};
};

inline std::string NameOf(const std::string& kind, const Guid& identity)
{
    return kind + " " + std::string(zvkcore::string::View(identity.AsUTF8String()));
}

template <class Base>
class Actor : public Base {
  public:
    Actor(Script& script, const char* name, Guid identity = {})
        : m_script(script), m_name(name), m_identity(identity)
    {
    }

    Segmenter* Clone() override { return new Actor(m_script, m_name); }
    int GetValidCachedFrameArray(RenderFrameData&, boost::shared_array<int>& frames, int, int) override
    {
        Note("array");
        frames.reset(new int[m_script.cached.size()]);
        std::copy(m_script.cached.begin(), m_script.cached.end(), frames.get());
        return static_cast<int>(m_script.cached.size());
    }
    boost::shared_ptr<std::set<int>> GetValidCachedFrameSet(RenderFrameData&) override
    {
        Note("set");
        return boost::make_shared<std::set<int>>(std::set<int>{2, 3});
    }
    bool Render(int frame, Segmenter*, RenderFrameData& data, Segmenter const*,
                boost::shared_ptr<CrossRenderCache>&, unsigned char*, RenderFrameData::OutputType* type,
                OutputIndex index) override
    {
        const auto value = static_cast<uint8_t>(m_script.paint + frame);
        for (const OutputIndex output : {index, OutputIndex_Trimap}) {
            const AnyImageView view = data.AllocateOutput(output);
            const auto pixels = boost::variant2::get<Gray8View>(view);
            boost::gil::fill_pixels(pixels, boost::gil::gray8_pixel_t{value});
        }
        if (type != nullptr) *type = RenderFrameData::OutputType_Matte;
        if (m_script.whileRendering) m_script.whileRendering();
        Note("render " + std::to_string(frame));
        return m_script.result;
    }
    void Initialize(RenderFrameData&, Segmenter const*, boost::shared_ptr<CrossRenderCache>&) override
    {
        Note("init");
    }
    void ClearRFDPtr() override { Note("clear"); }
    void PurgeAll() override { m_script.calls.Note("purge " + Name()); }

    std::string Name() const { return NameOf(m_name, m_identity); }

  private:
    void Note(const std::string& call) { m_script.calls.Note(m_name + (" " + call)); }

    Script& m_script;
    const char* m_name;
    Guid m_identity;
};

class FakeCreator : public Creator<Segmenter> {
  public:
    explicit FakeCreator(Script& script) : m_script(script) {}

    Segmenter* Create(Guid identity) override
    {
        last = identity;
        return m_script.makesNothing ? nullptr : new Actor<Segmenter>(m_script, "seg", identity);
    }
    Segmenter* CreateMatter(Guid identity) override
    {
        if (m_script.makesNoMatter) return Create(identity);
        return m_script.makesNothing ? nullptr : new Actor<Matter>(m_script, "hair", identity);
    }

    Guid last;

  private:
    Script& m_script;
};

inline SegmenterProperties Named(const char* name)
{
    SegmenterProperties properties;
    properties.name = zvkcore::string::Units(name);
    return properties;
}

// A plug-in that has offered its creator under the name "Fake".
struct FakePlugin {
    FakePlugin() { RegisterCreator<Segmenter>(&creator, Named("Fake")); }
    ~FakePlugin() { UnregisterCreator<Segmenter>(&creator); }
    FakePlugin(const FakePlugin&) = delete;

    Script script;
    FakeCreator creator{script};
};

// A manager of spans of that plug-in, and a host that renders through it.
class Stage : public qltest::Library {
  protected:
    // Manual frames from {frame, forward, backward}.
    void Set(std::initializer_list<SpanManager::SpanInfo> spans)
    {
        for (const auto& span : spans) {
            m_spans.SetManualFrame(span.baseFrame, span.backwardDuration, span.forwardDuration);
        }
    }

    FakePlugin m_plugin;
    Script& m_script = m_plugin.script;
    const Guid m_guid = Guid::CreateFromBytes("manager", 7);
    SpanManager m_spans{m_guid, true, "Fake"_utf8, {1, 25}};
    FakeHost m_host{11};
    boost::shared_ptr<CrossRenderCache> m_cache;
    RenderFrameData::OutputType m_type = RenderFrameData::OutputType_None;
};

// Hears the assertions of a scope: "expression|message" each.
class Assertions {
  public:
    Assertions()
        : m_former(zvkcore::debug::SetSimpleAssertHandler(
              [this](const char*, int, const char*, const char* expression, const char* message) {
                  heard.push_back(std::string(expression) + "|" + message);
                  return false;
              }))
    {
    }
    ~Assertions() { zvkcore::debug::SetSimpleAssertHandler(m_former); }
    Assertions(const Assertions&) = delete;

    Log heard;

  private:
    zvkcore::debug::SimpleAssertHandler m_former;
};

}  // namespace smstest

#endif
