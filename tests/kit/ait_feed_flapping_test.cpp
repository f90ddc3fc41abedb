#include "tests/kit/ait_feed_test.h"

namespace VestaHbbTV {
namespace {

TEST_F(AITFeedTest, MoreChangesThanAllowedAreToldOnce)
{
    giveChanges(8);
    takeReports();
    giveChanges(1);
    EXPECT_EQ(takeReports(),
              Lines({"flapping", "sent version 0 as 9, 1 sections, 1 applications of 257"}));
    giveChanges(2);
    EXPECT_EQ(takeReports(), Lines({"sent version 0 as 10, 1 sections, 1 applications of 257",
                                    "sent version 0 as 11, 1 sections, 1 applications of 257"}));
}

TEST_F(AITFeedTest, ChangesThatAreLongAgoDoNotCount)
{
    options.withdrawnAfter = 0;
    make();
    for (int i = 0; i < 30; ++i) {
        giveChanges(1);
        pass(7500);
    }
    takeReports();
    giveChanges(1);
    EXPECT_EQ(takeReports().size(), 1U);
}

TEST_F(AITFeedTest, FlappingIsToldAgainAfterItWasQuiet)
{
    options.withdrawnAfter = 0;
    make();
    giveChanges(9);
    pass(60000);
    takeReports();
    giveChanges(9);
    const Lines told = takeReports();
    EXPECT_EQ(std::count(told.begin(), told.end(), "flapping"), 1);
}

TEST_F(AITFeedTest, FlappingTablesCanBeHeldUntilTheyAreQuiet)
{
    options.heldUntilQuiet = 3000;
    make();
    giveChanges(8);
    EXPECT_EQ(inForce(), "8");
    giveChanges(1);
    EXPECT_EQ(inForce(), "8");
    pass(2999);
    EXPECT_EQ(inForce(), "8");
    giveChanges(1);
    pass(2999);
    EXPECT_EQ(inForce(), "8");
    pass(1);
    EXPECT_EQ(inForce(), "10");
}

TEST_F(AITFeedTest, AHeldTableThatIsTheOneInForceAgainChangesNothing)
{
    options.heldUntilQuiet = 3000;
    make();
    giveChanges(8);
    give(table(0, 100));
    give(table(0, 8));
    forgetJournal();
    pass(3000);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(inForce(), "8");
}

TEST_F(AITFeedTest, EveryChangeCanBeOneTooMany)
{
    options.mostChanges = 0;
    make();
    giveChanges(200);
    pass(1);
    EXPECT_EQ(inForce(), "200");
    const Lines told = takeReports();
    EXPECT_EQ(std::count(told.begin(), told.end(), "flapping"), 1);
}

TEST_F(AITFeedTest, AHeldTableDoesNotReplaceALaterOne)
{
    options.heldUntilQuiet = 30000;
    options.changesWithin = 10000;
    options.withdrawnAfter = 0;
    make();
    giveChanges(9);
    EXPECT_EQ(inForce(), "8");
    pass(10000);
    give(table(0, 100));
    EXPECT_EQ(inForce(), "100");
    pass(30000);
    EXPECT_EQ(inForce(), "100");
}

TEST_F(AITFeedTest, AHeldTableIsNotSentAfterItWasWithdrawn)
{
    options.heldUntilQuiet = 3000;
    make();
    giveChanges(9);
    givePMT({});
    EXPECT_EQ(running(), nullptr);
    pass(3000);
    EXPECT_EQ(running(), nullptr);
    givePMT({{5, pid, {}}});
    giveChanges(1);
    givePMT({});
    pass(3000);
    EXPECT_EQ(running(), nullptr) << "though none was in force";
}

TEST_F(AITFeedTest, AHeldTableIsNotSentToTheNextService)
{
    options.heldUntilQuiet = 3000;
    make();
    giveChanges(9);
    tune();
    givePMT({{5, pid, {}}});
    pass(3000);
    EXPECT_EQ(inForce(), "8");
    giveChanges(1);
    EXPECT_EQ(inForce(), "10") << "nor does its flapping count there";
}

}  // namespace
}  // namespace VestaHbbTV
