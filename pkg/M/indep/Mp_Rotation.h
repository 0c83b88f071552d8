/// The worker behind both decompositions.
#ifndef MP_ROTATION_H
#define MP_ROTATION_H

#include "M_Rotation.h"

/// zyx  which angles: those of `M_DecomposeMatrix4ZYX`, else those of `M_DecomposeMatrix4`
Err Mp_DecomposeMatrix4(const M_Matrix4* m, M_Matrix4Decomp* out, uint8_t* failed, bool zyx);

/// Whether two values agree to about twelve digits, or are both about 0.
bool Mp_AreNearlyEqual(double a, double b);

#endif
