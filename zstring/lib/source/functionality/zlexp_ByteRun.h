// Runs of bytes that somebody else owns, and the hash that the stored form of a dictionary is built on.
#ifndef ZLEXP_BYTERUN_H
#define ZLEXP_BYTERUN_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zlex_private {

/// `length` bytes at `data`; a length of 0 is an empty run, whatever `data` is.
struct ByteRun {
    const unsigned char* data = nullptr;
    size_t length = 0;
};

/// A key. Keys are compared byte by byte, so their case counts.
class ByteRunKey {
  public:
    constexpr ByteRunKey(const unsigned char* data, size_t length) : m_run{data, length} {}
    constexpr explicit ByteRunKey(ByteRun run) : m_run(run) {}

    /// The hash of the stored form: at about five positions, spread evenly, h = (byte + 32 h) mod `modulus`.
    /// The bucket numbers in every dictionary agree with it, so it can't be improved. An empty key gives 0.
    ///
    /// At most nine bytes take part, so the whole sum stays below 2^53 and one division at the end gives what
    /// one at each step would.
    constexpr uint32_t Hash(uint32_t modulus) const
    {
        const size_t step = m_run.length < 5 ? 1 : m_run.length / 5;
        uint64_t sum = 0;
        for (size_t at = 0; at < m_run.length; at += step) sum = m_run.data[at] + sum * 32;
        return static_cast<uint32_t>(sum % modulus);
    }

    bool operator==(const ByteRunKey& other) const
    {
        return m_run.length == other.m_run.length &&
               (m_run.length == 0 || std::memcmp(m_run.data, other.m_run.data, m_run.length) == 0);
    }

  private:
    ByteRun m_run;
};

constexpr uint32_t kBucketCount = 1021;

constexpr uint32_t HashFunc(const unsigned char* key, size_t length)
{
    return ByteRunKey(key, length).Hash(kBucketCount);
}

}  // namespace zlex_private

#endif
