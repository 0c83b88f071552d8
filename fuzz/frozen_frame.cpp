// Any bytes as a stored frame of any size: out of a span manager's text, shown in outputs of several sizes and forms,
// and lent as a trimap. The input begins with the size of the store, the size of the output and the form of the output,
// a byte each; a set top bit of the form makes the size of the store a large one. The frame must be shown as its bytes
// decode one by one, or, if they are damaged or of another number, the input image must be.
#include <array>
#include <optional>

#include "../pkg/SegMatServices/tests/FakeHost.h"
#include "SMS_Pixels.h"
#include "SMSp_SpanRenderFrameData.h"
#include "U_ErrState.h"
#include "zvkcore/utility/BinaryText.h"

namespace {

using namespace smstest;
namespace gil = boost::gil;
using zvkcore::filesupport::IStringByteStream;
using zvkcore::filesupport::IZipByteStream;
using zvkcore::filesupport::StreamError;

constexpr int kFrame = 5;
constexpr uint8_t kInput = 200;  // every pixel of a fake host's input

void Require(bool holds)
{
    if (!holds) __builtin_trap();
}

U_UTF8String Number(int64_t value)
{
    return U_UTF8String(zvkcore::string::Units(std::string_view(std::to_string(value) + ',')));
}

U_UTF8String Text(const U_UTF8String& stored, int width, int height)
{
    const U_UTF8String map =
        Number(1) + Number(kFrame) + zvkcore::utility::EncodeBinaryDataToUTF8String(stored) + ","_utf8;
    return "3,None,0,1,"_utf8 + Number(width) + Number(height) + "1,25,0,"_utf8 + map + map;
}

// The pixels, a byte at a time; nothing if the stream is not that of so many.
std::optional<std::vector<uint8_t>> Decoded(const U_UTF8String& stored, int width, int height)
{
    try {
        IStringByteStream source(stored);
        IZipByteStream zip(source, static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        std::vector<uint8_t> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        for (auto& pixel : pixels) pixel = zip.Get();
        Require(zip.TakeRest().empty());
        return pixels;
    } catch (const StreamError&) {
        return {};
    }
}

std::vector<uint8_t> Shown(const AnyImageView& view)
{
    std::vector<uint8_t> pixels(CountPixels(view));
    ViewToBytes(view, pixels.data());
    return pixels;
}

template <class Out>
void Show(SpanManager& spans, const std::optional<std::vector<uint8_t>>& wanted, int width, int height,
          int outWidth, int outHeight)
{
    FakeHost host(kFrame, outWidth, outHeight);
    Out image(outWidth, outHeight);
    const AnyImageView output = gil::view(image);
    host.outputView = &output;
    Require(spans.FrozenRender(host, kFrame, OutputIndex_Segmentation));
    SpanRenderFrameData data(0, 1, host, spans);
    const auto trimap = Shown(data.CheckoutTrimapImage(kFrame)->GetView());
    const auto matte = Shown(output);
    const std::size_t pixels = matte.size();
    if (!wanted || width == 0 || height == 0) {
        Require(matte == std::vector<uint8_t>(pixels, kInput));
        Require(trimap == std::vector<uint8_t>(pixels, 0xFF));
    } else if (width == outWidth && height == outHeight) {
        Require(matte == *wanted && trimap == *wanted);
    } else {
        Require(matte == trimap);
    }
}

// Any bytes as pixels come back as they were.
void ThereAndBack(const U_UTF8String& bytes)
{
    if (bytes.empty()) return;
    gil::gray8_image_t image(static_cast<std::ptrdiff_t>(bytes.size()), 1);
    BytesToView(bytes.data(), gil::view(image));
    U_UTF8String stored;
    zip_compressor{stored}(gil::view(image));
    const auto back = Decoded(stored, static_cast<int>(bytes.size()), 1);
    Require(back && std::equal(back->begin(), back->end(), bytes.begin(), bytes.end()));
    U_UTF8String text;
    if (zvkcore::utility::DecodeBinaryDataFromUTF8String(bytes, text)) {
        Require(zvkcore::utility::EncodeBinaryDataToUTF8String(text) == bytes);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr std::size_t kHead = 5;
    if (size < kHead) return 0;
    const U_UTF8String stored(data + kHead, size - kHead);
    const int width = data[0];
    const int height = data[1];
    const int outWidth = 1 + data[2] % 64;
    const int outHeight = 1 + data[3] % 64;
    U_StartQuietErrorsOnCurrentThread(0);
    if ((data[4] & 0x80) != 0) {
        const int large = 0x01010101 * (data[0] & 0x7F);
        SpanManager spans{{}, false, Text(stored, large, large), {1, 25}};
        Show<gil::gray8_image_t>(spans, {}, large, large, outWidth, outHeight);
    } else {
        SpanManager spans{{}, false, Text(stored, width, height), {1, 25}};
        const auto wanted = Decoded(stored, width, height);
        using Showing =
            void (*)(SpanManager&, const std::optional<std::vector<uint8_t>>&, int, int, int, int);
        constexpr std::array<Showing, 4> kForms = {Show<gil::gray8_image_t>, Show<gil::rgba8_planar_image_t>,
                                                   Show<gil::gray32f_image_t>, Show<gil::rgba32f_image_t>};
        kForms[data[4] % kForms.size()](spans, wanted, width, height, outWidth, outHeight);
    }
    ThereAndBack(stored);
    U_EndQuietErrorsOnCurrentThread();
    return 0;
}
