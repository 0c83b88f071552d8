#include "M.h"

#include <cmath>

#include "Mp_Err.h"
#include "QLTest.h"
#include "U_LStr.h"

namespace {

using Math = qltest::Library;

TEST_F(Math, EveryCodeHasItsReport)
{
    constexpr std::pair<uint32_t, const char*> kRows[] = {
        {M_Err_OVERFLOW, "error: overflow fast trig."},
        {M_Err_UNDERFLOW, "warning: underflow fast trig."},
        {M_Err_DIVIDE_BY_ZERO, "error: divide by zero fast trig."},
        {M_Err_UNREQUESTED_SERVICE, "error: attempt to use unrequested math service (fast trig)."},
        {M_Err_ZERO_DENOMINATOR, "error: zero denominator fast trig."},
        {M_Err_MATRIX_NOT_INVERTIBLE, "error: unable to invert matrix."},
        {M_Err_MATRIX_NOT_DECOMPOSABLE, "error: unable to decompose matrix."},
        {M_Err_NORMAL_VECTOR_FAILED, "error: unable to calculate normal vector."},
        {M_Err_PLANE_NOT_INTERSECTED, "error: unable to intersect plane."},
        {0xFFFFFFFF, "error: unknown error (-1)."}};
    std::vector<qltest::Report> expected;
    for (const auto& [code, text] : kRows) {
        EXPECT_EQ(Mp_ReportErr(0xABCD0010, code, 31), code);
        const U_Severity severity = code == M_Err_UNDERFLOW ? U_Sev_WARNING : U_Sev_PROBLEM;
        expected.push_back({0x110010, severity, std::string("QLTest ") + text});
    }
    EXPECT_EQ(Mp_ReportErr(16, 0, 31), 0u);
    EXPECT_EQ(Reports(), expected);
    int length = 0;
    U_ZGetLengthLStrCache(M_G_zref, &length);
    EXPECT_EQ(length, 42);
}

TEST_F(Math, BirthPreparesTablesAndClearsItsWord)
{
    for (const uint32_t flags : {0u, 1u, 2u, 3u, ~0u}) {
        uint32_t word = 7;
        EXPECT_EQ(M_Birth(flags, &word), 0);
        EXPECT_EQ(word, 0u);
    }
    EXPECT_EQ(M_Birth(0, nullptr), 0);
    EXPECT_EQ(M_Death(), 0);
    const double* sines = M_GetTrigTable();
    for (int i = 0; i <= M_kTrigTableSteps; ++i) {
        ASSERT_NEAR(sines[i], std::sin(6.283185307179586 * i / 4096), 1e-15) << i;
        ASSERT_EQ(sines[i], -sines[M_kTrigTableSteps - i]) << i;
    }
    EXPECT_EQ(sines[1024], 1.0);
    const uint8_t* products = M_GetCharMultiplyTable();
    const uint8_t* quotients = M_GetCharDivideTable();
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            ASSERT_EQ(products[a * 256 + b], std::lround(a * b / 255.0)) << a << ' ' << b;
            const int quotient = b == 0 ? (a == 0 ? 0 : 255) : static_cast<int>(std::lround(a * 255.0 / b));
            ASSERT_EQ(quotients[a * 256 + b], std::min(quotient, 255)) << a << ' ' << b;
        }
    }
}

}  // namespace
