#include "SMS_Pixels.h"

#include <gtest/gtest.h>

#include <boost/gil/image.hpp>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "SMSp_PixelForms.h"

namespace {

using namespace tessaly;
using Bytes = std::vector<uint8_t>;
namespace gil = boost::gil;

template <class Channel>
using Plain = std::conditional_t<sizeof(Channel) == 1, uint8_t,
                                 std::conditional_t<sizeof(Channel) == 2, uint16_t, float>>;

template <class View>
class Form : public testing::Test {
  protected:
    using Image = gil::image<typename View::value_type, gil::is_planar<View>::value>;
    using Value = Plain<ViewChannel<View>>;

    // A view into a larger image, so that its rows do not follow one another. All channels are 1.
    View Inside(std::ptrdiff_t width, std::ptrdiff_t height)
    {
        typename View::value_type ones;
        gil::static_fill(ones, static_cast<Value>(1));
        m_image.recreate(width + 5, height + 2);
        gil::fill_pixels(gil::view(m_image), ones);
        return gil::subimage_view(gil::view(m_image), 3, 1, width, height);
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
                      ChannelForm<ViewChannel<TypeParam>>::FromByte(bytes[static_cast<size_t>(at)]));
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
    }
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
}

template <class Channel, class Value>
void ExpectByte(Value value, uint8_t wanted)
{
    Bytes bytes(kBlock + 1);  // one pixel more than a block, so that both loops are asked
    const std::vector<Channel> row(bytes.size(), Channel(value));
    RowToBytes<1>(row.data(), row.size(), bytes.data());
    EXPECT_EQ(bytes, Bytes(bytes.size(), wanted)) << value;
}

TEST(Pixels, AreRoundedAndCut)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::pair<float, uint8_t> floats[] = {
        {0.0f, 0},  {0.5f, 128},     {1.0f, 255}, {0.00195f, 0}, {0.00197f, 1},    {0.99f, 252},
        {-1.0f, 0}, {-kInfinity, 0}, {1.5f, 255}, {3e38f, 255},  {kInfinity, 255}, {std::nanf(""), 0}};
    for (const auto& [value, byte] : floats) ExpectByte<gil::float32_t>(value, byte);
    const std::pair<uint16_t, uint8_t> shorts[] = {{0, 0},       {64, 0},      {65, 1},
                                                   {16384, 128}, {32703, 254}, {32704, 255},
                                                   {32768, 255}, {32769, 255}, {65535, 255}};
    for (const auto& [value, byte] : shorts) ExpectByte<Channel15>(value, byte);

    // Vectors follow the rule, whose results stand above, for every value.
    std::vector<Channel15> all(65536);
    for (size_t at = 0; at < all.size(); ++at) all[at] = static_cast<uint16_t>(at);
    Bytes bytes(all.size());
    RowToBytes<1>(all.data(), all.size(), bytes.data());
    for (size_t at = 0; at < all.size(); ++at)
        EXPECT_EQ(bytes[at], ChannelForm<Channel15>::ToByte(static_cast<uint16_t>(at))) << at;
}

// --- Fitting -----------------------------------------------------------------------------------------------

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

TEST(Resizer, GivesTheseBytes)
{
    struct Fit {
        const char* name;
        Bytes pixels;
        int width, toWidth, toHeight;
        Bytes wanted;
    };
    for (const Fit& fit : {
             Fit{"same", {1, 2, 3, 4, 5, 6}, 3, 3, 2, {1, 2, 3, 4, 5, 6}},
             Fit{"half is the mean", {0, 100, 200, 50, 10, 20, 30, 40}, 4, 2, 1, {33, 80}},
             Fit{"parts count by what is covered", {0, 90, 240}, 3, 2, 1, {30, 190}},
             Fit{"twice is between the centres", {0, 255}, 2, 4, 1, {0, 64, 191, 255}},
             Fit{"each axis on its own", {0, 100, 200, 60}, 2, 1, 4, {50, 70, 110, 130}},
             Fit{"one pixel", {77}, 1, 3, 2, {77, 77, 77, 77, 77, 77}},
         }) {
        EXPECT_EQ(Fitted(fit.pixels, fit.width, fit.toWidth, fit.toHeight), fit.wanted) << fit.name;
    }
}

TEST(Resizer, KeepsAFlatMatteFlat)
{
    for (const auto& [width, height] : {std::pair{1, 1}, {7, 200}, {131, 66}, {257, 129}, {1000, 3}}) {
        EXPECT_EQ(Fitted(Bytes(130 * 65, 255), 130, width, height),
                  Bytes(static_cast<size_t>(width * height), 255));
    }
}

}  // namespace
