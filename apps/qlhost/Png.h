// PNG files as RGBA of eight bits a channel, read into memory that the caller provides.
#ifndef QLHOST_PNG_H
#define QLHOST_PNG_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace qlhost {

struct PngSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint64_t Bytes() const { return std::uint64_t{width} * height * 4; }
};

/// Gives room for an image of this size, row by row without padding, or null to give up.
using PixelRoom = std::function<std::uint8_t*(const PngSize&)>;

/// Decodes the bytes of a file of any PNG colour type. On failure `why` says in one line what is wrong; what `room` gave then
/// holds an undefined part of the image. An empty `why` with a false result means that `room` gave null.
bool ReadPng(const std::vector<std::uint8_t>& file, const PixelRoom& room, std::string& why);

/// Writes RGBA rows. Fast rather than small.
bool WritePng(const std::filesystem::path& file, const PngSize& size, const std::uint8_t* rgba,
              std::string& why);

/// The same for rows of gray.
bool WriteGrayPng(const std::filesystem::path& file, const PngSize& size, const std::uint8_t* gray,
                  std::string& why);

}  // namespace qlhost

#endif
