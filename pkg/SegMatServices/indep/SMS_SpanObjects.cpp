// The segmenters and matters of spans, and the identities under which they cache. No state.
#include "SMS_SpanManager.h"
#include "SMSp_SpanIdentity.h"
#include "zvkcore/utility/HashValueMixer.h"

namespace tessaly {
namespace {

using zvkcore::utility::Guid;

// Caches are keyed by the hash of these labels: "foward" is part of the key and stays as it is spelled.
constexpr std::string_view kBackwardSegmenter = "seg.backwards";
constexpr std::string_view kForwardSegmenter = "seg.foward";
constexpr std::string_view kBackwardMatter = "hair.backwards";
constexpr std::string_view kForwardMatter = "hair.foward";

}  // namespace

Guid SpanIdentity(std::string_view label, const Guid& manager, int32_t index)
{
    zvkcore::utility::HashValueMixerState state;
    UpdateHashState(state, label.data(), label.size());
    UpdateHashState(state, manager.GuidToBytes(), Guid::kSize);
    UpdateHashState(state, &index, sizeof index);
    Guid identity;
    GetHashResult(state, identity);
    return identity;
}

// Wanted: the four slots are filled in this order, and each one's former object is purged just before its
// own.
void SpanManager::CreateBothSegmenters(int32_t index, SpanPair* pair)
{
    const auto fillSegmenter = [&](boost::shared_ptr<Segmenter>& slot, std::string_view label) {
        if (slot) slot->PurgeAll();
        slot.reset(GetCreator<Segmenter>(segmenterName, false)->Create(SpanIdentity(label, guid, index)));
    };
    const auto fillMatter = [&](boost::shared_ptr<Matter>& slot, std::string_view label) {
        if (slot) slot->PurgeAll();
        slot = CreateMatter(SpanIdentity(label, guid, index));
    };
    fillSegmenter(pair->backwardSegmenter, kBackwardSegmenter);
    fillSegmenter(pair->forwardSegmenter, kForwardSegmenter);
    fillMatter(pair->backwardMatter, kBackwardMatter);
    fillMatter(pair->forwardMatter, kForwardMatter);
}

boost::shared_ptr<Matter> SpanManager::CreateMatter(const Guid& identity)
{
    const boost::shared_ptr<Segmenter> made(
        GetCreator<Segmenter>(segmenterName, false)->CreateMatter(identity));
    return boost::dynamic_pointer_cast<Matter>(made);
}

void SpanManager::PurgeAllCaches()
{
    int32_t rank = 0;
    for (auto& entry : i_spans_map) CreateBothSegmenters(rank++, &entry.second);
}

void SpanManager::UpdateGuid(const Guid& identity)
{
    guid = identity;
    PurgeAllCaches();
}

}  // namespace tessaly
