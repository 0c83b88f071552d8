#include "zvkcore/filesupport/ZipByteStream.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace zvkcore::filesupport {
namespace {

using Bytes = std::vector<std::uint8_t>;
using string::UTF8String;

Bytes Noise(std::size_t size)
{
    Bytes bytes(size);
    std::mt19937 random(7);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() & 0x3F);
    return bytes;
}

UTF8String Zip(const Bytes& bytes, int level = 5)
{
    UTF8String stored;
    OStringByteStream target(stored);
    OZipByteStream zip(target, level);
    zip.Put(bytes);
    zip.Flush();
    return stored;
}

Bytes Unzip(const UTF8String& stored, std::size_t size)
{
    IStringByteStream source(stored);
    IZipByteStream unzip(source, size);
    Bytes bytes(size);
    unzip.Get(bytes);
    return bytes;
}

TEST(ZipByteStream, GivesBackWhatWasPutInAnyPieces)
{
    for (const std::size_t size : {0u, 1u, 257u, 4096u, 4097u, 70000u}) {
        for (const int level : {-3, 0, 1, 5, 12, 99}) {
            const Bytes bytes = Noise(size);
            const UTF8String stored = Zip(bytes, level);
            EXPECT_EQ(stored.empty(), bytes.empty());
            EXPECT_EQ(Unzip(stored, size), bytes);

            UTF8String single;
            OStringByteStream target(single);
            OZipByteStream zip(target, level);
            zip.Expect(size / 2 + 1);
            for (const auto byte : bytes) zip.Put(byte);
            zip.Flush();
            zip.Flush();
            EXPECT_EQ(single, stored) << size;
            EXPECT_THROW(zip.Put(std::uint8_t{0}), std::logic_error);

            IStringByteStream source(stored);
            IZipByteStream unzip(source);
            Bytes halves(size);
            unzip.Get(std::span(halves).first(size / 2));
            for (auto& byte : std::span(halves).subspan(size / 2)) byte = unzip.Get();
            EXPECT_EQ(halves, bytes);
            EXPECT_THROW(unzip.Get(), StreamError);
        }
    }
}

TEST(ZipByteStream, RefusesWhatIsNotItsForm)
{
    const Bytes bytes = Noise(3000);
    const UTF8String stored = Zip(bytes);
    for (std::size_t cut = 0; cut < stored.size(); ++cut) {
        EXPECT_THROW(Unzip(stored.substr(0, cut), bytes.size()), StreamError) << cut;
    }
    EXPECT_THROW(Unzip(stored + stored, bytes.size()), StreamError);
    EXPECT_THROW(Unzip(stored, bytes.size() - 1), StreamError);
    EXPECT_THROW(Unzip(stored, bytes.size() + 1), StreamError);

    // A run that is larger than the limit, and a part of a stream that goes over it.
    IStringByteStream source(stored);
    IZipByteStream unzip(source, 100);
    Bytes few(10);
    EXPECT_THROW(unzip.Get(few), StreamError);
    EXPECT_THROW(unzip.Get(), StreamError);
}

}  // namespace
}  // namespace zvkcore::filesupport
