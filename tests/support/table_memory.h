/// What a hostile table costs in memory.
#ifndef VESTA_TESTS_SUPPORT_TABLE_MEMORY_H
#define VESTA_TESTS_SUPPORT_TABLE_MEMORY_H

#include <gtest/gtest.h>

#include "signalling/ait.h"
#include "tests/support/heap_use.h"
#include "tests/support/hostile_tables.h"

namespace vesta::test {

/// How many times its bytes a table is large, together with what is made of it.
/// @param make called with the table; what it returns lives as long
template <typename Make>
double timesItsBytes(const HostileTable& hostile, Make make)
{
    const size_t before = heapInUse();
    VestaHbbTV::AIT table(1, 2, 3, nullptr);
    EXPECT_TRUE(hostile.parseInto(table)) << hostile.name;
    [[maybe_unused]] const auto made = make(table);
    const size_t after = heapInUse();
    return static_cast<double>(after - before) / static_cast<double>(hostile.size());
}

/// The same of the table alone.
inline double timesItsBytes(const HostileTable& hostile)
{
    return timesItsBytes(hostile, [](auto&) { return nullptr; });
}

}  // namespace vesta::test

#endif
