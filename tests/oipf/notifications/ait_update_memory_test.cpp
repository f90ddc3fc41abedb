// What the record of the worst tables costs beside the table.

#include <gtest/gtest.h>

#include "oipf/notifications/notifications.h"
#include "signalling/ait.h"
#include "tests/support/heap_use.h"
#include "tests/support/hostile_tables.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class AITUpdateMemory : public ::testing::Test {
protected:
    /// How many times its bytes a table and its record are large together.
    static double timesItsBytes(const HostileTable& hostile)
    {
        const size_t before = heapInUse();
        AIT table(1, 2, 3, nullptr);
        EXPECT_TRUE(hostile.parseInto(table)) << hostile.name;
        const AITUpdateNotification notification(nullptr, &table);
        const size_t after = heapInUse();
        return static_cast<double>(after - before) / static_cast<double>(hostile.size());
    }
};

TEST_F(AITUpdateMemory, OfTheWorstTablesIsBelow32TimesTheirBytes)
{
    for (const HostileTable& hostile : hostileTables())
        EXPECT_LT(timesItsBytes(hostile), 32) << hostile.name;
}

/// A record holds each name and each address as a text of its own.
TEST_F(AITUpdateMemory, OfDifferentLongTextsIsAtMostWhatTheHeaderSays)
{
    EXPECT_LT(timesItsBytes(overlappingNames()), 100);
    EXPECT_LT(timesItsBytes(differentLongAddresses()), 260);
}

}  // namespace
