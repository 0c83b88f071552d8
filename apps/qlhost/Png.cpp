// libpng's simplified interface reads every colour type into RGBA; writing uses the full one, whose compression
// level can be set.
#include "Png.h"

#include <png.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace qlhost {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

struct Writer {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    Writer() = default;
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { png_destroy_write_struct(&png, &info); }
};

// libpng leaves by longjmp, so nothing with a destructor may be made in here.
bool WriteRows(Writer& writer, std::FILE* file, const PngSize& size, int colourType, png_bytepp rows)
{
    if (setjmp(png_jmpbuf(writer.png))) return false;
    png_init_io(writer.png, file);
    png_set_IHDR(writer.png, writer.info, size.width, size.height, 8, colourType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(writer.png, 1);
    png_set_filter(writer.png, 0, PNG_FILTER_UP);
    png_write_info(writer.png, writer.info);
    png_write_image(writer.png, rows);
    png_write_end(writer.png, nullptr);
    return true;
}

bool Write(const std::filesystem::path& path, const PngSize& size, int colourType, std::size_t channels,
           const std::uint8_t* pixels, std::string& why)
{
    const File file{std::fopen(path.c_str(), "wb")};
    if (!file) {
        why = std::strerror(errno);
        return false;
    }
    std::vector<png_bytep> rows(size.height);
    for (std::uint32_t y = 0; y < size.height; ++y) {
        rows[y] = const_cast<png_bytep>(pixels) + std::size_t{y} * size.width * channels;
    }
    Writer writer;
    const bool written = writer.info && WriteRows(writer, file.get(), size, colourType, rows.data());
    if (!written || std::fflush(file.get()) != 0) why = "cannot write the picture";
    return why.empty();
}

}  // namespace

bool ReadPng(const std::vector<std::uint8_t>& file, const PixelRoom& room, std::string& why)
{
    if (file.empty()) {
        why = "the file is empty";
        return false;
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    struct Release {
        png_image* image;
        ~Release() { png_image_free(image); }
    } release{&image};

    if (!png_image_begin_read_from_memory(&image, file.data(), file.size())) {
        why = image.message;
        return false;
    }
    image.format = PNG_FORMAT_RGBA;
    std::uint8_t* pixels = room({image.width, image.height});
    if (!pixels) return false;
    if (!png_image_finish_read(&image, nullptr, pixels, 0, nullptr)) {
        why = image.message;
        return false;
    }
    return true;
}

bool WritePng(const std::filesystem::path& path, const PngSize& size, const std::uint8_t* rgba,
              std::string& why)
{
    return Write(path, size, PNG_COLOR_TYPE_RGBA, 4, rgba, why);
}

bool WriteGrayPng(const std::filesystem::path& path, const PngSize& size, const std::uint8_t* gray,
                  std::string& why)
{
    return Write(path, size, PNG_COLOR_TYPE_GRAY, 1, gray, why);
}

}  // namespace qlhost
