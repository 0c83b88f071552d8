#include "Picture.h"

#include <M_Matrix.h>
#include <M_Polygon.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "../qlhost/Canvas.h"
#include "Points.h"

namespace polydraw {
namespace {

using qlhost::Canvas;
using qlhost::Rgb;
using Polygon = std::vector<M_Vector2>;

constexpr int kSide = 560, kCaption = 40;
constexpr double kMargin = 30;
constexpr Rgb kShade{0.80, 0.88, 0.95};

double AreaOf(const Polygon& polygon)
{
    return std::fabs(M_SignedPolygonArea2D(polygon.data(), static_cast<int>(polygon.size())));
}

// Takes what is to be drawn into the picture, with y up.
M_Matrix3 Fit(const Polygon& points)
{
    const auto [left, right] = std::minmax_element(
        points.begin(), points.end(), [](const M_Vector2& a, const M_Vector2& b) { return a.x < b.x; });
    const auto [low, high] = std::minmax_element(
        points.begin(), points.end(), [](const M_Vector2& a, const M_Vector2& b) { return a.y < b.y; });
    const double extent = std::max({right->x - left->x, high->y - low->y, 1e-9});
    const double scale = (kSide - 2 * kMargin) / extent;
    M_Matrix3 m;
    M_SetIdentityMatrix(&m);
    M_TranslateMatrix(&m, -(left->x + right->x) / 2, -(low->y + high->y) / 2);
    M_ScaleMatrix(&m, scale, -scale, 0, 0);
    M_TranslateMatrix(&m, kSide / 2.0, kSide / 2.0);
    return m;
}

class Picture {
  public:
    explicit Picture(const Polygon& everything) : m_fit{Fit(everything)} {}

    void Shade(const Polygon& polygon, const Rgb& colour)
    {
        std::vector<std::pair<double, double>> corners;
        for (const M_Vector2& p : Moved(polygon)) corners.emplace_back(p.x, p.y);
        m_canvas.Colour(colour);
        m_canvas.FillShape(corners);
    }

    void Outline(const Polygon& polygon, const Rgb& colour)
    {
        m_canvas.Colour(colour);
        const Polygon moved = Moved(polygon);
        for (std::size_t i = 0; i < moved.size(); ++i) {
            const M_Vector2 a = moved[i], b = moved[(i + 1) % moved.size()];
            m_canvas.Line(a.x, a.y, b.x, b.y);
        }
    }

    void Dots(const Polygon& points, const Rgb& colour, double size)
    {
        m_canvas.Colour(colour);
        for (const M_Vector2& p : Moved(points)) m_canvas.Fill(p.x - size / 2, p.y - size / 2, size, size);
    }

    void Save(const std::string& caption, const std::filesystem::path& file)
    {
        m_canvas.Colour(qlhost::kInk);
        m_canvas.Write(kSide / 2.0, kSide + kCaption / 2.0, caption, Canvas::Align::Centre);
        if (!m_canvas.Save(file)) throw BadFile(file.string() + " cannot be written");
    }

  private:
    Polygon Moved(Polygon points) const
    {
        M_TransformFloatPoints(&m_fit, static_cast<std::int32_t>(points.size()), points.data());
        return points;
    }

    M_Matrix3 m_fit;
    Canvas m_canvas{kSide, kSide + kCaption};
};

std::vector<M_Vector4> Widened(const Polygon& polygon)
{
    std::vector<M_Vector4> wide;
    for (const M_Vector2& p : polygon) wide.push_back({p.x, p.y, 0, 1});
    return wide;
}

template <class... Arguments>
std::string Format(const char* form, Arguments... arguments)
{
    char text[160];
    std::snprintf(text, sizeof text, form, arguments...);
    return text;
}

}  // namespace

std::string DrawHull(const Polygon& points, const std::filesystem::path& file)
{
    Polygon hull;
    M_ComputeConvexHull(points.begin(), points.end(), hull);
    Picture picture{points};
    picture.Shade(hull, kShade);
    picture.Dots(points, qlhost::kResident, 4);
    picture.Outline(hull, qlhost::kInUse);
    picture.Dots(hull, qlhost::kLimit, 7);
    const std::string caption =
        Format("%zu points, %zu on the hull, area %.6g", points.size(), hull.size(), AreaOf(hull));
    picture.Save(caption, file);
    return caption;
}

std::string DrawClip(const Polygon& clip, const Polygon& subject, const std::filesystem::path& file)
{
    const std::vector<M_Vector4> wide_clip = Widened(clip), wide_subject = Widened(subject);
    std::vector<M_Vector4> left;
    M_PolyPolyClip2D(&wide_clip, &wide_subject, &left);
    Polygon result;
    for (const M_Vector4& p : left) result.push_back({p.x, p.y});

    Polygon everything = clip;
    everything.insert(everything.end(), subject.begin(), subject.end());
    Picture picture{everything};
    picture.Shade(result, kShade);
    picture.Outline(clip, qlhost::kLimit);
    picture.Outline(subject, qlhost::kResident);
    picture.Dots(result, qlhost::kInUse, 7);
    const bool is_convex = M_IsConvex(clip.begin(), clip.end());
    const std::string caption = Format("subject %.6g, clip %.6g%s, inside %.6g", AreaOf(subject),
                                       AreaOf(clip), is_convex ? "" : " (not convex)", AreaOf(result));
    picture.Save(caption, file);
    return caption;
}

}  // namespace polydraw
