// What the record of the worst tables costs beside the table.

#include <gtest/gtest.h>

#include "oipf/notifications/notifications.h"
#include "signalling/ait.h"
#include "tests/support/hostile_tables.h"
#include "tests/support/table_memory.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// How many times its bytes a table and its record are large together.
double withItsRecord(const HostileTable& hostile)
{
    return timesItsBytes(hostile,
                         [](AIT& table) { return AITUpdateNotification(nullptr, &table); });
}

TEST(AITUpdateMemory, OfTheWorstTablesIsBelow32TimesTheirBytes)
{
    for (const HostileTable& hostile : hostileTables())
        EXPECT_LT(withItsRecord(hostile), 32) << hostile.name;
}

/// A record holds each name and each address as a text of its own.
TEST(AITUpdateMemory, OfDifferentLongTextsIsAtMostWhatTheHeaderSays)
{
    EXPECT_LT(withItsRecord(overlappingNames()), 100);
    EXPECT_LT(withItsRecord(differentLongAddresses()), 260);
}

}  // namespace
