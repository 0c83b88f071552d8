// The coder works on whole buffers: what is put is gathered and coded at the flush, and what is read is
// decoded at the first question, straight into the caller's run where that is the whole stream. A coder lives
// for one call, so streams share nothing. No state.
#include "zvkcore/filesupport/ZipByteStream.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "zvkcore/allocator/RecyclingAllocator.h"

namespace zvkcore::filesupport {
namespace {

struct CoderEnd {
    void operator()(libdeflate_compressor* coder) const noexcept { libdeflate_free_compressor(coder); }
    void operator()(libdeflate_decompressor* coder) const noexcept { libdeflate_free_decompressor(coder); }
};

constexpr std::size_t kSmallestRoom = 4096;

// RFC 1951: a match of 258 bytes takes two bits at least.
constexpr std::size_t kMostExpansion = 258 * 4;

// What became of decoding all of a stream: whether it fitted, and how many bytes it gave.
struct Decoded {
    bool fits;
    std::size_t size;
};

Decoded DecodeInto(std::span<const std::uint8_t> stored, std::span<std::uint8_t> room)
{
    const std::unique_ptr<libdeflate_decompressor, CoderEnd> coder(libdeflate_alloc_decompressor());
    if (!coder) throw std::bad_alloc{};
    std::size_t taken = 0;
    std::size_t made = 0;
    const auto result = libdeflate_deflate_decompress_ex(coder.get(), stored.data(), stored.size(),
                                                         room.data(), room.size(), &taken, &made);
    if (result == LIBDEFLATE_INSUFFICIENT_SPACE) return {false, 0};
    if (result != LIBDEFLATE_SUCCESS) throw StreamError("a compressed byte stream is damaged");
    if (taken != stored.size()) throw StreamError("a compressed byte stream has bytes behind its end");
    return {true, made};
}

std::size_t MostDecoded(std::size_t stored, std::size_t limit)
{
    if (stored > (std::numeric_limits<std::size_t>::max)() / kMostExpansion) return limit;
    return std::min(limit, stored * kMostExpansion);
}

}  // namespace

void ByteRoom::Reserve(std::size_t capacity)
{
    if (capacity <= m_capacity) return;
    auto* const data = static_cast<std::uint8_t*>(allocator::AllocateContainerBlock(capacity));
    if (m_size > 0) std::memcpy(data, m_data, m_size);
    allocator::DisposeContainerBlock(m_data, m_capacity);
    m_data = data;
    m_capacity = capacity;
}

void ByteRoom::Release() noexcept
{
    allocator::DisposeContainerBlock(m_data, m_capacity);
    m_data = nullptr;
    m_size = m_capacity = 0;
}

// --- Writing -----------------------------------------------------------------------------------------------

OZipByteStream::OZipByteStream(OByteStream& target, int level) noexcept
    : m_target(target), m_level(std::clamp(level, 0, 12))
{
}

OZipByteStream::~OZipByteStream() = default;

void OZipByteStream::Grow(std::size_t more)
{
    if (m_ended) throw std::logic_error("a compressed byte stream takes no byte behind its flush");
    const std::size_t size = m_room.Size();
    if (more > std::numeric_limits<std::size_t>::max() / 2 - size) throw std::bad_alloc{};
    m_room.Reserve(std::max({kSmallestRoom, size + more, m_room.Capacity() * 2}));
}

std::span<std::uint8_t> OZipByteStream::PutRoom(std::size_t count)
{
    const std::size_t size = m_room.Size();
    if (m_ended || count > m_room.Capacity() - size) Grow(count);
    m_room.SetSize(size + count);
    return {m_room.Data() + size, count};
}

void OZipByteStream::Put(std::span<const std::uint8_t> bytes)
{
    const auto room = PutRoom(bytes.size());
    if (!bytes.empty()) std::memcpy(room.data(), bytes.data(), bytes.size());
}

void OZipByteStream::Expect(std::size_t bytes)
{
    // A hint is no promise, so an impossible one is none either.
    if (m_ended || bytes > std::numeric_limits<std::size_t>::max() / 2 - m_room.Size()) return;
    m_room.Reserve(m_room.Size() + bytes);
}

void OZipByteStream::Flush()
{
    if (m_room.Size() > 0) {
        const std::unique_ptr<libdeflate_compressor, CoderEnd> coder(libdeflate_alloc_compressor(m_level));
        if (!coder) throw std::bad_alloc{};
        ByteRoom coded;
        coded.Reserve(libdeflate_deflate_compress_bound(coder.get(), m_room.Size()));
        const std::size_t size = libdeflate_deflate_compress(coder.get(), m_room.Data(), m_room.Size(),
                                                             coded.Data(), coded.Capacity());
        if (size == 0) throw StreamError("a byte stream could not be compressed");
        m_target.Put(std::span<const std::uint8_t>{coded.Data(), size});
    }
    m_room.Release();  // room that was only expected too: a later byte must find none
    m_ended = true;
    m_target.Flush();
}

// --- Reading -----------------------------------------------------------------------------------------------

IZipByteStream::IZipByteStream(IByteStream& source, std::size_t limit) noexcept
    : m_source(source), m_limit(limit)
{
}

IZipByteStream::~IZipByteStream() = default;

void IZipByteStream::Decode(std::span<const std::uint8_t> stored)
{
    if (stored.empty()) return;  // what a coder leaves that was given nothing
    const std::size_t most = MostDecoded(stored.size(), m_limit);
    for (std::size_t room = std::min(most, std::max(kSmallestRoom, stored.size() * 4));;
         room = std::min(most, room * 2)) {
        m_room.Reserve(room);
        const Decoded decoded = DecodeInto(stored, {m_room.Data(), room});
        if (decoded.fits) {
            m_rest = {m_room.Data(), decoded.size};
            return;
        }
        if (room == most) throw StreamError("a compressed byte stream holds more bytes than it may");
    }
}

void IZipByteStream::Load()
{
    Decode(m_source.TakeRest());
}

void IZipByteStream::Get(std::span<std::uint8_t> run)
{
    if (!run.empty() && run.size() <= m_limit && !SetLoaded()) {
        const auto stored = m_source.TakeRest();
        const Decoded decoded = stored.empty() ? Decoded{true, 0} : DecodeInto(stored, run);
        if (decoded.fits && decoded.size == run.size()) return;
        if (decoded.fits)
            throw StreamError("a compressed byte stream ends before the bytes that are asked of it");
        Decode(stored);
    }
    IByteStream::Get(run);
}

}  // namespace zvkcore::filesupport
