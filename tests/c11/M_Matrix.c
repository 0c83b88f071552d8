#include "M_Matrix.h"

int CheckM_Matrix(void);

int CheckM_Matrix(void)
{
    M_Matrix3 m;
    M_Point corner = {16, 9};
    M_LRect bounds = {0, 0, 16, 9};
    if (M_SetIdentityMatrix(&m) != 0 || M_ScaleMatrix(&m, 2, 2, 0, 0) != 0) return 1;
    if (M_TransformPoints(&m, 1, &corner) != 0 || M_TransformBounds(&m, &bounds) != 0) return 1;
    return corner.x == 32 && corner.y == 18 && bounds.right == 32 ? 0 : 1;
}
