// Two tests that take two locks in opposite orders. The watch over the order of locks has to fail the second.
#include <gtest/gtest.h>

#include "zvkcore/threads/RecursiveMutex.h"

namespace {

using zvkcore::threads::RecursiveMutex;

RecursiveMutex g_first("Seeded.First");
RecursiveMutex g_second("Seeded.Second");

TEST(SeededInversion, OneWay)
{
    const RecursiveMutex::ScopedLock outer(g_first);
    const RecursiveMutex::ScopedLock inner(g_second);
}

TEST(SeededInversion, TheOther)
{
    const RecursiveMutex::ScopedLock outer(g_second);
    const RecursiveMutex::ScopedLock inner(g_first);
}

}  // namespace
