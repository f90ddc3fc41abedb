#include <gtest/gtest.h>

#include "kit/table_collector.h"
#include "tests/support/section_builder.h"

namespace VestaHbbTV {
namespace {

using vesta::test::AITEntry;
using vesta::test::AITSection;
using vesta::test::Bytes;
using Result = TableCollector::Result;

/// A section of a table; applications tell contents apart.
Bytes section(uint8_t version, uint8_t number, uint8_t last, uint16_t application = 1)
{
    return AITSection().version(version).number(number, last).add(AITEntry(1, application)).bytes();
}

class TableCollectorTest : public ::testing::Test {
protected:
    Result add(const Bytes& bytes)
    {
        return collector.add(ByteReader(bytes.data(), bytes.size()), now);
    }

    TableCollector collector;
    uint64_t now = 0;
};

TEST_F(TableCollectorTest, ATableOfOneSectionIsWholeAtOnce)
{
    EXPECT_TRUE(collector.lastWhole().empty());
    EXPECT_EQ(add(section(1, 0, 0)), Result::Completed);
    EXPECT_EQ(collector.lastWhole(), WholeTable({section(1, 0, 0)}));
}

TEST_F(TableCollectorTest, SectionsMayComeInAnyOrder)
{
    EXPECT_EQ(add(section(1, 2, 2)), Result::Collected);
    EXPECT_EQ(add(section(1, 0, 2)), Result::Collected);
    EXPECT_EQ(add(section(1, 1, 2)), Result::Completed);
    EXPECT_EQ(collector.lastWhole(),
              WholeTable({section(1, 0, 2), section(1, 1, 2), section(1, 2, 2)}));
}

TEST_F(TableCollectorTest, RepetitionsAreNothingNew)
{
    EXPECT_EQ(add(section(1, 0, 1)), Result::Collected);
    EXPECT_EQ(add(section(1, 0, 1)), Result::Collected);
    EXPECT_EQ(add(section(1, 1, 1)), Result::Completed);
    EXPECT_EQ(add(section(1, 0, 1)), Result::Repeated);
    EXPECT_EQ(add(section(1, 1, 1)), Result::Repeated);
}

TEST_F(TableCollectorTest, HoldsWhatItWasGiven)
{
    const Bytes known = section(1, 0, 1);
    add(known);
    EXPECT_TRUE(collector.holds(ByteReader(known.data(), known.size())));
    Bytes damaged = known;
    damaged.back() ^= 1;
    EXPECT_FALSE(collector.holds(ByteReader(damaged.data(), damaged.size())));
    EXPECT_FALSE(collector.holds(ByteReader(known.data(), 7)));
    EXPECT_FALSE(collector.holds(ByteReader()));
}

TEST_F(TableCollectorTest, DamagedNumbersAreNotLookedUp)
{
    add(section(1, 0, 1));
    const Bytes beyond = section(1, 200, 1);
    EXPECT_FALSE(collector.holds(ByteReader(beyond.data(), beyond.size())));
}

TEST_F(TableCollectorTest, TablesThatAreMixedAreCollectedSideBySide)
{
    add(section(1, 0, 1));
    EXPECT_EQ(add(section(2, 0, 1)), Result::Collected);
    EXPECT_EQ(add(section(1, 1, 1)), Result::Completed);
    EXPECT_EQ(versionOf(collector.lastWhole()[0].data()), 1);
    // What was begun before is forgotten.
    EXPECT_EQ(add(section(2, 1, 1)), Result::Collected);
    EXPECT_EQ(add(section(2, 0, 1)), Result::Completed);
}

TEST_F(TableCollectorTest, AnotherNumberOfSectionsIsAnotherTable)
{
    add(section(1, 0, 1));
    EXPECT_EQ(add(section(1, 0, 0)), Result::Completed);
    EXPECT_EQ(collector.lastWhole().size(), 1U);
}

TEST_F(TableCollectorTest, AnotherContentUnderTheSameVersionBeginsAnew)
{
    add(section(1, 0, 2));
    add(section(1, 1, 2));
    EXPECT_EQ(add(section(1, 0, 2, 77)), Result::Collected);
    EXPECT_EQ(add(section(1, 2, 2)), Result::Collected);
    EXPECT_EQ(add(section(1, 1, 2)), Result::Completed);
    EXPECT_EQ(collector.lastWhole()[0], section(1, 0, 2, 77));
}

TEST_F(TableCollectorTest, SectionsOfTheLastTableCountAgainForItsSuccessorOfTheSameVersion)
{
    add(section(1, 0, 1));
    add(section(1, 1, 1));
    EXPECT_EQ(add(section(1, 0, 1, 77)), Result::Collected);
    EXPECT_EQ(add(section(1, 1, 1)), Result::Completed);
    EXPECT_EQ(collector.lastWhole(), WholeTable({section(1, 0, 1, 77), section(1, 1, 1)}));
}

TEST_F(TableCollectorTest, OfMoreThanFourTablesTheOneThatRestedLongestIsForgotten)
{
    for (uint8_t version = 1; version <= 4; ++version)
        add(section(version, 0, 1));
    add(section(1, 0, 2));  // the fifth; and version 1 has rested longest
    EXPECT_EQ(add(section(2, 1, 1)), Result::Completed);
}

TEST_F(TableCollectorTest, TheForgottenTableIsCollectedAnew)
{
    for (uint8_t version = 1; version <= 5; ++version)
        add(section(version, 0, 1));
    EXPECT_EQ(add(section(1, 1, 1)), Result::Collected);
    EXPECT_EQ(add(section(1, 0, 1)), Result::Completed);
}

TEST_F(TableCollectorTest, TablesOfAnotherTypeAreOthers)
{
    const auto ofType = [](uint16_t type, uint8_t number) {
        return AITSection().applicationType(type).version(1).number(number, 1).bytes();
    };
    EXPECT_EQ(add(ofType(0x10, 0)), Result::Collected);
    EXPECT_EQ(add(ofType(0x11, 1)), Result::Collected);
    EXPECT_EQ(add(ofType(0x10, 1)), Result::Completed);
    EXPECT_EQ(collector.lastWhole(), WholeTable({ofType(0x10, 0), ofType(0x10, 1)}));
}

TEST_F(TableCollectorTest, ATableThatDoesNotGoOnIsForgotten)
{
    add(section(6, 0, 1, 61));
    now += TableCollector::patience - 1;
    add(section(5, 0, 0));
    EXPECT_EQ(add(section(6, 0, 1, 61)), Result::Collected);
    now += TableCollector::patience;
    EXPECT_EQ(add(section(6, 1, 1, 72)), Result::Collected) << "the other is of long ago";
    EXPECT_EQ(add(section(6, 0, 1, 71)), Result::Completed);
    EXPECT_EQ(collector.lastWhole(), WholeTable({section(6, 0, 1, 71), section(6, 1, 1, 72)}));
}

TEST_F(TableCollectorTest, ATableThatGoesOnIsNotForgotten)
{
    add(section(6, 0, 2));
    now += TableCollector::patience - 1;
    add(section(6, 1, 2));
    now += TableCollector::patience - 1;
    EXPECT_EQ(add(section(6, 2, 2)), Result::Completed);
}

TEST_F(TableCollectorTest, ATableThatComesRoundWithoutOneOfItsSectionsIsStuckOnce)
{
    EXPECT_EQ(add(section(1, 2, 3)), Result::Collected);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(add(section(1, 0, 3)), Result::Collected);
        EXPECT_EQ(add(section(1, 2, 3)), Result::Collected);
    }
    EXPECT_EQ(add(section(1, 2, 3)), Result::Stuck);
    EXPECT_EQ(collector.firstMissing(), 1);
    EXPECT_EQ(add(section(1, 2, 3)), Result::Collected);
    EXPECT_EQ(add(section(1, 1, 3)), Result::Collected);
    for (int round = 0; round < 2; ++round)
        EXPECT_EQ(add(section(1, 2, 3)), Result::Collected) << "more of it has come";
    EXPECT_EQ(add(section(1, 2, 3)), Result::Stuck);
    EXPECT_EQ(collector.firstMissing(), 3);
    EXPECT_EQ(add(section(1, 3, 3)), Result::Completed);
}

TEST_F(TableCollectorTest, ATableThatIsStuckIsNamedAmongSeveral)
{
    add(section(1, 0, 1));
    add(section(2, 1, 1));
    for (int round = 0; round < 2; ++round)
        EXPECT_EQ(add(section(1, 0, 1)), Result::Collected);
    add(section(2, 1, 1));
    EXPECT_EQ(add(section(1, 0, 1)), Result::Stuck);
    EXPECT_EQ(collector.firstMissing(), 1) << "not that of the other one";
}

}  // namespace
}  // namespace VestaHbbTV
