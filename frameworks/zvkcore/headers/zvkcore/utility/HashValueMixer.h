/// Hashes a sequence of byte runs into an identity.
///
///     HashValueMixerState state;
///     UpdateHashState(state, label, labelSize);
///     UpdateHashState(state, &index, sizeof index);
///     Guid identity;
///     GetHashResult(state, identity);
///
/// Only the bytes count, not how they are divided into runs; the result is `Guid::CreateFromBytes` of all of
/// them and the same on every machine. One thread at a time uses a state.
#ifndef ZVKCORE_UTILITY_HASHVALUEMIXER_H
#define ZVKCORE_UTILITY_HASHVALUEMIXER_H

#include <cstddef>

#include "zvkcore/utility/Guid.h"

namespace zvkcore::utility {

/// A hash in the making; a copy goes on from where its original stands.
class HashValueMixerState {
  public:
    HashValueMixerState() noexcept;

  private:
    friend void UpdateHashState(HashValueMixerState&, const void*, std::size_t) noexcept;
    friend void GetHashResult(const HashValueMixerState&, Guid&) noexcept;

    alignas(64) unsigned char m_room[576];
};

/// Adds `size` bytes; `data` may be null if `size` is 0.
void UpdateHashState(HashValueMixerState& state, const void* data, std::size_t size) noexcept;

/// Gives the identity of all bytes so far; more may follow.
void GetHashResult(const HashValueMixerState& state, Guid& guid) noexcept;

}  // namespace zvkcore::utility

#endif
