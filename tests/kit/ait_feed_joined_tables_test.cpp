#include "tests/kit/ait_feed_test.h"

namespace VestaHbbTV {
namespace {

class JoinedFeed : public AITFeedTest {
protected:
    JoinedFeed()
    {
        options.joinsPIDs = 1;
        joinTwo();
        give(table(1, 1), pid);
        give(table(1, 2), otherPid);
        takeReports();
    }

    void joinTwo()
    {
        make();
        givePMT({{5, pid, {}}, {5, otherPid, {}}});
    }
};

TEST_F(JoinedFeed, LosesATableThatThePMTListsNoMore)
{
    EXPECT_EQ(inForce(), "1 2");
    givePMT({{5, pid, {}}});
    EXPECT_EQ(inForce(), "1");
}

TEST_F(JoinedFeed, LosesATableThatIsNotRepeated)
{
    pass(15000);
    give(table(1, 1), pid);
    pass(6000);
    EXPECT_EQ(inForce(), "1");
    pass(20000);
    EXPECT_EQ(takeReports().back(), "withdrawn");
}

TEST_F(JoinedFeed, GivesEachTableANewVersionWhateverTheirsAre)
{
    options.numbersVersions = 0;
    joinTwo();
    give(table(2, 1), otherPid);
    give(table(1, 2), pid);
    give(table(2, 3), pid);
    EXPECT_EQ(inForce(), "3 1");
}

TEST_F(JoinedFeed, RefusesTablesWhoseCommonTransportsClash)
{
    give(table(2, 3).common(httpTransport(1, "http://one.example/")), pid);
    give(table(2, 4).common(httpTransport(1, "http://two.example/")), otherPid);
    EXPECT_EQ(takeReports().back(), "refused table 5 version 2 of 258");
    give(table(3, 4).common(httpTransport(1, "http://one.example/")), otherPid);
    EXPECT_EQ(inForce(), "3 4");
}

}  // namespace
}  // namespace VestaHbbTV
