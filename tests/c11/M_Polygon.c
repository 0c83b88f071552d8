#include "M_Polygon.h"

int CheckM_Polygon(void);

int CheckM_Polygon(void)
{
    const M_Vector2 square[] = {{0, 0}, {2, 0}, {2, 2}, {0, 2}};
    return M_SignedPolygonArea2D(square, 4) == 4 ? 0 : 1;
}
