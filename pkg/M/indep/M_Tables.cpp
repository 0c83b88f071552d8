// The tables of the math family: sines, and products and quotients of 8-bit values.
//
// State: each table is built by its getter's first call, on whichever thread (the compiler's guard makes the
// others wait), in memory taken from the C++ heap. A table that could not be built is tried again at the next
// call. They are never freed, so that code that runs at the process's exit may still read them.

#include <cmath>
#include <numbers>

#include "M.h"

namespace {

constexpr int kSide = M_kCharacterTableSide;
constexpr int kSteps = M_kTrigTableSteps;
constexpr int kQuarter = kSteps / 4;
static_assert(kQuarter * 4 == kSteps);

// One quarter is computed and the others mirror it, so that the table is exactly symmetrical.
const double* BuildTrigTable()
{
    auto* sines = new double[kSteps + 1];
    for (int i = 0; i <= kQuarter; ++i) {
        const double sine = i == kQuarter ? 1.0 : std::sin(2.0 * std::numbers::pi * i / kSteps);
        sines[i] = sine;
        sines[2 * kQuarter - i] = sine;
        sines[2 * kQuarter + i] = 0.0 - sine;
        sines[4 * kQuarter - i] = 0.0 - sine;
    }
    return sines;
}

template <class Entry>
const uint8_t* BuildCharacterTable(Entry entry)
{
    auto* table = new uint8_t[kSide * kSide];
    for (int a = 0; a < kSide; ++a) {
        for (int b = 0; b < kSide; ++b) table[a * kSide + b] = static_cast<uint8_t>(entry(a, b));
    }
    return table;
}

int Product(int a, int b)
{
    return (a * b + 127) / 255;
}

int Quotient(int a, int b)
{
    if (a >= b) return a == 0 ? 0 : 255;
    return (a * 255 + b / 2) / b;
}

}  // namespace

const double* M_GetTrigTable(void)
{
    static const double* const g_sines = BuildTrigTable();
    return g_sines;
}

const uint8_t* M_GetCharMultiplyTable(void)
{
    static const uint8_t* const g_products = BuildCharacterTable(Product);
    return g_products;
}

const uint8_t* M_GetCharDivideTable(void)
{
    static const uint8_t* const g_quotients = BuildCharacterTable(Quotient);
    return g_quotients;
}
