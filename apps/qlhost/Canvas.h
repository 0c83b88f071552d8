// A picture that is drawn on and saved as PNG. Drawing is cairo's, out of sight of the rest.
#ifndef QLHOST_CANVAS_H
#define QLHOST_CANVAS_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qlhost {

struct Rgb {
    double r, g, b;  // 0 to 1
};
inline constexpr Rgb kPaper{0.98, 0.98, 0.97}, kInk{0.15, 0.16, 0.18}, kFaint{0.82, 0.83, 0.84},
    kInUse{0.12, 0.42, 0.70}, kResident{0.30, 0.60, 0.38}, kLimit{0.80, 0.20, 0.18}, kPurge{0.88, 0.55, 0.12};

class Canvas {
  public:
    Canvas(int width, int height);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    enum class Align { Left, Centre, Right };
    void Colour(const Rgb& colour);
    void Line(double x0, double y0, double x1, double y1);
    void Fill(double x, double y, double width, double height);
    void FillShape(const std::vector<std::pair<double, double>>& corners);
    void Write(double x, double y, const std::string& text, Align align = Align::Left, double size = 14);
    /// Places rows of RGBA, whose alpha is not looked at.
    void Place(double x, double y, int width, int height, const std::uint8_t* rgba);

    /// Gives the picture back as rows of RGBA of the canvas's size.
    void Read(std::uint8_t* rgba) const;

    bool Save(const std::filesystem::path& file) const;

  private:
    struct Surface;
    std::unique_ptr<Surface> m_surface;
};

}  // namespace qlhost

#endif
