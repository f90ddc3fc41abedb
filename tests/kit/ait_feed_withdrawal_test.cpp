#include "tests/kit/ait_feed_test.h"

namespace VestaHbbTV {
namespace {

TEST_F(AITFeedTest, ATableThatThePMTListsNoMoreIsWithdrawn)
{
    give(table(1, 1));
    takeReports();
    givePMT({});
    EXPECT_EQ(runningURL(), "");
    EXPECT_EQ(takeReports(), Lines({"withdrawn"}));
    givePMT({});
    EXPECT_EQ(takeReports(), Lines());
}

TEST_F(AITFeedTest, AServiceWithoutATableIsToldOnceThoughNoneWasSent)
{
    forgetJournal();
    takeReports();
    givePMT({});
    givePMT({});
    EXPECT_EQ(takeReports(), Lines({"withdrawn"}));
    tune();
    givePMT({});
    EXPECT_EQ(takeReports(), Lines({"withdrawn"}));
}

TEST_F(AITFeedTest, AnApplicationThatNoTableStartedEndsWithAServiceWithoutOne)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/alone.html"));
    tickAll();
    running()->setBroadcastRelated(true);  // it has asked for the channel
    tune();
    EXPECT_EQ(runningURL(), "http://a.example/alone.html");
    givePMT({});
    EXPECT_EQ(runningURL(), "");
}

TEST_F(AITFeedTest, AServiceWhoseTableDoesNotComeInTimeHasNone)
{
    tune();  // long after whatever came last
    now += 1000000;
    givePMT({{5, pid, {}}});
    takeReports();
    pass(19999);
    EXPECT_EQ(takeReports(), Lines());
    pass(1);
    EXPECT_EQ(takeReports(), Lines({"withdrawn"}));
    give(table(1, 1));
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(AITFeedTest, NorHasAServiceOfWhichNoTableOfSeveralPIDsComes)
{
    options.joinsPIDs = 1;
    make();
    takeReports();
    pass(19999);
    EXPECT_EQ(takeReports(), Lines());
    pass(1);
    EXPECT_EQ(takeReports(), Lines({"withdrawn"}));
}

TEST_F(AITFeedTest, AWithdrawnTableStartsAgainWhenItComesBack)
{
    give(table(1, 1));
    givePMT({});
    givePMT({{5, pid, {}}});
    EXPECT_EQ(runningURL(), "");
    give(table(1, 1));
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(AITFeedTest, ATableThatIsNotRepeatedIsWithdrawn)
{
    give(table(1, 1));
    pass(19999);
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
    pass(1);
    EXPECT_EQ(runningURL(), "");
    give(table(1, 1));
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(AITFeedTest, RepetitionsKeepATable)
{
    give(table(1, 1));
    for (int i = 0; i < 5; ++i) {
        pass(15000);
        give(table(1, 1));
    }
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(AITFeedTest, ATableCanStayForEver)
{
    options.withdrawnAfter = 0;
    make();
    give(table(1, 1));
    pass(uint64_t(1) << 40);
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(AITFeedTest, TimeThatGoesBackIsNotTime)
{
    give(table(1, 1));
    now = 0;
    pass(0);
    give(table(1, 1));
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(AITFeedTest, ARepetitionAfterALongSilenceKeepsTheTable)
{
    give(table(1, 1));
    forgetJournal();
    now += 25000;  // nobody called in the meantime
    give(table(1, 1));
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(AITFeedTest, OnlySectionsOfTheTableInForceKeepIt)
{
    give(table(1, 1));
    for (int i = 0; i < 3; ++i) {
        pass(7000);
        give(table(2, 2).number(0, 1));
    }
    EXPECT_EQ(runningURL(), "");
}

TEST_F(AITFeedTest, ATableOfAPIDThatIsGoneIsWithdrawnWhenNoOtherComes)
{
    givePMT({{5, pid, {}}, {5, otherPid, {}}});
    give(table(1, 1));
    givePMT({{5, otherPid, {}}});
    for (int i = 0; i < 3; ++i) {
        pass(7000);
        give(table(2, 2).number(0, 1), otherPid);
    }
    EXPECT_EQ(runningURL(), "");
}

TEST_F(AITFeedTest, WithoutALimitOfTimeItIsWithdrawnAtOnce)
{
    options.withdrawnAfter = 0;
    make();
    givePMT({{5, pid, {}}, {5, otherPid, {}}});
    give(table(1, 1));
    givePMT({{5, otherPid, {}}});
    EXPECT_EQ(runningURL(), "");
}

TEST_F(AITFeedTest, AClockThatJumpsOnceGoesOn)
{
    options.withdrawnAfter = 0;
    options.heldUntilQuiet = 3000;
    make();
    now = ~uint64_t(0);
    pass(0);
    now = 5000;
    pass(0);
    giveChanges(9);
    EXPECT_EQ(inForce(), "8");
    pass(3000);
    EXPECT_EQ(inForce(), "9");
}

}  // namespace
}  // namespace VestaHbbTV
