// Identities: random, written, and hashed from bytes in one go or in runs. No state.
#include "zvkcore/utility/Guid.h"

// The whole hash is compiled here: its streaming state is no part of the shared library's stable interface.
#define XXH_INLINE_ALL
#include <xxhash.h>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <new>
#include <type_traits>

#include "zvkcore/utility/HashValueMixer.h"

namespace zvkcore::utility {
namespace {

Guid FromHash(XXH128_hash_t hash)
{
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, hash);
    static_assert(sizeof canonical.digest == Guid::kSize);
    return Guid{canonical.digest};
}

XXH3_state_t* StateIn(unsigned char* room)
{
    return std::launder(reinterpret_cast<XXH3_state_t*>(room));
}
const XXH3_state_t* StateIn(const unsigned char* room)
{
    return std::launder(reinterpret_cast<const XXH3_state_t*>(room));
}

}  // namespace

Guid Guid::CreateRandom()
{
    boost::uuids::random_generator_pure generator;
    Guid guid;
    guid.m_uuid = generator();
    return guid;
}

Guid Guid::CreateFromBytes(const void* data, std::size_t size) noexcept
{
    return FromHash(XXH3_128bits(data, size));
}

string::UTF8String Guid::AsUTF8String() const
{
    char text[36];
    boost::uuids::to_chars(m_uuid, text, text + sizeof text);
    return string::UTF8String{string::Units(std::string_view{text, sizeof text})};
}

// The state is plain memory, so copying its room copies the hash in the making.
static_assert(std::is_trivially_copyable_v<XXH3_state_t> &&
              sizeof(XXH3_state_t) == sizeof(HashValueMixerState) &&
              alignof(XXH3_state_t) == alignof(HashValueMixerState));

HashValueMixerState::HashValueMixerState() noexcept
{
    XXH3_128bits_reset(new (m_room) XXH3_state_t);
}

void UpdateHashState(HashValueMixerState& state, const void* data, std::size_t size) noexcept
{
    if (size != 0) XXH3_128bits_update(StateIn(state.m_room), data, size);
}

void GetHashResult(const HashValueMixerState& state, Guid& guid) noexcept
{
    guid = FromHash(XXH3_128bits_digest(StateIn(state.m_room)));
}

}  // namespace zvkcore::utility
