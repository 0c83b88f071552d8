// Texts of span managers of any shape. Whatever was read must be written as a text that is read without a fault and
// written as it stands.
#include <boost/rational.hpp>
#include <optional>

#include "SMS_SpanManager.h"
#include "zvkcore/config/Config.h"
#include "zvkcore/debug/Assert.h"

namespace {

using tessaly::SpanManager;

// Makes nothing: a text may ask for many spans.
class NoObjects : public tessaly::Creator<tessaly::Segmenter> {
  public:
    tessaly::Segmenter* Create(zvkcore::utility::Guid) override { return nullptr; }
    tessaly::Segmenter* CreateMatter(zvkcore::utility::Guid) override { return nullptr; }
};

// Under the name in a text, and always under one that an empty name stands for.
void OfferNameOf(const U_UTF8String& text)
{
    static NoObjects creator;
    const std::size_t at = text.find(',') + 1;
    tessaly::SegmenterProperties properties;
    tessaly::UnregisterCreator<tessaly::Segmenter>(&creator);
    for (const U_UTF8String& offered : {U_UTF8String(1, 'D'), text.substr(at, text.find(',', at) - at)}) {
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
    OfferNameOf(text);
    std::optional<SpanManager> read;
    try {
        read.emplace(zvkcore::utility::Guid(), false, text, boost::rational<int>(1, 25));
    } catch (const boost::bad_rational&) {
        return 0;
    } catch (const zvkcore::config::Error&) {  // a wrong separator moved the name
        return 0;
    }
    const U_UTF8String written = read->SerializeToXMLSnippet();
    OfferNameOf(written);
    const SpanManager again{{}, false, written, {1, 25}};
    Require(again.GetTextFault() == SpanManager::TextFault_None);
    Require(again.SerializeToXMLSnippet() == written);
    Require(again.GetSpanInfo() == read->GetSpanInfo());
    return 0;
}
