// A plug-in that renders nothing and remembers everything: what it made, under which identity, and what was
// purged.
#ifndef SEGMATSERVICES_TESTS_FAKEPLUGIN_H
#define SEGMATSERVICES_TESTS_FAKEPLUGIN_H

#include <string>
#include <vector>

#include "SegMatServices.h"
#include "zvkcore/debug/Assert.h"

namespace smstest {

using zvkcore::utility::Guid;
using Log = std::vector<std::string>;

template <class Base>
class Fake : public Base {
  public:
    Fake(Guid identity, Log* log) : m_identity(identity), m_log(log) {}

    tessaly::Segmenter* Clone() override { return new Fake(m_identity, m_log); }
    int GetValidCachedFrameArray(tessaly::RenderFrameData&, boost::shared_array<int>& frames, int,
                                 int) override
    {
        frames.reset();
        return 0;
    }
    boost::shared_ptr<std::set<int>> GetValidCachedFrameSet(tessaly::RenderFrameData&) override { return {}; }
    bool Render(int, tessaly::Segmenter*, tessaly::RenderFrameData&, tessaly::Segmenter const*,
                boost::shared_ptr<tessaly::CrossRenderCache>&, unsigned char*,
                tessaly::RenderFrameData::OutputType*, tessaly::OutputIndex) override
    {
        return true;
    }
    void Initialize(tessaly::RenderFrameData&, tessaly::Segmenter const*,
                    boost::shared_ptr<tessaly::CrossRenderCache>&) override
    {
    }
    void ClearRFDPtr() override {}
    void PurgeAll() override
    {
        if (m_log) m_log->push_back("purge " + Name());
    }

    std::string Name() const { return std::string(zvkcore::string::View(m_identity.AsUTF8String())); }

  private:
    Guid m_identity;
    Log* m_log;
};

using FakeSegmenter = Fake<tessaly::Segmenter>;
using FakeMatter = Fake<tessaly::Matter>;

class FakeCreator : public tessaly::Creator<tessaly::Segmenter> {
  public:
    explicit FakeCreator(Log* log = nullptr) : m_log(log) {}

    tessaly::Segmenter* Create(Guid identity) override { return new FakeSegmenter(identity, m_log); }
    tessaly::Segmenter* CreateMatter(Guid identity) override
    {
        if (makesNoMatter) return new FakeSegmenter(identity, m_log);
        return new FakeMatter(identity, m_log);
    }

    bool makesNoMatter = false;

  private:
    Log* m_log;
};

// Registers a creator for a scope.
class Registration {
  public:
    Registration(FakeCreator* creator, std::string_view name) : m_creator(creator)
    {
        tessaly::SegmenterProperties properties;
        properties.name = zvkcore::string::Units(name);
        tessaly::RegisterCreator<tessaly::Segmenter>(creator, properties);
    }
    ~Registration() { tessaly::UnregisterCreator<tessaly::Segmenter>(m_creator); }
    Registration(const Registration&) = delete;

  private:
    FakeCreator* m_creator;
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
