// Base 64 by tables: two characters for each 12 bits on the way out; on the way back a table for each place
// in a group of four, which gives the bits where they belong and a mark above them for a character that is
// none of the 64. No state.
#include "zvkcore/utility/BinaryText.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

namespace zvkcore::utility {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
static_assert(kAlphabet.size() == 64);

constexpr unsigned char kPad = '=';
constexpr std::uint32_t kNoCharacter = 0x01000000;  // above the 24 bits of a group

struct CharacterPair {
    unsigned char first, second;
};

constexpr auto kPairs = [] {
    std::array<CharacterPair, 4096> pairs{};
    for (std::size_t bits = 0; bits < pairs.size(); ++bits) {
        pairs[bits] = {static_cast<unsigned char>(kAlphabet[bits >> 6]),
                       static_cast<unsigned char>(kAlphabet[bits & 63])};
    }
    return pairs;
}();

// Bits of a character at each of the four places of its group.
constexpr auto kBits = [] {
    std::array<std::array<std::uint32_t, 256>, 4> bits{};
    for (std::size_t place = 0; place < bits.size(); ++place) {
        bits[place].fill(kNoCharacter);
        for (std::uint32_t value = 0; value < 64; ++value) {
            bits[place][static_cast<unsigned char>(kAlphabet[value])] = value << (18 - 6 * place);
        }
    }
    return bits;
}();

std::uint32_t GroupBits(const unsigned char* text)
{
    return kBits[0][text[0]] | kBits[1][text[1]] | kBits[2][text[2]] | kBits[3][text[3]];
}

void PutGroup(std::uint32_t bits, unsigned char* text)
{
    std::memcpy(text, &kPairs[bits >> 12], 2);
    std::memcpy(text + 2, &kPairs[bits & 0xFFF], 2);
}

// The last group, of one to three bytes: the bits behind the last byte must be those that the encoding
// leaves.
bool DecodeLastGroup(const unsigned char* text, unsigned char* bytes, std::size_t count)
{
    unsigned char group[4] = {text[0], text[1], 'A', 'A'};
    if (count > 1) group[2] = text[2];
    if (count > 2) group[3] = text[3];
    const std::uint32_t bits = GroupBits(group);
    if (bits >= kNoCharacter || (bits & (0xFFFFFFu >> (8 * count))) != 0) return false;
    for (std::size_t at = 0; at < count; ++at) bytes[at] = static_cast<unsigned char>(bits >> (16 - 8 * at));
    return true;
}

}  // namespace

string::UTF8String EncodeBinaryDataToUTF8String(string::UTF8View bytes)
{
    string::UTF8String text((bytes.size() + 2) / 3 * 4, kPad);
    const unsigned char* from = bytes.data();
    unsigned char* to = text.data();
    for (std::size_t left = bytes.size() / 3; left > 0; --left, from += 3, to += 4) {
        PutGroup(static_cast<std::uint32_t>(from[0] << 16 | from[1] << 8 | from[2]), to);
    }
    const std::size_t rest = bytes.size() % 3;
    if (rest > 0) {
        unsigned char group[4];
        PutGroup(static_cast<std::uint32_t>(from[0] << 16 | (rest > 1 ? from[1] << 8 : 0)), group);
        std::memcpy(to, group, rest + 1);
    }
    return text;
}

bool DecodeBinaryDataFromUTF8String(string::UTF8View text, string::UTF8String& bytes)
{
    string::UTF8String decoded;
    const std::size_t groups = text.size() / 4;
    bool good = text.size() % 4 == 0;
    if (good && groups > 0) {
        const std::size_t pads = text.back() != kPad ? 0 : text[text.size() - 2] != kPad ? 1 : 2;
        decoded.resize(groups * 3 - pads);
        const unsigned char* from = text.data();
        unsigned char* to = decoded.data();
        std::uint32_t seen = 0;
        for (std::size_t left = groups - 1; left > 0; --left, from += 4, to += 3) {
            const std::uint32_t bits = GroupBits(from);
            seen |= bits;
            to[0] = static_cast<unsigned char>(bits >> 16);
            to[1] = static_cast<unsigned char>(bits >> 8);
            to[2] = static_cast<unsigned char>(bits);
        }
        good = seen < kNoCharacter && DecodeLastGroup(from, to, 3 - pads);
    }
    if (!good) decoded.clear();
    bytes = std::move(decoded);
    return good;
}

}  // namespace zvkcore::utility
