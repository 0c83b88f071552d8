#include "M_Matrix.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "Mp_Kernels.h"
#include "QLTest.h"

namespace {

constexpr unsigned kSeed = 7004;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Transform = qltest::Library;

// Equal bits; which not-a-number it is does not count.
testing::AssertionResult SameBits(const std::vector<double>& a, const std::vector<double>& b)
{
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::memcmp(&a[i], &b[i], sizeof(double)) != 0 && !(std::isnan(a[i]) && std::isnan(b[i]))) {
            return testing::AssertionFailure() << "element " << i << ": " << a[i] << " and " << b[i];
        }
    }
    return testing::AssertionSuccess();
}

// The formulas, one number after the other. False: the point's weight forbids it.
enum class Rule { kPlane, kSpace, kProduct, kUnlessTiny, kOrStop, kAlways };

bool Plainly(Rule rule, int side, const double* m, double* p)
{
    double r[4];
    for (int j = 0; j < side; ++j) {
        if (rule == Rule::kPlane) r[j] = m[2 * 3 + j] + p[0] * m[j] + p[1] * m[3 + j];
        if (rule == Rule::kSpace) r[j] = m[12 + j] + p[0] * m[j] + p[1] * m[4 + j] + p[2] * m[8 + j];
        if (rule == Rule::kPlane || rule == Rule::kSpace) continue;
        r[j] = p[0] * m[j] + p[1] * m[side + j] + p[2] * m[2 * side + j];
        if (side == 4) r[j] = r[j] + p[3] * m[12 + j];
    }
    const int coordinates = rule == Rule::kPlane ? 2 : rule == Rule::kSpace ? 3 : side;
    const double w = r[side - 1];
    const bool tiny = w > -1e-12 && w < 1e-12;
    if (rule == Rule::kOrStop && tiny) return false;
    if (rule != Rule::kPlane && rule != Rule::kProduct && !(rule <= Rule::kUnlessTiny && tiny)) {
        for (int j = 0; j < side; ++j) r[j] = j == side - 1 ? 1 : r[j] / w;
    }
    std::memcpy(p, r, sizeof(double) * static_cast<size_t>(coordinates));
    return true;
}

struct Kind {
    const char* name;
    Mp_Kernel Mp_KernelSet::*kernel;
    Rule rule;
    int side, coordinates;
    void (*call)(const void* matrix, int32_t count, void* points);
};

template <auto kFunction, class Matrix, class Point>
void Call(const void* matrix, int32_t count, void* points)
{
    const auto* m = static_cast<const Matrix*>(matrix);
    auto* p = static_cast<Point*>(points);
    if constexpr (std::is_member_function_pointer_v<decltype(kFunction)>) {
        try {
            (m->*kFunction)(count, p);
        } catch (int err) {
            EXPECT_EQ(err, 0x110C);
        }
    } else {
        EXPECT_EQ(kFunction(m, count, p), 0);
    }
}

using M3 = M_Matrix3;
using M4 = M_Matrix4;
const Kind kKinds[] = {
    {"points of the plane", &Mp_KernelSet::floatPoints, Rule::kPlane, 3, 2,
     Call<M_TransformFloatPoints, M3, M_Vector2>},
    {"points of space", &Mp_KernelSet::floatPoints3D, Rule::kSpace, 4, 3,
     Call<M_Transform3DFloatPoints, M4, M_Vector3>},
    {"triples", &Mp_KernelSet::vectors3, Rule::kProduct, 3, 3, Call<M_TransformVector3, M3, M_Vector3>},
    {"quadruples", &Mp_KernelSet::vectors4, Rule::kProduct, 4, 4,
     Call<M_TransformVector4NoDivide, M4, M_Vector4>},
    {"divided quadruples", &Mp_KernelSet::divided4, Rule::kUnlessTiny, 4, 4,
     Call<M_TransformVector4, M4, M_Vector4>},
    {"checked triples", &Mp_KernelSet::checked3, Rule::kOrStop, 3, 3,
     Call<&M3::TransformPointsAndDivide, M3, M_Vector3>},
    {"checked quadruples", &Mp_KernelSet::checked4, Rule::kOrStop, 4, 4,
     Call<&M4::TransformPointsAndDivide, M4, M_Vector4>},
    {"fast triples", &Mp_KernelSet::fast3, Rule::kAlways, 3, 3,
     Call<&M3::TransformPointsAndDivideFast, M3, M_Vector3>},
    {"fast quadruples", &Mp_KernelSet::fast4, Rule::kAlways, 4, 4,
     Call<&M4::TransformPointsAndDivideFast, M4, M_Vector4>},
};

// Mostly ordinary numbers; some that make weights vanish, and some that are none.
std::vector<double> Numbers(std::mt19937_64& random, size_t count)
{
    constexpr double kOdd[] = {0, -0.0, 1, 1e-13, -1e-12, 1e300, 1e-310, kInfinity, kNaN};
    std::uniform_real_distribution<double> ordinary(-100, 100);
    std::vector<double> numbers(count);
    for (double& number : numbers) number = random() % 8 == 0 ? kOdd[random() % 9] : ordinary(random);
    return numbers;
}

TEST_F(Transform, EverySetOfKernelsGivesTheBitsOfTheFormulas)
{
    std::mt19937_64 random(kSeed);
    const Mp_KernelSets all = Mp_GetKernelSets();
    for (const Kind& kind : kKinds) {
        for (size_t round = 0; round < 400; ++round) {
            const size_t count = round % 23;
            const auto matrix = Numbers(random, static_cast<size_t>(kind.side * kind.side));
            const auto points = Numbers(random, count * static_cast<size_t>(kind.coordinates));
            auto expected = points;
            size_t fine = 0;
            while (fine < count && Plainly(kind.rule, kind.side, matrix.data(),
                                           expected.data() + fine * static_cast<size_t>(kind.coordinates))) {
                ++fine;
            }
            for (size_t set = 0; set < all.count; ++set) {
                auto ours = points;
                ASSERT_EQ((all.sets[set]->*kind.kernel)(matrix.data(), count, ours.data()), fine);
                ASSERT_TRUE(SameBits(ours, expected)) << kind.name << ' ' << all.sets[set]->name;
            }
        }
    }
}

TEST_F(Transform, EverySetMultipliesAndInvertsAlike)
{
    std::mt19937_64 random(kSeed);
    const Mp_KernelSets all = Mp_GetKernelSets();
    const auto bits = [](const M4& m) { return std::vector<double>(m.m[0], m.m[0] + 16); };
    for (int round = 0; round < 2000; ++round) {
        M4 a, b, product[2] = {}, inverse[2] = {};
        std::memcpy(&a, Numbers(random, 16).data(), sizeof a);
        std::memcpy(&b, Numbers(random, 16).data(), sizeof b);
        for (size_t set = 0; set < all.count; ++set) {
            all.sets[set]->product4(&a, &b, &product[set]);
            all.sets[set]->inverse4(&a, 1e-16, &inverse[set]);
            ASSERT_TRUE(SameBits(bits(product[set]), bits(product[0])));
            ASSERT_TRUE(SameBits(bits(inverse[set]), bits(inverse[0])));
        }
    }
}

// The matrix lies in front of the points, anywhere between and in them, and behind them.
TEST_F(Transform, PointsThatOverlapTheMatrixChangeItForThoseBehind)
{
    std::mt19937_64 random(kSeed);
    constexpr int kCount = 12;
    for (const Kind& kind : kKinds) {
        const int elements = kind.side * kind.side;
        const int points = kCount * kind.coordinates;
        for (int at = 0; at <= elements + points; ++at) {
            auto memory = Numbers(random, static_cast<size_t>(2 * elements + points));
            auto expected = memory;
            double* p = expected.data() + elements;
            for (int i = 0; i < kCount; ++i, p += kind.coordinates) {
                if (!Plainly(kind.rule, kind.side, expected.data() + at, p)) break;
            }
            kind.call(memory.data() + at, kCount, memory.data() + elements);
            ASSERT_TRUE(SameBits(memory, expected)) << kind.name << " at " << at;
        }
        std::vector<double> untouched(32, 3);
        kind.call(untouched.data(), 0, untouched.data() + 16);
        kind.call(untouched.data(), INT32_MIN, untouched.data() + 16);
        EXPECT_TRUE(SameBits(untouched, std::vector<double>(32, 3)));
    }
}

TEST_F(Transform, IntegersRoundHalvesUpAndStopWhereOneDoesNotFit)
{
    const M_Matrix3 half = {{{0.5, 0, 9}, {0, 0.5, 9}, {0, 0, 9}}};  // the last column is ignored
    M_Point points[] = {{1, -1}, {-3, 5}, {-32768, 32767}};
    ASSERT_EQ(M_TransformPoints(&half, 3, points), 0);
    EXPECT_EQ(points[0], (M_Point{1, 0}));
    EXPECT_EQ(points[1], (M_Point{-1, 3}));
    EXPECT_EQ(points[2], (M_Point{-16384, 16384}));

    // Rounding decides about overflow: 32767.25 fits, 32767.5 does not.
    const M_Matrix3 shift = {{{1, 0, 0}, {0, 1, 0}, {0.25, 0.5, 1}}};
    std::vector<M_Point> many(300, M_Point{32767, 0});
    many[200] = {0, 32767};
    EXPECT_EQ(M_TransformPoints(&shift, 300, many.data()), 0x1102);
    EXPECT_EQ(many[199], (M_Point{32767, 1}));
    EXPECT_EQ(many[200], (M_Point{0, 32767}));
    EXPECT_EQ(many[201], (M_Point{32767, 0}));

    const M_Matrix3 bad = {{{1, 0, 0}, {0, kNaN, 0}, {0, 0, 1}}};
    M_FixPoint fixed[] = {{3 << 16, -(1 << 15)}};
    EXPECT_EQ(M_TransformFixPoints(&shift, 1, fixed), 0);
    EXPECT_EQ(fixed[0], (M_FixPoint{(3 << 16) + (1 << 14), 0}));
    EXPECT_EQ(M_TransformFixPoints(&bad, 1, fixed), 0x1102);
    EXPECT_EQ(fixed[0], (M_FixPoint{(3 << 16) + (1 << 14), 0}));
    ASSERT_EQ(Reports().size(), 2u);
    EXPECT_EQ(Reports()[0],
              (qltest::Report{0x110026, U_Sev_PROBLEM, "QLTest error: overflow in point transformation."}));
    EXPECT_EQ(Reports()[1], (qltest::Report{0x110027, U_Sev_PROBLEM,
                                            "QLTest error: overflow in fixed point transformation."}));
}

TEST_F(Transform, AWeightOfNothingIsReportedAndThrown)
{
    const M_Matrix3 m3 = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 2}}};
    M_Vector3 points[] = {{4, 2, 1}, {1, 1, 0.4e-12}, {4, 2, 1}};
    EXPECT_THROW(m3.TransformPointsAndDivide(3, points), int);
    EXPECT_EQ(points[0], (M_Vector3{2, 1, 1}));
    EXPECT_EQ(points[1], (M_Vector3{1, 1, 0.4e-12}));
    EXPECT_EQ(points[2], (M_Vector3{4, 2, 1}));
    M_Vector3 enough = {1, 1, 0.5e-12};  // the bounds themselves are no weights of nothing
    m3.TransformPointAndDivide(&enough);
    EXPECT_EQ(enough.z, 1);

    M_Matrix4 m4;
    M_IdentityMatrix4(&m4);
    M_Vector4 point = {1, 2, 3, -1e-13};
    EXPECT_THROW(m4.TransformPointAndDivide(&point), int);
    M_TransformVector4(&m4, 1, &point);
    EXPECT_EQ(point, (M_Vector4{1, 2, 3, -1e-13}));
    m4.TransformPointAndDivideFast(&point);
    EXPECT_EQ(point, (M_Vector4{1 / -1e-13, 2 / -1e-13, 3 / -1e-13, 1}));
    const std::string text = "QLTest error: homogeneous point has W=0";
    ASSERT_EQ(Reports().size(), 2u);
    EXPECT_EQ(Reports()[0], (qltest::Report{0x110039, U_Sev_PROBLEM, text}));
    EXPECT_EQ(Reports()[1], (qltest::Report{0x11003A, U_Sev_PROBLEM, text}));
}

TEST_F(Transform, RectanglesBecomeTheBoxAroundTheirCorners)
{
    M_Matrix3 turn;
    M_SetIdentityMatrix(&turn);
    M_RotateMatrix(&turn, std::acos(-1) / 4, 0, 0);
    M_FloatRect square = {0, 0, 2, 2};
    M_Vector2 corners[4];
    uint8_t loose = 7;
    M_TransformFloatRect(&turn, &square, corners, &loose);
    const double diagonal = std::sqrt(8.0);
    EXPECT_NEAR(square.left, -diagonal / 2, 1e-15);
    EXPECT_NEAR(square.right, diagonal / 2, 1e-15);
    EXPECT_NEAR(square.bottom, diagonal, 1e-15);
    EXPECT_EQ(square.top, 0);
    EXPECT_EQ(corners[3].x, square.left);
    EXPECT_EQ(loose, 1);

    const M_Matrix3 mirror = {{{-1.25, 0, 0}, {0, 1e6, 0}, {0.5, 0, 1}}};
    M_Rect rect = {2, -1, 10, 1};
    M_TransformRect(&mirror, &rect, corners, &loose);
    EXPECT_EQ(rect, (M_Rect{-12, -32768, -2, 32767}));
    EXPECT_EQ(corners[0], (M_Vector2{-2, -1e6}));
    EXPECT_EQ(loose, 0);
    M_FixRect fixed = {2 << 16, -1, 10 << 16, 1 << 16};
    M_TransformFixRect(&mirror, &fixed, corners, nullptr);
    EXPECT_EQ(fixed, (M_FixRect{-12 * 65536, -1000000, -2 * 65536, INT32_MAX}));
    EXPECT_EQ(corners[0].x, -2);
    M_LRect bounds = {INT32_MIN, 10, INT32_MAX, -10};
    M_TransformBounds(&mirror, &bounds);
    EXPECT_EQ(bounds, (M_LRect{INT32_MIN, -10000000, INT32_MAX, 10000000}));
    const M_Matrix3 bad = {{{kNaN, 0, 0}, {0, kInfinity, 0}, {0, 0, 1}}};
    M_TransformRect(&bad, &rect, nullptr, nullptr);
    EXPECT_EQ(rect, (M_Rect{0, INT16_MIN, 0, INT16_MAX}));
}

}  // namespace
