#include "Canvas.h"

#include <cairo.h>

#include <algorithm>

namespace qlhost {

struct Canvas::Surface {
    Surface(int width, int height)
        : surface{cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height)}, cairo{cairo_create(surface)}
    {
    }
    ~Surface()
    {
        cairo_destroy(cairo);
        cairo_surface_destroy(surface);
    }
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    cairo_surface_t* surface;
    cairo_t* cairo;
};

Canvas::Canvas(int width, int height) : m_surface{std::make_unique<Surface>(width, height)}
{
    Colour(kPaper);
    cairo_paint(m_surface->cairo);
    cairo_select_font_face(m_surface->cairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_line_width(m_surface->cairo, 1.5);
}

Canvas::~Canvas() = default;

void Canvas::Colour(const Rgb& colour)
{
    cairo_set_source_rgb(m_surface->cairo, colour.r, colour.g, colour.b);
}

void Canvas::Line(double x0, double y0, double x1, double y1)
{
    cairo_move_to(m_surface->cairo, x0, y0);
    cairo_line_to(m_surface->cairo, x1, y1);
    cairo_stroke(m_surface->cairo);
}

void Canvas::Fill(double x, double y, double width, double height)
{
    cairo_rectangle(m_surface->cairo, x, y, width, height);
    cairo_fill(m_surface->cairo);
}

void Canvas::FillShape(const std::vector<std::pair<double, double>>& corners)
{
    cairo_new_path(m_surface->cairo);
    for (const auto& [x, y] : corners) cairo_line_to(m_surface->cairo, x, y);
    cairo_fill(m_surface->cairo);
}

void Canvas::Write(double x, double y, const std::string& text, Align align, double size)
{
    cairo_set_font_size(m_surface->cairo, size);
    cairo_text_extents_t extents;
    cairo_text_extents(m_surface->cairo, text.c_str(), &extents);
    const double shift = align == Align::Left ? 0 : align == Align::Centre ? 0.5 : 1.0;
    cairo_move_to(m_surface->cairo, x - shift * extents.x_advance, y);
    cairo_show_text(m_surface->cairo, text.c_str());
}

void Canvas::Place(double x, double y, int width, int height, const std::uint8_t* rgba)
{
    const int stride = cairo_format_stride_for_width(CAIRO_FORMAT_RGB24, width);
    std::vector<unsigned char> pixels(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t* from = rgba + i * 4;
        const std::uint32_t packed = std::uint32_t{from[0]} << 16 | std::uint32_t{from[1]} << 8 | from[2];
        std::copy_n(reinterpret_cast<const unsigned char*>(&packed), 4, &pixels[i * 4]);
    }
    cairo_surface_t* image =
        cairo_image_surface_create_for_data(pixels.data(), CAIRO_FORMAT_RGB24, width, height, stride);
    cairo_set_source_surface(m_surface->cairo, image, x, y);
    cairo_paint(m_surface->cairo);
    cairo_surface_destroy(image);
}

void Canvas::Read(std::uint8_t* rgba) const
{
    cairo_surface_flush(m_surface->surface);
    const unsigned char* rows = cairo_image_surface_get_data(m_surface->surface);
    const int width = cairo_image_surface_get_width(m_surface->surface),
              height = cairo_image_surface_get_height(m_surface->surface),
              stride = cairo_image_surface_get_stride(m_surface->surface);
    for (int y = 0; y < height; ++y, rows += stride) {
        for (int x = 0; x < width; ++x, rgba += 4) {
            std::uint32_t packed = 0;
            std::copy_n(rows + std::size_t{4} * static_cast<std::size_t>(x), 4,
                        reinterpret_cast<unsigned char*>(&packed));
            for (unsigned c = 0; c < 3; ++c) rgba[c] = static_cast<std::uint8_t>(packed >> (16 - 8 * c));
            rgba[3] = 255;
        }
    }
}

bool Canvas::Save(const std::filesystem::path& file) const
{
    return cairo_surface_write_to_png(m_surface->surface, file.c_str()) == CAIRO_STATUS_SUCCESS;
}

}  // namespace qlhost
