// Spans of frames: the one that covers a frame, beside a bare search of a map; and the text of a manager, beside the
// coding of its frozen bytes as text, which is what it should cost.
#include <cstdio>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "Ratio.h"
#include "SMS_SpanManager.h"
#include "zvkcore/utility/BinaryText.h"

namespace {

using tessaly::SpanManager;
using namespace zvkcore::string::literals;

// Spans without objects: what is measured never calls one.
class NoObjects : public tessaly::Creator<tessaly::Segmenter> {
  public:
    tessaly::Segmenter* Create(zvkcore::utility::Guid) override { return nullptr; }
    tessaly::Segmenter* CreateMatter(zvkcore::utility::Guid) override { return nullptr; }
};

// --- The span at a frame -----------------------------------------------------------------------------------

constexpr int kDistance = 10;
constexpr int kDuration = 7;
constexpr int kStride = 7919;

struct Spans {
    explicit Spans(int count) : frames(count * kDistance), ours({}, true, "None"_utf8, {1, 25})
    {
        for (int at = 0; at < count; ++at) {
            ours.SetManualFrame(at * kDistance, 1, kDuration);
            peer.emplace_hint(peer.end(), at * kDistance, at * kDistance + kDuration);
        }
    }

    bool FindOurs(int frame) const { return ours.IsActiveFrame(frame, SpanManager::SpanDirection_Forward); }
    bool FindPeer(int frame) const { return frame < std::prev(peer.upper_bound(frame))->second; }

    int frames;
    SpanManager ours;
    std::map<int, int> peer;
};

bool CompareSearch(int count)
{
    const Spans spans{count};
    for (int frame = 0; frame < spans.frames; ++frame) {
        if (spans.FindOurs(frame) != spans.FindPeer(frame)) return false;
    }
    const auto search = [count](bool (Spans::*find)(int) const) {
        return [count, find](benchmark::State& state) {
            const Spans own{count};
            int frame = 0;
            for (auto _ : state) {
                frame = (frame + kStride) % own.frames;
                benchmark::DoNotOptimize((own.*find)(frame));
            }
        };
    };
    qlbench::Pair("span at a frame among " + std::to_string(count) + " / map search", 1.3,
                  search(&Spans::FindOurs), search(&Spans::FindPeer));
    return true;
}

// --- The text ------------------------------------------------------------------------------------------------

constexpr std::size_t kBytesInAFrame = 46000;  // of a matte of 1920 by 1080 that was deflated 45 to 1

void Freeze(SpanManager& manager, int count)
{
    std::mt19937 random{1};
    auto& frozen = *manager.GetFrozenData();
    frozen.width = 1920;
    frozen.height = 1080;
    for (int frame = 0; frame < count; ++frame) {
        const boost::shared_ptr<U_UTF8String> bytes(new U_UTF8String(kBytesInAFrame, 0));
        for (auto& byte : *bytes) byte = static_cast<unsigned char>(random());
        frozen.frozenSegmentation.emplace_hint(frozen.frozenSegmentation.end(), frame, bytes);
        if (frame % kDistance == 0) manager.SetManualFrame(frame, 1, kDuration);
    }
}

void CompareText(int count)
{
    const auto manager = std::make_shared<SpanManager>(zvkcore::utility::Guid(), true, "None"_utf8,
                                                       boost::rational<int>(1, 25));
    Freeze(*manager, count);
    const std::string frames = std::to_string(count) + " frozen frames / ";
    qlbench::Pair(
        "saving " + frames + "coding their bytes", 0,
        [manager](benchmark::State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(manager->SerializeToXMLSnippet());
        },
        [manager](benchmark::State& state) {
            for (auto _ : state) {
                for (const auto& entry : manager->GetFrozenData()->frozenSegmentation) {
                    benchmark::DoNotOptimize(zvkcore::utility::EncodeBinaryDataToUTF8String(*entry.second));
                }
            }
        });
    qlbench::Pair(
        "restoring " + frames + "decoding their bytes", 0,
        [manager](benchmark::State& state) {
            const U_UTF8String text = manager->SerializeToXMLSnippet();
            for (auto _ : state) {
                const SpanManager again{{}, false, text, {1, 25}};
                if (again.GetTextFault() != SpanManager::TextFault_None) state.SkipWithError("fault");
            }
        },
        [manager](benchmark::State& state) {
            std::vector<U_UTF8String> texts;
            for (const auto& entry : manager->GetFrozenData()->frozenSegmentation) {
                texts.push_back(zvkcore::utility::EncodeBinaryDataToUTF8String(*entry.second));
            }
            for (auto _ : state) {
                std::vector<U_UTF8String> kept(texts.size());
                for (std::size_t at = 0; at < texts.size(); ++at) {
                    zvkcore::utility::DecodeBinaryDataFromUTF8String(texts[at], kept[at]);
                }
                benchmark::DoNotOptimize(kept.data());
            }
        });
}

}  // namespace

int main(int argc, char** argv)
{
    static NoObjects creator;
    tessaly::SegmenterProperties properties;
    properties.name = "None"_utf8;
    tessaly::RegisterCreator<tessaly::Segmenter>(&creator, properties);
    if (!CompareSearch(1000) || !CompareSearch(10000)) {
        std::fputs("ours and the peer find different spans\n", stderr);
        return 1;
    }
    for (int count : {250, 1000, 4000}) CompareText(count);
    return qlbench::Main(argc, argv);
}
