#include "MVp_PropertySection.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "MVPropertySection.h"

namespace {

constexpr size_t kHeadBytes = 12;
constexpr size_t kPropertyHeadBytes = 16;
constexpr size_t kMagicBytes = sizeof MV_PROPERTY_SECTION_MAGIC - 1;

uint32_t Word(MVSectionBytes at)
{
    return at[0] | uint32_t{at[1]} << 8 | uint32_t{at[2]} << 16 | uint32_t{at[3]} << 24;
}

// Characters in the order of reading: the first is the highest byte of the code.
int32_t Code(MVSectionBytes at)
{
    return static_cast<int32_t>(uint32_t{at[0]} << 24 | uint32_t{at[1]} << 16 | uint32_t{at[2]} << 8 | at[3]);
}

bool AllZero(MVSectionBytes bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == 0; });
}

// Takes one property off the front of `rest`.
const char* TakeProperty(MVSectionBytes& rest, MVPropertyList* list)
{
    if (rest.size() < kPropertyHeadBytes) return "the property list ends inside a property";
    const uint32_t length = Word(rest.subspan(12));
    const MVSectionBytes behind = rest.subspan(kPropertyHeadBytes);
    // In 64 bits, so that no length wraps when it is padded.
    const uint64_t padded = (uint64_t{length} + 3) & ~uint64_t{3};
    if (padded > behind.size()) return "a property is longer than the property list";
    if (!AllZero(behind.subspan(length, padded - length))) return "the padding of a property is not zero";

    const Err err = MVAddProperty(list, Code(rest), Code(rest.subspan(4)),
                                  static_cast<int32_t>(Word(rest.subspan(8))), behind.data(), length);
    if (err == U_Err_OUT_OF_MEMORY) throw std::bad_alloc();
    if (err) return "a property stands twice";
    rest = behind.subspan(padded);
    return nullptr;
}

}  // namespace

const char* mvReadPropertySection(MVSectionBytes section, MVPropertyList* list)
{
    if (section.size() < kHeadBytes) return "the property list is cut short";
    if (std::memcmp(section.data(), MV_PROPERTY_SECTION_MAGIC, kMagicBytes) != 0)
        return "the property list does not begin with \"" MV_PROPERTY_SECTION_MAGIC "\"";
    if (Word(section.subspan(4)) != MV_PROPERTY_SECTION_VERSION)
        return "the property list has an unknown version";

    MVSectionBytes rest = section.subspan(kHeadBytes);
    uint32_t left = Word(section.subspan(8));
    // Each property is compared with all before it: a section full of empty ones would hold a host up for seconds.
    static_assert(MV_PROPERTY_COUNT_MAX == 1024, "the sentence has the number");
    if (left > MV_PROPERTY_COUNT_MAX) return "the property list has more than 1024 properties";
    for (; left != 0; --left) {
        if (const char* reason = TakeProperty(rest, list)) return reason;
    }
    return AllZero(rest) ? nullptr : "something stands behind the property list";
}
