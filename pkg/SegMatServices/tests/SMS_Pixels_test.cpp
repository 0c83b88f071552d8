#include "SMS_Pixels.h"

#include <gtest/gtest.h>

#include <boost/gil/image.hpp>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "SMSp_PixelForms.h"

namespace {

using namespace tessaly;
using Bytes = std::vector<uint8_t>;
namespace gil = boost::gil;

// The table of the header once more, a value at a time and in wide integers.
uint8_t StoredByte(uint8_t v)
{
    return v;
}
uint8_t StoredByte(uint16_t v)
{
    return static_cast<uint8_t>((int64_t{v} * 255 + 16384) >> 15);
}
uint8_t StoredByte(float v)
{
    return static_cast<uint8_t>(std::min(255.0f, std::max(0.0f, v * 255 + 0.5f)));
}
template <class Value>
Value ShownValue(int64_t b)
{
    if constexpr (std::is_same_v<Value, float>) return static_cast<float>(b) / 255;
    if constexpr (std::is_same_v<Value, uint16_t>) {
        return static_cast<uint16_t>((((b & 0x1FFFF) * 32768 | (b & 0xFF) * 128) + 128) >> 8);
    }
    return static_cast<Value>(b);
}

template <class Channel>
using Plain = std::conditional_t<sizeof(Channel) == 1, uint8_t,
                                 std::conditional_t<sizeof(Channel) == 2, uint16_t, float>>;

template <class View>
class Form : public testing::Test {
  protected:
    using Image = gil::image<typename View::value_type, gil::is_planar<View>::value>;
    using Value = Plain<ViewChannel<View>>;

    // A view into the middle of a larger image, so that its rows do not follow one another.
    View Inside(std::ptrdiff_t width, std::ptrdiff_t height)
    {
        m_image.recreate(width + 5, height + 2);
        gil::fill_pixels(gil::view(m_image), Ones());
        return gil::subimage_view(gil::view(m_image), 3, 1, width, height);
    }

    static typename View::value_type Ones()
    {
        typename View::value_type pixel;
        gil::static_fill(pixel, static_cast<Value>(1));
        return pixel;
    }

    Image m_image;
};

using Forms = testing::Types<Rgba8View, Gray8View, Rgba8PlanarView, Rgba15View, Gray15View, Rgba15PlanarView,
                             RgbaFloatView, GrayFloatView, RgbaFloatPlanarView>;
TYPED_TEST_SUITE(Form, Forms);

TYPED_TEST(Form, StoresAndShowsTheFirstChannel)
{
    using Value = typename TestFixture::Value;
    for (const auto& [width, height] : {std::pair{1, 1}, {63, 3}, {64, 2}, {321, 4}}) {
        const auto view = this->Inside(width, height);
        Bytes bytes(static_cast<size_t>(width * height));
        std::iota(bytes.begin(), bytes.end(), uint8_t{0});
        U_UTF8String stored;
        zip_compressor{stored}(
            gil::interleaved_view(width, height, reinterpret_cast<gil::gray8_pixel_t*>(bytes.data()), width));
        zip_decompressor{stored}(view);
        for (int at = 0; at < width * height; ++at) {
            auto&& pixel = view(at % width, at / width);
            EXPECT_EQ(static_cast<Value>(gil::at_c<0>(pixel)),
                      ShownValue<Value>(bytes[static_cast<size_t>(at)]));
            if constexpr (gil::num_channels<TypeParam>::value > 1) {
                EXPECT_EQ(static_cast<Value>(gil::at_c<1>(pixel)), Value{1});
            }
        }
        auto&& left = gil::view(this->m_image)(2, 1);
        EXPECT_EQ(static_cast<Value>(gil::at_c<0>(left)), Value{1});
        U_UTF8String again;
        zip_compressor{again}(view);
        EXPECT_EQ(again, stored);

        const auto other = this->Inside(width + 1, height);
        EXPECT_THROW(zip_decompressor{stored}(other), zvkcore::filesupport::StreamError);
        const U_UTF8String damaged = stored.substr(1);
        EXPECT_THROW(zip_decompressor{damaged}(view), zvkcore::filesupport::StreamError);
    }
}

TYPED_TEST(Form, StoresAnyValue)
{
    using Value = typename TestFixture::Value;
    std::vector<Value> values(4000);
    std::mt19937 random(3);
    const auto view = this->Inside(400, 10);
    for (size_t at = 0; at < values.size(); ++at) {
        if constexpr (std::is_same_v<Value, float>) {
            values[at] = static_cast<float>(random() % 70000) / 65536.0f - 0.03f;
        } else {
            values[at] = static_cast<Value>(random() % (sizeof(Value) == 1 ? 256 : 32769));
        }
        auto&& pixel = view(static_cast<int>(at % 400), static_cast<int>(at / 400));
        gil::at_c<0>(pixel) = values[at];
    }
    Bytes bytes(4000);
    ViewToBytes(view, bytes.data());
    for (size_t at = 0; at < bytes.size(); ++at) EXPECT_EQ(bytes[at], StoredByte(values[at])) << values[at];
}

TYPED_TEST(Form, WithoutPixelsDoesNothing)
{
    U_UTF8String stored;
    zip_compressor{stored}(TypeParam{});
    EXPECT_TRUE(stored.empty());
    zip_decompressor{stored}(TypeParam{});
    gil::gray8_image_t source(2, 2);
    view_resizer{}(gil::view(source), TypeParam{});
    view_resizer{}(Gray8View{}, this->Inside(2, 2));
    EXPECT_EQ(CountPixels(TypeParam{}), 0u);
}

TEST(Pixels, OutOfRangeIsCut)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const float floats[] = {-1, -kInfinity, std::numeric_limits<float>::quiet_NaN(), 1.5f, kInfinity, 3e38f};
    const uint8_t wanted[] = {0, 0, 0, 255, 255, 255};
    // One pixel more than a block, so that both loops are asked.
    Bytes bytes(kBlock + 1);
    for (size_t at = 0; at < std::size(floats); ++at) {
        const std::vector<gil::float32_t> row(bytes.size(), floats[at]);
        RowToBytes<1>(row.data(), row.size(), bytes.data());
        EXPECT_EQ(bytes, Bytes(bytes.size(), wanted[at])) << floats[at];
    }
    for (const int value : {32768, 32769, 65535}) {
        const std::vector<Channel15> row(bytes.size(), static_cast<uint16_t>(value));
        RowToBytes<1>(row.data(), row.size(), bytes.data());
        EXPECT_EQ(bytes, Bytes(bytes.size(), 255)) << value;
    }
}

// --- Fitting -------------------------------------------------------------------------------------------------

Bytes Fitted(Bytes pixels, int width, int toWidth, int toHeight)
{
    const auto gray = [](Bytes& bytes, int across) {
        return gil::interleaved_view(across, static_cast<std::ptrdiff_t>(bytes.size()) / across,
                                     reinterpret_cast<gil::gray8_pixel_t*>(bytes.data()), across);
    };
    Bytes out(static_cast<size_t>(toWidth * toHeight));
    view_resizer{}(gray(pixels, width), gray(out, toWidth));
    return out;
}

struct Fit {
    const char* name;
    Bytes pixels;
    int width, toWidth, toHeight;
    Bytes wanted;
};

class Resizer : public testing::TestWithParam<Fit> {};

TEST_P(Resizer, GivesTheseBytes)
{
    const Fit& fit = GetParam();
    EXPECT_EQ(Fitted(fit.pixels, fit.width, fit.toWidth, fit.toHeight), fit.wanted);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, Resizer,
    testing::Values(Fit{"Same", {1, 2, 3, 4, 5, 6}, 3, 3, 2, {1, 2, 3, 4, 5, 6}},
                    Fit{"HalfIsTheMean", {0, 100, 200, 50, 10, 20, 30, 40}, 4, 2, 1, {33, 80}},
                    Fit{"PartsCountByWhatIsCovered", {0, 90, 240}, 3, 2, 1, {30, 190}},
                    Fit{"TwiceIsBetweenTheCentres", {0, 255}, 2, 4, 1, {0, 64, 191, 255}},
                    Fit{"EachAxisOnItsOwn", {0, 100, 200, 60}, 2, 1, 4, {50, 70, 110, 130}},
                    Fit{"OnePixel", {77}, 1, 3, 2, {77, 77, 77, 77, 77, 77}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ResizerOfAnySize, KeepsFlatAndMean)
{
    for (const auto& [width, height] : {std::pair{1, 1}, {7, 200}, {131, 66}, {257, 129}, {1000, 3}}) {
        EXPECT_EQ(Fitted(Bytes(130 * 65, 255), 130, width, height),
                  Bytes(static_cast<size_t>(width * height), 255));
    }
    Bytes noise(120 * 60);
    std::mt19937 random(11);
    for (auto& byte : noise) byte = static_cast<uint8_t>(random());
    const Bytes small = Fitted(noise, 120, 30, 20);
    const auto mean = [](const Bytes& bytes) {
        return std::accumulate(bytes.begin(), bytes.end(), 0.0) / static_cast<double>(bytes.size());
    };
    EXPECT_NEAR(mean(small), mean(noise), 0.2);
}

}  // namespace
