// A tree made from the input, of values and shapes that the text carries, is the same after it was written
// and read by each reader. The unit tests run this on random input too, so what does not hold is thrown.
#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <tuple>
#include <vector>

#include "U_AnyTree.h"

namespace {

using zvkcore::string::literals::operator""_u16;

using Reader = void (U_AnyTreeWrapper::*)(const U_UTF16String&);

void Require(bool holds)
{
    if (!holds) throw std::logic_error("a tree changed on its way through text");
}

// Takes numbers and texts off the front of the input; what is missing is zero or empty.
class Input {
  public:
    Input(const uint8_t* data, size_t size) : m_at{data}, m_end{data + size} {}

    bool AtEnd() const { return m_at == m_end; }

    template <class Value>
    Value Take()
    {
        Value value{};
        const auto size = std::min(sizeof value, static_cast<size_t>(m_end - m_at));
        if (size) std::memcpy(&value, m_at, size);
        m_at += size;
        return value;
    }

    // Half of it is ASCII. Without "m" in front, since no magic word must come up by chance, and without the
    // point and half pairs, which the text does not carry.
    U_UTF16String TakeText()
    {
        U_UTF16String text(1, 'k');
        for (int count = Take<uint8_t>() % 24; count > 0; --count) {
            unsigned short unit = Take<uint8_t>();
            if (unit >= 0x80) unit = static_cast<unsigned short>(unit << 8 | Take<uint8_t>());
            if (unit != '.' && (unit & 0xF800) != 0xD800) text.push_back(unit);
        }
        return text;
    }

  private:
    const uint8_t* m_at;
    const uint8_t* m_end;
};

U_Any TakeValue(Input& input)
{
    switch (input.Take<uint8_t>() % 10) {
        case 0:
            return {};
        case 1:
            return input.Take<uint8_t>() % 2 == 1;
        case 2:
            return input.Take<int64_t>();
        case 3:
            return input.Take<int32_t>() / 512.0;  // nine decimals are enough for these
        case 4:
            return static_cast<double>(input.Take<int64_t>() >> 11);
        case 5:
            return U_Any(0.0, true);
        case 6:
            return U_Any(false, true);
        case 7:
            return U_Any(u"mixed-string"_u16);
        case 8:
            return U_Any(0LL, true);
        default:
            return input.TakeText();
    }
}

U_AnyTreeWrapper TakeTree(Input& input, int depth)
{
    U_AnyTreeWrapper tree;
    const bool isArray = depth > 0 && input.Take<uint8_t>() % 2 == 1;
    for (int count = input.Take<uint8_t>() % 16; count > 0 && !input.AtEnd(); --count) {
        const U_UTF16String key = isArray ? U_UTF16String() : input.TakeText();
        const bool isTree = depth < 8 && input.Take<uint8_t>() % 3 == 0;
        if (isArray) {
            isTree ? tree.put(TakeTree(input, depth + 1)) : tree.put(TakeValue(input));
        } else {
            isTree ? tree.put(key, TakeTree(input, depth + 1)) : tree.put(key, TakeValue(input));
        }
    }
    return tree;
}

// Depth, key, type, mark and text of every node, in their order.
using Node = std::tuple<int, U_UTF16String, U_Any::TypeEnum, bool, U_UTF16String>;

std::vector<Node> NodesOf(const U_AnyTreeWrapper& tree)
{
    std::vector<Node> nodes;
    tree.for_each([&](int depth, const U_UTF16String& key, const U_Any& value, const U_AnyTreeWrapper&) {
        nodes.emplace_back(depth, key, value.GetType(), value.IsMixed(), value.GetAs_Str());
        return true;
    });
    return nodes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input{data, size};
    const U_AnyTreeWrapper tree = TakeTree(input, 0);
    const U_UTF16String text = tree.GetAs_JSON();
    for (const auto reader :
         {Reader{&U_AnyTreeWrapper::SetFrom_JSON}, Reader{&U_AnyTreeWrapper::SetFrom_JSON_Strict},
          &U_AnyTreeWrapper::SetFrom_JSON_HackRecoverMagicMixed}) {
        U_AnyTreeWrapper back;
        (back.*reader)(text);
        Require(NodesOf(back) == NodesOf(tree));
        Require(back.GetAs_JSON() == text);
    }
    return 0;
}
