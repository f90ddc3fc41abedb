#include <gtest/gtest.h>

#include "inspector/survey/table_history.h"
#include "tests/support/section_builder.h"

namespace inspector::test {
namespace {

using vesta::test::AITEntry;
using vesta::test::AITSection;

class History : public testing::Test {
protected:
    void give(const AITSection& section, std::optional<Moment> now = {})
    {
        history_.add(section.bytes(), now);
    }

    receiver::Budget memory_{1'000'000};
    TableHistory history_{memory_};
};

TEST_F(History, CountsRepetitionsAndChanges)
{
    give(AITSection().version(1));
    give(AITSection().version(1));
    give(AITSection().version(2));
    EXPECT_EQ(history_.sections(), 3U);
    EXPECT_EQ(history_.changes(), 1U);
    EXPECT_EQ(history_.latest()->version, 2);
}

TEST_F(History, PrefersTheNewestTableThatIsWhole)
{
    give(AITSection().version(1));
    give(AITSection().version(2).number(0, 1));
    EXPECT_EQ(history_.latest()->version, 1);
    give(AITSection().version(2).number(1, 1));
    EXPECT_EQ(history_.latest()->version, 2);
    EXPECT_EQ(history_.changes(), 1U);
}

TEST_F(History, NoticesContentThatChangesWithinAVersion)
{
    give(AITSection().version(1).number(0, 1));
    give(AITSection().version(1).number(1, 1));
    EXPECT_FALSE(history_.changedWithinVersion());
    give(AITSection().version(1).number(1, 1).add(AITEntry(1, 1)));
    EXPECT_EQ(history_.changedWithinVersion(), 1);
}

TEST_F(History, NoticesVersionsThatChangeAlone)
{
    give(AITSection().version(1).add(AITEntry(1, 1)));
    give(AITSection().version(2).add(AITEntry(1, 2)));
    EXPECT_FALSE(history_.isVersionAloneChanged());
    give(AITSection().version(3).add(AITEntry(1, 2)));
    EXPECT_TRUE(history_.isVersionAloneChanged());
}

TEST_F(History, MeasuresTheLongestTimeWithoutASection)
{
    give(AITSection(), Moment{0, 0});
    EXPECT_FALSE(history_.longestGap());
    give(AITSection(), Moment{0, 700});
    give(AITSection(), Moment{0, 1'000});
    EXPECT_EQ(history_.longestGap(), 700U);
    give(AITSection(), Moment{1, 90'000});
    EXPECT_EQ(history_.longestGap(), 700U) << "of another time line";
    history_.finish(Moment{1, 91'000});
    EXPECT_EQ(history_.longestGap(), 1'000U) << "it did not come again";
}

TEST_F(History, MeasuresEachSectionOfATable)
{
    give(AITSection().number(0, 1), Moment{0, 0});
    give(AITSection().number(1, 1), Moment{0, 500});
    give(AITSection().number(0, 1), Moment{0, 1'000});
    EXPECT_EQ(history_.longestGap(), 1'000U);
}

TEST_F(History, GivesItsMemoryBackToNewerVersions)
{
    receiver::Budget little(1'000);
    TableHistory history(little);
    for (uint8_t version = 0; version < 20; ++version)
        history.add(AITSection().version(version).bytes(), std::nullopt);
    EXPECT_EQ(history.latest()->version, 19);
    EXPECT_EQ(history.leftOut(), 0U);
    EXPECT_LE(little.used(), 1'000U);
}

}  // namespace
}  // namespace inspector::test
