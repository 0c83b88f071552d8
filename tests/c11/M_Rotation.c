#include "M_Rotation.h"

int CheckM_Rotation(void);

int CheckM_Rotation(void)
{
    M_Matrix4 m;
    M_Matrix4Decomp parts;
    const M_Quaternion none = {0, 0, 0, 1};
    if (M_QuatToMatrix4(&none, &m) != 0 || M_DecomposeMatrix4(&m, &parts, NULL) != 0) return 1;
    return parts.scale.z == 1 && parts.shear.yz == 0 && parts.rotation.x == 0 ? 0 : 1;
}
