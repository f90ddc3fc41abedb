#include <gtest/gtest.h>

#include "inspector/survey/table_history.h"
#include "tests/support/section_builder.h"
#include "vesta_hbbtv_kit.h"

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
    give(AITSection(), Moment{1, 600});
    EXPECT_EQ(history_.longestGap(), 700U) << "after a jump, what passed since";
    give(AITSection(), Moment{2, 900});
    EXPECT_EQ(history_.longestGap(), 900U) << "likewise";
    history_.finish(Moment{2, 2'000});
    EXPECT_EQ(history_.longestGap(), 1'100U) << "it did not come again";
}

TEST_F(History, MeasuresTheTimeUntilTheFirstSection)
{
    history_.expect(Moment{0, 2'000});
    give(AITSection(), Moment{0, 5'000});
    EXPECT_EQ(history_.longestGap(), 3'000U);
}

TEST_F(History, DoesNotMeasureTheTimeOfASectionThatTheTableDidNotHave)
{
    give(AITSection().version(1).number(0, 1), Moment{0, 0});
    give(AITSection().version(1).number(1, 1), Moment{0, 0});
    for (uint64_t at = 1'000; at <= 60'000; at += 1'000)
        give(AITSection().version(2), Moment{0, at});
    give(AITSection().version(3).number(0, 1), Moment{0, 61'000});
    give(AITSection().version(3).number(1, 1), Moment{0, 61'500});
    EXPECT_EQ(history_.longestGap(), 1'000U);
}

TEST_F(History, CountsTheChangesThatComeAtOnce)
{
    uint64_t at = 0;
    for (uint8_t round = 0; round < 5; ++round, at += 10'000) {
        give(AITSection().version(round).add(AITEntry(1, round)), Moment{0, at});
        give(AITSection().version(round).add(AITEntry(1, round)), Moment{0, at + 1'000});
    }
    EXPECT_EQ(history_.changesAtOnce(), 4U);
    for (uint8_t round = 5; round < 20; ++round)
        give(AITSection().version(round).add(AITEntry(1, 4)), Moment{0, at + round});
    EXPECT_EQ(history_.changesAtOnce(), 4U) << "the version alone changes";
    give(AITSection().version(20).add(AITEntry(1, 5)), Moment{0, at + 60'000});
    EXPECT_EQ(history_.changesAtOnce(), 4U) << "the others are long ago";
}

TEST_F(History, TakesAsManyChangesAtOnceForRightAsTheFeed)
{
    HBBTV_KitFeedOptions options;
    hbbtv_kit_feed_get_defaults(&options);
    EXPECT_EQ(TableHistory::mostChanges, options.mostChanges);
    EXPECT_EQ(TableHistory::changesWithinMs, options.changesWithin);
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
