/// Mattes as bytes: what a view of any pixel form stores of itself, and how it is shown again.
///
///     U_UTF8String stored;
///     tessaly::zip_compressor{stored}(view);      // one deflate stream of width times height bytes
///     tessaly::zip_decompressor{stored}(output);  // the same size, any pixel form
///
/// A matte has one byte a pixel, row by row from the top, without padding. Of colour, interleaved or planar,
/// the first channel is read and written; the others stay as they are.
///
///   channel        byte of a value v                          value of a byte b
///   8 bits         v                                          b
///   15 bits        (v * 255 + 16384) >> 15                    (b * 32768 + b * 128 + 128) >> 8
///   float          v * 255 + 0.5, cut to 0..255, truncated    b / 255
///
/// Going out and coming back keeps every byte. A value of 15 bits above 32768 counts as 32768, and a float
/// that is no number as 0.
///
/// Threads: any; nothing here has state. A view without pixels is accepted everywhere, and then nothing
/// happens.
#ifndef SMS_PIXELS_H
#define SMS_PIXELS_H

#include <cstddef>
#include <cstdint>

#include "SegMatServices.h"
#include "zvkcore/filesupport/ZipByteStream.h"

namespace tessaly {

/// Pixels of a view: width times height, 0 if either is.
U_EXPORT std::size_t CountPixels(const AnyImageView& view);

/// Writes the bytes of all pixels to `bytes`, `CountPixels(view)` of them.
U_EXPORT void ViewToBytes(const AnyImageView& view, std::uint8_t* bytes);

/// Writes the values of `CountPixels(view)` bytes to the pixels.
U_EXPORT void BytesToView(const std::uint8_t* bytes, const AnyImageView& view);

/// Compresses views into a byte string: raw deflate at level 5.
class U_EXPORT zip_compressor {
  public:
    explicit zip_compressor(U_UTF8String& target) noexcept : m_target(target) {}

    /// Appends the compressed bytes of the view; nothing for a view without pixels. If it throws
    /// `std::bad_alloc`, the string is as it was.
    void operator()(const AnyImageView& view) const;

  private:
    U_UTF8String& m_target;
};

/// Shows compressed bytes in views.
class U_EXPORT zip_decompressor {
  public:
    /// The bytes stay the caller's and must not change meanwhile.
    explicit zip_decompressor(const U_UTF8String& stored) noexcept : m_stored(stored) {}

    /// Fills the pixels of `target`. Bytes that are damaged, or of another number of pixels, throw
    /// `zvkcore::filesupport::StreamError`, and what the target then shows is undefined.
    void operator()(const AnyImageView& target) const;

  private:
    const U_UTF8String& m_stored;
};

/// Fits a matte into a view of another size, each axis on its own.
///
/// An axis that shrinks averages: a pixel becomes the mean of the stretch of the source that it covers, edge
/// pixels counted by the part covered. An axis that grows interpolates between the two nearest pixel centres,
/// and repeats the edge. An axis of the same size is copied. The mean of a matte is kept where it shrinks, a
/// flat one stays flat, and the same size gives the same bytes. Results are rounded to the nearest byte.
class U_EXPORT view_resizer {
  public:
    /// Nothing happens if either view has no pixels.
    void operator()(const Gray8View& source, const AnyImageView& target) const;
};

}  // namespace tessaly

#endif
