// What the worst tables from the air cost in memory.

#include <gtest/gtest.h>

#include "signalling/ait.h"
#include "tests/support/heap_use.h"
#include "tests/support/hostile_tables.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class AITMemory : public ::testing::Test {
protected:
    /// How many times its bytes a table is large.
    static double timesItsBytes(const HostileTable& hostile)
    {
        const size_t before = heapInUse();
        AIT table(1, 2, 3, nullptr);
        EXPECT_TRUE(hostile.parseInto(table)) << hostile.name;
        const size_t after = heapInUse();
        return static_cast<double>(after - before) / static_cast<double>(hostile.size());
    }
};

TEST_F(AITMemory, OfTheWorstTablesIsBelow32TimesTheirBytes)
{
    for (const HostileTable& hostile : hostileTables()) {
        ASSERT_GT(hostile.size(), 800000u) << hostile.name;
        EXPECT_LT(timesItsBytes(hostile), 32) << hostile.name;
    }
    EXPECT_LT(timesItsBytes(differentLongAddresses()), 32);
}

TEST_F(AITMemory, OfNamesThatOverlapIsThatOfTheirLoops)
{
    const HostileTable hostile = overlappingNames();
    EXPECT_LT(timesItsBytes(hostile), 4);
    AIT table(1, 2, 3, nullptr);
    ASSERT_TRUE(hostile.parseInto(table));
    EXPECT_GT(table.getAITApplication(0U)->getApplicationName().size(), 300000u);
}

}  // namespace
