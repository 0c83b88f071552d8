// Texts of span managers of any shape. Whatever was read must be written as a text that is read without a fault and
// written as it stands.
#include <boost/rational.hpp>

#include "SMS_SpanManager.h"
#include "zvkcore/debug/Assert.h"

namespace {

using tessaly::SpanManager;

// Makes nothing: a text may ask for many spans.
class NoObjects : public tessaly::Creator<tessaly::Segmenter> {
  public:
    tessaly::Segmenter* Create(zvkcore::utility::Guid) override { return nullptr; }
    tessaly::Segmenter* CreateMatter(zvkcore::utility::Guid) override { return nullptr; }
};

// Under a name that a text brought, and always under one that an empty name stands for.
void Offer(const U_UTF8String& name)
{
    static NoObjects creator;
    tessaly::SegmenterProperties properties;
    tessaly::UnregisterCreator<tessaly::Segmenter>(&creator);
    for (const U_UTF8String& offered : {U_UTF8String(1, 'D'), name}) {
        properties.name = offered;
        tessaly::RegisterCreator<tessaly::Segmenter>(&creator, properties);
    }
}

void Require(bool holds)
{
    if (!holds) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool quiet = [] {
        zvkcore::debug::SetSimpleAssertHandler([](auto...) { return false; });
        return true;
    }();
    (void)quiet;
    const U_UTF8String text(data, size);
    const std::size_t name = text.find(',') + 1;
    Offer(name == 0 ? U_UTF8String() : text.substr(name, text.find(',', name) - name));
    try {
        const SpanManager read{{}, false, text, {1, 25}};
        const U_UTF8String written = read.SerializeToXMLSnippet();
        // A name that holds a zero byte is written up to it.
        const std::size_t second = written.find(',') + 1;
        Offer(written.substr(second, written.find(',', second) - second));
        const SpanManager again{{}, false, written, {1, 25}};
        Require(again.GetTextFault() == SpanManager::TextFault_None);
        Require(again.SerializeToXMLSnippet() == written);
        Require(again.GetSpanInfo() == read.GetSpanInfo());
    } catch (const boost::bad_rational&) {
    }
    return 0;
}
