// The kernels: one template, an instance for each kind of point, each built for the processor that everybody
// has and again for wider registers.
//
// Nothing here may be fused or reordered: sums run from left to right and quotients are quotients, in every
// instance. The build switches contraction off for the whole library.
//
// State: the set in use, chosen when the library is loaded and constant from then on. Code that runs earlier
// finds the baseline set and gets the same bits.

#include "Mp_Kernels.h"

#include <algorithm>

#include "Mp_Lanes.h"
#include "Mp_MatrixKernels.h"

namespace {

constexpr double kTinyWeight = 1e-12;

enum class Weight {
    kKept,               // no division
    kDividedUnlessTiny,  // a point whose weight counts as 0 stays undivided, and keeps it
    kDividedOrStop,      // such a point ends the batch
    kDivided             // whatever the weight
};

// The rows of a matrix of `kSide` columns, the missing elements 0.
template <int kSide>
struct Rows {
    Mp_Lanes rows[4];

    MP_INLINE explicit Rows(const void* matrix)
    {
        const char* from = static_cast<const char*>(matrix);
        for (int i = 0; i < 4; ++i) {
            rows[i] = i < kSide ? Mp_Load<kSide>(from + i * kSide * sizeof(double)) : Mp_Lanes{};
        }
    }
};

// Divides by the weight in lane `kLane` and sets it to 1, as the policy says. False: the weight counts as 0.
template <Weight kWeight, int kLane>
MP_INLINE bool Divide(Mp_Lanes& point)
{
    constexpr Mp_Mask kWeightLane = {kLane == 0 ? -1 : 0, kLane == 1 ? -1 : 0, kLane == 2 ? -1 : 0,
                                     kLane == 3 ? -1 : 0};
    const Mp_Lanes one = Mp_Spread(1);
    const Mp_Lanes weight = Mp_Spread(point[kLane]);
    const Mp_Mask tiny = (weight > Mp_Spread(-kTinyWeight)) & (weight < Mp_Spread(kTinyWeight));
    if constexpr (kWeight == Weight::kDividedOrStop) {
        if (tiny[0]) return false;
    }
    if constexpr (kWeight == Weight::kDividedUnlessTiny) {
        const Mp_Lanes divided = kWeightLane ? one : point / weight;
        point = tiny ? point : divided;
    } else {
        point = kWeightLane ? one : point / weight;
    }
    return true;
}

// A homogeneous point or vector with a lane for each coordinate.
template <int kSide, Weight kWeight>
struct Homogeneous {
    static constexpr int kCoordinates = kSide;
    const Rows<kSide> m;

    MP_INLINE explicit Homogeneous(const void* matrix) : m(matrix) {}

    MP_INLINE bool Transform(const char* from, Mp_Lanes& point) const
    {
        if constexpr (kSide == 4) {
            point = Mp_TimesRows(from, m.rows);
        } else {
            point = Mp_LoadSpread<0>(from) * m.rows[0] + Mp_LoadSpread<1>(from) * m.rows[1] +
                    Mp_LoadSpread<2>(from) * m.rows[2];
        }
        if constexpr (kWeight == Weight::kKept) return true;
        return Divide<kWeight, kSide - 1>(point);
    }
};

// A point of space of weight 1.
struct Point3D {
    static constexpr int kCoordinates = 3;
    const Rows<4> m;

    MP_INLINE explicit Point3D(const void* matrix) : m(matrix) {}

    MP_INLINE bool Transform(const char* from, Mp_Lanes& point) const
    {
        point = m.rows[3] + Mp_LoadSpread<0>(from) * m.rows[0] + Mp_LoadSpread<1>(from) * m.rows[1] +
                Mp_LoadSpread<2>(from) * m.rows[2];
        return Divide<Weight::kDividedUnlessTiny, 3>(point);
    }
};

// Two points a step; singly the last of an odd count, and those around the one that stops the batch.
template <class Kind>
MP_INLINE size_t RunEach(const void* matrix, size_t count, void* points)
{
    constexpr int kCoordinates = Kind::kCoordinates;
    constexpr size_t kSize = kCoordinates * sizeof(double);
    const Kind kind(matrix);
    char* at = static_cast<char*>(points);
    size_t done = 0;
    Mp_Lanes first, second;
    for (; done + 2 <= count; done += 2, at += 2 * kSize) {
        const bool fine = kind.Transform(at, first);
        if (!kind.Transform(at + kSize, second) || !fine) break;
        Mp_Store<kCoordinates>(first, at);
        Mp_Store<kCoordinates>(second, at + kSize);
    }
    for (; done < count; ++done, at += kSize) {
        if (!kind.Transform(at, first)) break;
        Mp_Store<kCoordinates>(first, at);
    }
    return done;
}

// Points of the plane lie two in a row of lanes.
MP_INLINE Mp_Lanes TransformPairs(const Mp_Lanes& points, const Mp_Lanes (&rows)[3])
{
    const Mp_Lanes x = {points[0], points[0], points[2], points[2]};
    const Mp_Lanes y = {points[1], points[1], points[3], points[3]};
    return rows[2] + x * rows[0] + y * rows[1];
}

MP_INLINE size_t RunPairs(const void* matrix, size_t count, void* points)
{
    const Rows<3> m(matrix);
    Mp_Lanes rows[3];
    for (int i = 0; i < 3; ++i) {
        rows[i] = Mp_Lanes{m.rows[i][0], m.rows[i][1], m.rows[i][0], m.rows[i][1]};
    }
    char* at = static_cast<char*>(points);
    for (size_t steps = count / 2; steps > 0; --steps, at += 4 * sizeof(double)) {
        Mp_Store(TransformPairs(Mp_Load(at), rows), at);
    }
    if (count % 2 != 0) Mp_Store<2>(TransformPairs(Mp_Load<2>(at), rows), at);
    return count;
}

// The sets, alike but for what their functions are built for.
#define MP_KERNEL_SET(set, target)                                                          \
    template <class Kind>                                                                   \
    target size_t Each##set(const void* matrix, size_t count, void* points)                 \
    {                                                                                       \
        return RunEach<Kind>(matrix, count, points);                                        \
    }                                                                                       \
    target size_t Pairs##set(const void* matrix, size_t count, void* points)                \
    {                                                                                       \
        return RunPairs(matrix, count, points);                                             \
    }                                                                                       \
    target Err Product##set(const M_Matrix4* a, const M_Matrix4* b, M_Matrix4* out)         \
    {                                                                                       \
        Mp_Multiply(*a, *b, *out);                                                          \
        return U_Err_NONE;                                                                  \
    }                                                                                       \
    target double Inverse##set(const M_Matrix4* m, double tiny, M_Matrix4* out)             \
    {                                                                                       \
        return Mp_Invert(*m, tiny, *out);                                                   \
    }                                                                                       \
    constexpr Mp_KernelSet k##set = {#set,                                                  \
                                     Pairs##set,                                            \
                                     Each##set<Point3D>,                                    \
                                     Each##set<Homogeneous<3, Weight::kKept>>,              \
                                     Each##set<Homogeneous<4, Weight::kKept>>,              \
                                     Each##set<Homogeneous<4, Weight::kDividedUnlessTiny>>, \
                                     Each##set<Homogeneous<3, Weight::kDividedOrStop>>,     \
                                     Each##set<Homogeneous<4, Weight::kDividedOrStop>>,     \
                                     Each##set<Homogeneous<3, Weight::kDivided>>,           \
                                     Each##set<Homogeneous<4, Weight::kDivided>>,           \
                                     Product##set,                                          \
                                     Inverse##set};

MP_KERNEL_SET(Baseline, )
#if defined(__x86_64__)
MP_KERNEL_SET(Wide, [[gnu::target("avx2")]])
#endif

[[gnu::constructor]] void ChooseKernels()
{
    const Mp_KernelSets all = Mp_GetKernelSets();
    Mp_g_kernels = all.sets[all.count - 1];
}

}  // namespace

constinit const Mp_KernelSet* Mp_g_kernels = &kBaseline;

Mp_KernelSets Mp_GetKernelSets()
{
#if defined(__x86_64__)
    __builtin_cpu_init();
    return {{&kBaseline, &kWide}, __builtin_cpu_supports("avx2") ? 2u : 1u};
#else
    return {{&kBaseline, nullptr}, 1};
#endif
}

// Points in front of the matrix and behind it go through the kernel in one run. Those that share bytes with
// it go one at a time, since each changes the matrix for the next.
size_t Mp_TransformBatch(Mp_Kernel kernel, const void* matrix, size_t matrix_size, int32_t count,
                         void* points, size_t size)
{
    if (count < 1) return 0;
    const size_t all = static_cast<size_t>(count);
    const uintptr_t begin = reinterpret_cast<uintptr_t>(points);
    const uintptr_t matrix_begin = reinterpret_cast<uintptr_t>(matrix);
    const uintptr_t matrix_end = matrix_begin + matrix_size;
    char* const first = static_cast<char*>(points);
    if (matrix_end <= begin || matrix_begin >= begin + all * size) return kernel(matrix, all, first);

    const size_t front = matrix_begin > begin ? (matrix_begin - begin) / size : 0;
    const size_t back = std::min(all, (matrix_end - begin + size - 1) / size);
    size_t done = kernel(matrix, front, first);
    if (done < front) return done;
    for (; done < back; ++done) {
        if (kernel(matrix, 1, first + done * size) == 0) return done;
    }
    return done + kernel(matrix, all - done, first + done * size);
}
