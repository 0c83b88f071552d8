/// Streams of bytes, and those over a byte string.
///
///     zvkcore::string::UTF8String stored;
///     OStringByteStream target(stored);
///     target.Put(header);                     // a whole run
///     target.Put(std::uint8_t{0});            // one byte
///
///     IStringByteStream source(stored);
///     const std::uint8_t first = source.Get();
///
/// A stream stands on what it was given and owns none of it: string or lower stream outlive it. One thread at
/// a time uses a stream. Give whole runs where there are any: a run costs one call and one copy.
#ifndef ZVKCORE_FILESUPPORT_BYTESTREAM_H
#define ZVKCORE_FILESUPPORT_BYTESTREAM_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>

#include "zvkcore/config/Export.h"
#include "zvkcore/string/UTFString.h"

namespace zvkcore::filesupport {

/// Bytes that were asked for are not there, or are no valid stored form.
class ZVKCORE_EXPORT StreamError : public std::runtime_error {
  public:
    explicit StreamError(const char* text);
    ~StreamError() override;
};

/// Takes bytes. All operations may throw `std::bad_alloc`.
class ZVKCORE_EXPORT OByteStream {
  public:
    virtual ~OByteStream();

    virtual void Put(std::uint8_t byte) = 0;
    virtual void Put(std::span<const std::uint8_t> bytes) = 0;

    /// Says that about `bytes` more bytes will come, so that room is made once.
    virtual void Expect(std::size_t bytes) = 0;

    /// Passes everything on to where it belongs.
    virtual void Flush() = 0;
};

/// Appends to a byte string.
class ZVKCORE_EXPORT OStringByteStream final : public OByteStream {
  public:
    explicit OStringByteStream(string::UTF8String& target) noexcept : m_target(target) {}
    ~OStringByteStream() override;

    void Put(std::uint8_t byte) override { m_target.push_back(byte); }
    void Put(std::span<const std::uint8_t> bytes) override { m_target.append(bytes.data(), bytes.size()); }
    void Expect(std::size_t bytes) override;

    /// Nothing waits: every byte is in the string when `Put` returns.
    void Flush() override {}

  private:
    string::UTF8String& m_target;
};

/// Gives bytes. A question that throws, whatever it throws, may end the stream: read again from a new one.
class ZVKCORE_EXPORT IByteStream {
  public:
    virtual ~IByteStream();

    /// The next byte; throws `StreamError` when there is none.
    std::uint8_t Get()
    {
        if (m_rest.empty()) Need(1);
        const std::uint8_t byte = m_rest.front();
        m_rest = m_rest.subspan(1);
        return byte;
    }

    /// Fills the whole of `run`; throws `StreamError` when there are fewer bytes, and what `run` then holds
    /// is undefined.
    virtual void Get(std::span<std::uint8_t> run);

    /// All bytes that have not been got, where they stand. They live as long as what the stream stands on,
    /// and the stream has then ended.
    std::span<const std::uint8_t> TakeRest();

  protected:
    IByteStream() = default;
    explicit IByteStream(std::span<const std::uint8_t> bytes) noexcept : m_rest(bytes), m_loaded(true) {}

    /// Puts all bytes of the stream into `m_rest`. Called once, when the first is asked for.
    virtual void Load() {}

    /// Marks the stream as loaded; the former answer.
    bool SetLoaded() noexcept
    {
        const bool former = m_loaded;
        m_loaded = true;
        return former;
    }

    std::span<const std::uint8_t> m_rest;

  private:
    void Need(std::size_t bytes);

    bool m_loaded = false;
};

/// Reads a byte string, which must not change meanwhile.
class ZVKCORE_EXPORT IStringByteStream final : public IByteStream {
  public:
    explicit IStringByteStream(string::UTF8View source) noexcept : IByteStream({source.data(), source.size()})
    {
    }
    ~IStringByteStream() override;
};

}  // namespace zvkcore::filesupport

#endif
