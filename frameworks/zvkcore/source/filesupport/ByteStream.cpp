// Streams over memory. A reading stream is a span of what is left; one that has to work for its bytes does so
// once, in `Load`. No state.
#include "zvkcore/filesupport/ByteStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zvkcore::filesupport {

StreamError::StreamError(const char* text) : std::runtime_error(text) {}
StreamError::~StreamError() = default;

OByteStream::~OByteStream() = default;
OStringByteStream::~OStringByteStream() = default;
IByteStream::~IByteStream() = default;
IStringByteStream::~IStringByteStream() = default;

void OStringByteStream::Expect(std::size_t bytes)
{
    // A hint is no promise, so an impossible one is none either.
    if (bytes > m_target.max_size() - m_target.size()) return;
    m_target.reserve(m_target.size() + bytes);
}

void IByteStream::Need(std::size_t bytes)
{
    if (m_rest.size() < bytes && !SetLoaded()) Load();
    if (m_rest.size() < bytes) throw StreamError("a byte stream ends before the bytes that are asked of it");
}

void IByteStream::Get(std::span<std::uint8_t> run)
{
    Need(run.size());
    if (!run.empty()) std::memcpy(run.data(), m_rest.data(), run.size());
    m_rest = m_rest.subspan(run.size());
}

std::span<const std::uint8_t> IByteStream::TakeRest()
{
    if (!SetLoaded()) Load();
    return std::exchange(m_rest, {});
}

}  // namespace zvkcore::filesupport
