// The pictures: points with their hull, and two polygons with what the one leaves of the other.
#ifndef POLYDRAW_PICTURE_H
#define POLYDRAW_PICTURE_H

#include <M_Vector.h>

#include <filesystem>
#include <string>
#include <vector>

namespace polydraw {

/// Both save a PNG and give the line that stands under it. They throw BadFile when it cannot be written.
std::string DrawHull(const std::vector<M_Vector2>& points, const std::filesystem::path& file);
std::string DrawClip(const std::vector<M_Vector2>& clip, const std::vector<M_Vector2>& subject,
                     const std::filesystem::path& file);

}  // namespace polydraw

#endif
