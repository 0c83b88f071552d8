/// An identity of 16 bytes.
///
/// A `Guid` is a value: it is copied and compared byte by byte, and serves as a key of maps. Any thread may
/// call.
#ifndef ZVKCORE_UTILITY_GUID_H
#define ZVKCORE_UTILITY_GUID_H

#include <boost/uuid/uuid.hpp>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"

namespace zvkcore::utility {

class Guid {
  public:
    /// How many bytes `GuidToBytes` gives.
    static constexpr std::size_t kSize = 16;

    /// All zero: no identity.
    constexpr Guid() noexcept : m_uuid{} {}

    /// Of 16 bytes as they stand.
    explicit Guid(const std::uint8_t (&bytes)[kSize]) noexcept { std::memcpy(m_uuid.data, bytes, kSize); }

    /// A new random identity (RFC 4122, version 4), of the system's entropy.
    ZVKCORE_EXPORT static Guid CreateRandom();

    /// The identity of `size` bytes: the same bytes give the same identity on every machine (XXH3, 128 bits,
    /// seed 0, canonical byte order).
    ZVKCORE_EXPORT static Guid CreateFromBytes(const void* data, std::size_t size) noexcept;

    /// 36 characters: "01234567-89ab-cdef-0123-456789abcdef".
    ZVKCORE_EXPORT string::UTF8String AsUTF8String() const;

    bool IsZero() const noexcept { return m_uuid.is_nil(); }

    /// The 16 bytes, most significant first; they live as long as the object.
    const std::uint8_t* GuidToBytes() const noexcept { return m_uuid.data; }

    friend bool operator==(const Guid& a, const Guid& b) noexcept
    {
        return std::memcmp(a.m_uuid.data, b.m_uuid.data, kSize) == 0;
    }
    friend std::strong_ordering operator<=>(const Guid& a, const Guid& b) noexcept
    {
        return std::memcmp(a.m_uuid.data, b.m_uuid.data, kSize) <=> 0;
    }

  private:
    boost::uuids::uuid m_uuid;
};

}  // namespace zvkcore::utility

template <>
struct std::hash<zvkcore::utility::Guid> {
    std::size_t operator()(const zvkcore::utility::Guid& guid) const noexcept
    {
        std::uint64_t halves[2];
        std::memcpy(halves, guid.GuidToBytes(), sizeof halves);
        return static_cast<std::size_t>((halves[0] ^ (halves[1] << 1)) * 0x9E3779B97F4A7C15u);
    }
};

#endif
