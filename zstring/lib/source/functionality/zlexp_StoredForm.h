// The header of the stored form, shared by its reader and by the tool that writes it.
#ifndef ZLEXP_STOREDFORM_H
#define ZLEXP_STOREDFORM_H

#include <cstddef>
#include <string_view>

namespace zlex_private {

constexpr std::string_view kMagic = "ZString Binary Format";
static_assert(kMagic.size() == 21);

constexpr size_t kMajorAt = 21;
constexpr size_t kMinorAt = 22;
constexpr size_t kVersionAt = 23;  // a byte that the readers are given; none uses it any more
constexpr size_t kOrderAt = 24;    // from minor 1 on: bit 0 tells to swap

constexpr char kMajor = 2;
constexpr char kMinor = 1;

}  // namespace zlex_private

#endif
