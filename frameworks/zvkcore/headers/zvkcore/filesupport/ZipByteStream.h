/// Compressed bytes over another byte stream.
///
///     zvkcore::string::UTF8String stored;
///     OStringByteStream target(stored);
///     OZipByteStream zip(target, 5);
///     zip.Put(pixels);
///     zip.Flush();                            // without it nothing is stored
///
///     IStringByteStream source(stored);
///     IZipByteStream unzip(source, pixels.size());
///     unzip.Get(back);
///
/// The stored form is one raw deflate stream (RFC 1951): no header, no checksum. A stream is coded as a
/// whole, so it stays in memory until it is flushed or read; that is made for frames and not for files of
/// gigabytes. A whole run that is read at once is decoded where it is wanted, without a copy.
#ifndef ZVKCORE_FILESUPPORT_ZIPBYTESTREAM_H
#define ZVKCORE_FILESUPPORT_ZIPBYTESTREAM_H

#include <limits>

#include "zvkcore/filesupport/ByteStream.h"

namespace zvkcore::filesupport {

/// Bytes of undefined value on the recycled memory, for coders that write before they read.
class ByteRoom {
  public:
    ByteRoom() = default;
    ~ByteRoom() { Release(); }
    ByteRoom(const ByteRoom&) = delete;
    ByteRoom& operator=(const ByteRoom&) = delete;

    std::uint8_t* Data() const noexcept { return m_data; }
    std::size_t Size() const noexcept { return m_size; }
    std::size_t Capacity() const noexcept { return m_capacity; }

    /// Makes room for `capacity` bytes and keeps those that are there.
    ZVKCORE_EXPORT void Reserve(std::size_t capacity);

    /// Sets the size, at most the capacity.
    void SetSize(std::size_t size) noexcept { m_size = size; }

    ZVKCORE_EXPORT void Release() noexcept;

  private:
    std::uint8_t* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

/// Compresses what is put and passes it on, once, when it is flushed.
class ZVKCORE_EXPORT OZipByteStream final : public OByteStream {
  public:
    /// level  0 (no compression) to 12 (smallest); others are taken as the nearer of the two
    OZipByteStream(OByteStream& target, int level) noexcept;

    /// Stores nothing: bytes that were not flushed are dropped.
    ~OZipByteStream() override;

    void Put(std::uint8_t byte) override
    {
        if (m_room.Size() == m_room.Capacity()) Grow(1);
        m_room.Data()[m_room.Size()] = byte;
        m_room.SetSize(m_room.Size() + 1);
    }
    void Put(std::span<const std::uint8_t> bytes) override;

    /// Puts `count` bytes that the caller writes afterwards, in front of its next call: what would be a run
    /// of its own is made in place.
    std::span<std::uint8_t> PutRoom(std::size_t count);

    void Expect(std::size_t bytes) override;

    /// Compresses all, puts it to the target and flushes that. If nothing was put, nothing is stored. This
    /// ends the stream: a later `Put` throws `std::logic_error`, and a later `Flush` does nothing. A flush
    /// that throws has stored nothing unless the target did, and may be tried again.
    void Flush() override;

  private:
    void Grow(std::size_t more);

    OByteStream& m_target;
    ByteRoom m_room;
    int m_level;
    bool m_ended = false;
};

/// Reads what an `OZipByteStream` or any other coder of raw deflate stored. All bytes of `source` are the
/// stream; they are taken at the first `Get`.
///
/// A damaged stream, one with bytes behind its end, and one of more than `limit` bytes throw `StreamError`.
class ZVKCORE_EXPORT IZipByteStream final : public IByteStream {
  public:
    /// limit  the most bytes that are decoded; give the size that you expect where the source is not trusted.
    ///        Without it a stored byte may become 1032, the most that the form allows
    explicit IZipByteStream(IByteStream& source,
                            std::size_t limit = std::numeric_limits<std::size_t>::max()) noexcept;
    ~IZipByteStream() override;

    using IByteStream::Get;
    void Get(std::span<std::uint8_t> run) override;

  protected:
    void Load() override;

  private:
    void Decode(std::span<const std::uint8_t> stored);

    IByteStream& m_source;
    std::size_t m_limit;
    ByteRoom m_room;
};

}  // namespace zvkcore::filesupport

#endif
