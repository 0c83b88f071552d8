// A tree made from the input, of values and shapes that the text carries, is the same after it was written
// and read by each reader.
#include <algorithm>
#include <cstring>
#include <vector>

#include "U_AnyTree.h"

namespace {

using zvkcore::string::literals::operator""_u16;

void Require(bool holds)
{
    if (!holds) __builtin_trap();
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

    // Without "m" in front, since no magic word must come up by chance, and without the point and half pairs,
    // which the text does not carry.
    U_UTF16String TakeText()
    {
        U_UTF16String text(1, 'k');
        for (int count = Take<uint8_t>() % 24; count > 0; --count) {
            const auto unit = Take<uint16_t>();
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
    switch (input.Take<uint8_t>() % 9) {
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

void RequireSame(const U_AnyTreeWrapper& one, const U_AnyTreeWrapper& other)
{
    const auto ours = one.pairs(), theirs = other.pairs();
    Require(ours.size() == theirs.size());
    for (size_t i = 0; i < ours.size(); ++i) {
        Require(ours[i].first == theirs[i].first && ours[i].second == theirs[i].second);
        Require(ours[i].second.GetType() == theirs[i].second.GetType());
        Require(ours[i].second.IsMixed() == theirs[i].second.IsMixed());
    }
    std::vector<U_AnyTreeWrapper> children;
    other.for_each([&](int, const U_UTF16String&, const U_Any&, const U_AnyTreeWrapper& child) {
        children.push_back(child);
        return false;
    });
    size_t i = 0;
    one.for_each([&](int, const U_UTF16String&, const U_Any&, const U_AnyTreeWrapper& child) {
        RequireSame(child, children[i++]);
        return false;
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input{data, size};
    const U_AnyTreeWrapper tree = TakeTree(input, 0);
    const U_UTF16String text = tree.GetAs_JSON();
    U_AnyTreeWrapper ordinary, strict;
    ordinary.SetFrom_JSON(text);
    strict.SetFrom_JSON_Strict(text);
    RequireSame(tree, ordinary);
    RequireSame(tree, strict);
    Require(ordinary.GetAs_JSON() == text && strict.GetAs_JSON() == text);
    return 0;
}
