/// What is worked on in wide registers where the processor has them: the loops of the batch forms (points in
/// a row, two a step, for one kind of point and matrix each), and product and inverse of matrices of space.
///
/// A loop reads its matrix before it writes a point, so points that overlap the matrix are not for it, but
/// one at a time (`Mp_TransformBatch`). All sets give the same bits.
#ifndef MP_KERNELS_H
#define MP_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "M_Matrix.h"

/// Transforms `count` points in place and gives how many were: all, unless the kernel stops at a point.
using Mp_Kernel = size_t (*)(const void* matrix, size_t count, void* points);

struct Mp_KernelSet {
    const char* name;
    Mp_Kernel floatPoints;    ///< pairs by `M_Matrix3`, its last column ignored
    Mp_Kernel floatPoints3D;  ///< triples of weight 1 by `M_Matrix4`, divided unless the weight counts as 0
    Mp_Kernel vectors3;       ///< triples by `M_Matrix3`
    Mp_Kernel vectors4;       ///< quadruples by `M_Matrix4`
    Mp_Kernel divided4;       ///< the same, divided unless the weight counts as 0
    Mp_Kernel checked3;       ///< triples by `M_Matrix3`, divided; stops before a weight that counts as 0
    Mp_Kernel checked4;       ///< likewise quadruples by `M_Matrix4`
    Mp_Kernel fast3;          ///< divided whatever the weight
    Mp_Kernel fast4;

    /// out := a b; `out` may be either.
    Err (*product4)(const M_Matrix4* a, const M_Matrix4* b, M_Matrix4* out);
    /// The adjugate, divided by the determinant unless the magnitude of that is below `tiny`. Gives the
    /// determinant; `out` may be m.
    double (*inverse4)(const M_Matrix4* m, double tiny, M_Matrix4* out);
};

/// The sets that this processor can run, the fastest last.
struct Mp_KernelSets {
    const Mp_KernelSet* sets[2];
    size_t count;
};
Mp_KernelSets Mp_GetKernelSets();

/// The fastest of them, from the library's loading on; before that, the one that every processor runs.
extern const Mp_KernelSet* Mp_g_kernels;

/// Transforms points of `size` bytes that may overlap the matrix of `matrix_size` bytes, each as if it were
/// in a call of its own. Gives how many were transformed; a count below 1 is none.
size_t Mp_TransformBatch(Mp_Kernel kernel, const void* matrix, size_t matrix_size, int32_t count,
                         void* points, size_t size);

#endif
