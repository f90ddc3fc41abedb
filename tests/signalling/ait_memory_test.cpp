// What the worst tables from the air cost in memory.

#include <gtest/gtest.h>

#include "signalling/ait.h"
#include "tests/support/hostile_tables.h"
#include "tests/support/table_memory.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

TEST(AITMemory, OfTheWorstTablesIsBelow32TimesTheirBytes)
{
    for (const HostileTable& hostile : hostileTables()) {
        ASSERT_GT(hostile.size(), 800000u) << hostile.name;
        EXPECT_LT(timesItsBytes(hostile), 32) << hostile.name;
    }
    EXPECT_LT(timesItsBytes(differentLongAddresses()), 32);
}

TEST(AITMemory, OfNamesThatOverlapIsThatOfTheirLoops)
{
    const HostileTable hostile = overlappingNames();
    EXPECT_LT(timesItsBytes(hostile), 4);
    AIT table(1, 2, 3, nullptr);
    ASSERT_TRUE(hostile.parseInto(table));
    EXPECT_GT(table.getAITApplication(0U)->getApplicationName().size(), 300000u);
}

}  // namespace
