// A segmentation plug-in in a shared object of its own, linked against the shared library as a user's is.
#include "FakePlugin.h"
#include "zvkcore/config/Config.h"

extern "C" ZVKCORE_EXPORT void OfferCreator()
{
    static smstest::FakeCreator creator;
    tessaly::SegmenterProperties properties;
    properties.name = zvkcore::string::Units("Boundary");
    tessaly::RegisterCreator<tessaly::Segmenter>(&creator, properties);
}

extern "C" ZVKCORE_EXPORT bool IsMatter(tessaly::Segmenter* segmenter)
{
    return dynamic_cast<tessaly::Matter*>(segmenter) != nullptr;
}

extern "C" ZVKCORE_EXPORT bool SeesTheMissingPlugin()
{
    try {
        tessaly::GetCreator<tessaly::Segmenter>(U_UTF8String(1, '?'), false);
    } catch (const zvkcore::config::Error&) {
        return true;
    }
    return false;
}
