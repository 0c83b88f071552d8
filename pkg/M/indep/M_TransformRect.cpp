// The transform family for rectangles: four corners, their bounding box, and the way back into the
// rectangle's own type. No state.

#include <algorithm>
#include <cstring>
#include <limits>

#include "M_Matrix.h"
#include "Mp_Integer.h"

namespace {

// A side as it is stored. Doubles as they are; integers in units of 1 / kUnit, held inside their type.
template <class T, int kUnit>
T Side(double value)
{
    if constexpr (std::is_floating_point_v<T>) {
        return value;
    } else {
        const double whole = Mp_RoundToWhole(value * kUnit);
        if (whole >= std::numeric_limits<T>::max()) return std::numeric_limits<T>::max();
        if (whole <= std::numeric_limits<T>::min()) return std::numeric_limits<T>::min();
        return whole == whole ? static_cast<T>(whole) : T{0};
    }
}

M_FloatRect BoundingBox(const M_Vector2 (&corners)[4])
{
    M_FloatRect box = {corners[0].x, corners[0].y, corners[0].x, corners[0].y};
    for (const M_Vector2& corner : corners) {
        box = {std::min(box.left, corner.x), std::min(box.top, corner.y), std::max(box.right, corner.x),
               std::max(box.bottom, corner.y)};
    }
    return box;
}

template <int kUnit, class T>
Err TransformRect(const M_Matrix3* m, M_RectT<T>* rect, M_Vector2* corners, uint8_t* loose)
{
    constexpr double kScale = 1.0 / kUnit;
    const double left = rect->left * kScale, top = rect->top * kScale;
    const double right = rect->right * kScale, bottom = rect->bottom * kScale;
    M_Vector2 moved[4] = {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
    int type = 0;
    M_GetMatrixType(m, &type);
    M_TransformFloatPoints(m, 4, moved);
    const M_FloatRect box = BoundingBox(moved);
    *rect = {Side<T, kUnit>(box.left), Side<T, kUnit>(box.top), Side<T, kUnit>(box.right),
             Side<T, kUnit>(box.bottom)};
    if (corners != nullptr) std::memcpy(corners, moved, sizeof moved);
    if (loose != nullptr) *loose = type >= M_MatrixType_AFFINE;
    return U_Err_NONE;
}

}  // namespace

Err M_TransformRect(const M_Matrix3* m, M_Rect* rect, M_Vector2* corners, uint8_t* loose)
{
    return TransformRect<1>(m, rect, corners, loose);
}

Err M_TransformFloatRect(const M_Matrix3* m, M_FloatRect* rect, M_Vector2* corners, uint8_t* loose)
{
    return TransformRect<1>(m, rect, corners, loose);
}

Err M_TransformFixRect(const M_Matrix3* m, M_FixRect* rect, M_Vector2* corners, uint8_t* loose)
{
    return TransformRect<65536>(m, rect, corners, loose);
}

Err M_TransformBounds(const M_Matrix3* m, M_LRect* bounds)
{
    return TransformRect<1>(m, bounds, nullptr, nullptr);
}
