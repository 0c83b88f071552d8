// Any text into the three readers, in 16-bit units and as UTF-8. What the strict reader takes the ordinary
// one takes too and reads the same; what was read can be written unless its keys or depth forbid, and copying
// a tree changes nothing.
#include <optional>

#include "U_AnyTree.h"
#include "zvkcore/string/Convert.h"

namespace {

void Require(bool holds)
{
    if (!holds) __builtin_trap();
}

template <class Read>
std::optional<U_AnyTreeWrapper> Try(Read read)
{
    U_AnyTreeWrapper tree;
    try {
        read(tree);
    } catch (const boost::bad_any_cast&) {
        return std::nullopt;
    } catch (const bad_uanytree_json&) {
        return std::nullopt;
    }
    return tree;
}

std::optional<U_UTF16String> Write(const U_AnyTreeWrapper& tree)
{
    try {
        return tree.GetAs_JSON();
    } catch (const boost::bad_any_cast&) {
        return std::nullopt;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const U_UTF8String utf8(data, data + size);
    const U_UTF16String utf16 = zvkcore::string::UTF8to16(utf8);
    const auto ordinary = Try([&](U_AnyTreeWrapper& tree) { tree.SetFrom_JSON(utf16); });
    const auto bytes = Try([&](U_AnyTreeWrapper& tree) { tree.SetFrom_JSON(utf8); });
    const auto hack = Try([&](U_AnyTreeWrapper& tree) { tree.SetFrom_JSON_HackRecoverMagicMixed(utf16); });
    const auto strict = Try([&](U_AnyTreeWrapper& tree) { tree.SetFrom_JSON_Strict(utf8); });
    Require(ordinary.has_value() == bytes.has_value());
    Require(!ordinary || hack);
    Require(!strict || ordinary);
    if (!ordinary) return 0;

    const auto text = Write(*ordinary);
    Require(text == Write(*bytes) && text == Write(*hack));
    if (strict) Require(text == Write(*strict));
    Require(text == Write(U_AnyTreeWrapper(*ordinary)));
    if (!text) return 0;
    const auto again = Try([&](U_AnyTreeWrapper& tree) { tree.SetFrom_JSON(*text); });
    Require(again.has_value() && Write(*again).has_value());

    // The same bytes as 16-bit units, lone surrogates and all.
    U_UTF16String units(size / 2, 0);
    for (size_t i = 0; i < units.size(); ++i)
        units[i] = static_cast<unsigned short>(data[2 * i] | data[2 * i + 1] << 8);
    Try([&](U_AnyTreeWrapper& tree) { tree.SetFrom_JSON(units); });
    Try([&](U_AnyTreeWrapper& tree) { tree.SetFrom_JSON_Strict(units); });
    return 0;
}
