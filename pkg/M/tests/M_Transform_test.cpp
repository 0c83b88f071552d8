#include "M_Matrix.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "Mp_Kernels.h"
#include "QLTest.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Numbers = std::vector<double>;

class Transform : public qltest::Library {
  protected:
    // Mostly ordinary numbers; some that make weights vanish, and some that are none.
    Numbers Draw(size_t count)
    {
        constexpr double kOdd[] = {0, -0.0, 1, 1e-13, -1e-12, 1e300, 1e-310, kInfinity, kNaN};
        std::uniform_real_distribution<double> ordinary(-100, 100);
        Numbers numbers(count);
        for (double& number : numbers)
            number = m_engine() % 8 == 0 ? kOdd[m_engine() % 9] : ordinary(m_engine);
        return numbers;
    }

    // Runs `body` with every set of kernels in use.
    template <class Body>
    void WithEverySet(Body body)
    {
        const Mp_KernelSets all = Mp_GetKernelSets();
        const Mp_KernelSet* const chosen = std::exchange(Mp_g_kernels, all.sets[0]);
        EXPECT_EQ(chosen, all.sets[all.count - 1]);
        for (size_t set = 0; set < all.count && !HasFatalFailure(); ++set) {
            SCOPED_TRACE(all.sets[set]->name);
            Mp_g_kernels = all.sets[set];
            m_engine.seed(7004);
            body();
        }
        Mp_g_kernels = chosen;
    }

  private:
    std::mt19937_64 m_engine;
};

// Equal bits; which not-a-number it is does not count.
testing::AssertionResult SameBits(const Numbers& a, const Numbers& b)
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

bool Plainly(Rule rule, size_t side, const double* m, double* p)
{
    double r[4];
    for (size_t j = 0; j < side; ++j) {
        if (rule == Rule::kPlane) r[j] = m[2 * 3 + j] + p[0] * m[j] + p[1] * m[3 + j];
        if (rule == Rule::kSpace) r[j] = m[12 + j] + p[0] * m[j] + p[1] * m[4 + j] + p[2] * m[8 + j];
        if (rule == Rule::kPlane || rule == Rule::kSpace) continue;
        r[j] = p[0] * m[j] + p[1] * m[side + j] + p[2] * m[2 * side + j];
        if (side == 4) r[j] = r[j] + p[3] * m[12 + j];
    }
    const size_t coordinates = rule == Rule::kPlane ? 2 : rule == Rule::kSpace ? 3 : side;
    const double w = r[side - 1];
    const bool tiny = w > -1e-12 && w < 1e-12;
    if (rule == Rule::kOrStop && tiny) return false;
    if (rule != Rule::kPlane && rule != Rule::kProduct && !(rule <= Rule::kUnlessTiny && tiny)) {
        for (size_t j = 0; j < side; ++j) r[j] = j == side - 1 ? 1 : r[j] / w;
    }
    std::memcpy(p, r, sizeof(double) * coordinates);
    return true;
}

struct Kind {
    const char* name;
    Rule rule;
    size_t side, coordinates;
    void (*call)(const void* matrix, int32_t count, void* points);
};

template <auto kFunction, class Matrix, class Point>
Kind KindOf(const char* name, Rule rule)
{
    const auto call = [](const void* matrix, int32_t count, void* points) {
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
    };
    return {name, rule, std::size(Matrix{}.m), sizeof(Point) / sizeof(double), call};
}

using M3 = M_Matrix3;
using M4 = M_Matrix4;
const Kind kKinds[] = {
    KindOf<M_TransformFloatPoints, M3, M_Vector2>("points of the plane", Rule::kPlane),
    KindOf<M_Transform3DFloatPoints, M4, M_Vector3>("points of space", Rule::kSpace),
    KindOf<M_TransformVector3, M3, M_Vector3>("triples", Rule::kProduct),
    KindOf<M_TransformVector4NoDivide, M4, M_Vector4>("quadruples", Rule::kProduct),
    KindOf<M_TransformVector4, M4, M_Vector4>("divided quadruples", Rule::kUnlessTiny),
    KindOf<&M3::TransformPointsAndDivide, M3, M_Vector3>("checked triples", Rule::kOrStop),
    KindOf<&M4::TransformPointsAndDivide, M4, M_Vector4>("checked quadruples", Rule::kOrStop),
    KindOf<&M3::TransformPointsAndDivideFast, M3, M_Vector3>("fast triples", Rule::kAlways),
    KindOf<&M4::TransformPointsAndDivideFast, M4, M_Vector4>("fast quadruples", Rule::kAlways),
};

// The matrix lies in front of the points, anywhere between and in them, where each point changes it for those
// behind, and behind them.
TEST_F(Transform, GivesTheBitsOfTheFormulasWhereverTheMatrixLies)
{
    WithEverySet([this] {
        for (const Kind& kind : kKinds) {
            const size_t elements = kind.side * kind.side;
            for (size_t count = 0; count < 24; ++count) {
                const size_t points = count * kind.coordinates;
                for (size_t at = 0; at <= elements + points; ++at) {
                    Numbers memory = Draw(2 * elements + points), expected = memory;
                    double* p = expected.data() + elements;
                    for (size_t i = 0; i < count; ++i, p += kind.coordinates) {
                        if (!Plainly(kind.rule, kind.side, expected.data() + at, p)) break;
                    }
                    kind.call(memory.data() + at, static_cast<int32_t>(count), memory.data() + elements);
                    ASSERT_TRUE(SameBits(memory, expected)) << kind.name << " at " << at << " of " << count;
                }
            }
            Numbers untouched(32, 3);
            kind.call(untouched.data(), INT32_MIN, untouched.data() + 16);
            EXPECT_TRUE(SameBits(untouched, Numbers(32, 3)));
        }
    });
}

TEST_F(Transform, EverySetMultipliesAndInvertsAlike)
{
    std::vector<Numbers> results;
    WithEverySet([&] {
        constexpr size_t kRounds = 2000;
        Numbers& all = results.emplace_back(kRounds * 32);
        for (size_t round = 0; round < kRounds; ++round) {
            M4 in[2], out[2];
            std::memcpy(in, Draw(32).data(), sizeof in);
            M_ConcatMatrix4(&in[0], &in[1], &out[0]);
            M_InverseMatrix4Quiet(&in[0], &out[1], nullptr);
            std::memcpy(&all[round * 32], out, sizeof out);
        }
    });
    EXPECT_TRUE(SameBits(results.front(), results.back()));
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
    std::vector<M_Point> many(300, M_Point{32767, 0}), moved(200, M_Point{32767, 1});
    many[200] = {0, 32767};
    moved.insert(moved.end(), many.begin() + 200, many.end());
    EXPECT_EQ(M_TransformPoints(&shift, 300, many.data()), 0x1102);
    EXPECT_EQ(many, moved);

    const M_Matrix3 bad = {{{1, 0, 0}, {0, kNaN, 0}, {0, 0, 1}}};
    M_FixPoint fixed = {3 << 16, -(1 << 15)};
    EXPECT_EQ(M_TransformFixPoints(&shift, 1, &fixed), 0);
    EXPECT_EQ(M_TransformFixPoints(&bad, 1, &fixed), 0x1102);
    EXPECT_EQ(fixed, (M_FixPoint{(3 << 16) + (1 << 14), 0}));
    EXPECT_EQ(Reports(),
              (std::vector<qltest::Report>{
                  {0x110026, U_Sev_PROBLEM, "QLTest error: overflow in point transformation."},
                  {0x110027, U_Sev_PROBLEM, "QLTest error: overflow in fixed point transformation."}}));
}

TEST_F(Transform, AWeightOfNothingIsReportedAndThrown)
{
    const M_Matrix3 m3 = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 2}}};
    // The bounds themselves are no weights of nothing.
    M_Vector3 points[] = {{1, 1, 0.5e-12}, {1, 1, 0.4e-12}, {4, 2, 1}};
    EXPECT_THROW(m3.TransformPointsAndDivide(3, points), int);
    EXPECT_EQ(points[0].z, 1);
    EXPECT_EQ(points[1], (M_Vector3{1, 1, 0.4e-12}));
    EXPECT_EQ(points[2], (M_Vector3{4, 2, 1}));
    m3.TransformPointAndDivide(&points[2]);
    EXPECT_EQ(points[2], (M_Vector3{2, 1, 1}));

    M_Matrix4 m4;
    M_IdentityMatrix4(&m4);
    M_Vector4 point = {1, 2, 3, -1e-13};
    EXPECT_THROW(m4.TransformPointAndDivide(&point), int);
    M_TransformVector4(&m4, 1, &point);
    EXPECT_EQ(point, (M_Vector4{1, 2, 3, -1e-13}));
    m4.TransformPointAndDivideFast(&point);
    EXPECT_EQ(point, (M_Vector4{1 / -1e-13, 2 / -1e-13, 3 / -1e-13, 1}));
    const std::string text = "QLTest error: homogeneous point has W=0";
    EXPECT_EQ(Reports(), (std::vector<qltest::Report>{{0x110039, U_Sev_PROBLEM, text},
                                                      {0x11003A, U_Sev_PROBLEM, text}}));
}

TEST_F(Transform, RectanglesBecomeTheBoxAroundTheirCorners)
{
    const double s = std::sqrt(0.5);
    const M_Matrix3 turn = {{{s, s, 0}, {-s, s, 0}, {0, 0, 1}}};
    M_FloatRect square = {0, 0, 2, 2};
    M_Vector2 corners[4];
    uint8_t loose = 7;
    M_TransformFloatRect(&turn, &square, corners, &loose);
    EXPECT_EQ(square, (M_FloatRect{-2 * s, 0, 2 * s, 4 * s}));
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
