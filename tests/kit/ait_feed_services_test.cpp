#include "tests/kit/ait_feed_test.h"

namespace VestaHbbTV {
namespace {

TEST_F(AITFeedTest, TuningSendsAChannelChange)
{
    give(table(1, 1));
    forgetJournal();
    tune();
    EXPECT_EQ(journal(), Lines({"dsmcc_clear_cache()", "hbbtv_ait_invalidate()"}));
}

TEST_F(AITFeedTest, SectionsOfAServiceThatWasLeftAreVoid)
{
    const uint32_t former = tuning;
    tune();
    takeReports();
    const Bytes section = table(1, 1).bytes();
    const Bytes pmt = pmtBytes({{5, pid, {}}});
    hbbtv_kit_feed_pmt(feed, former, pmt.data(), pmt.size(), now);
    give(section);
    givePMT({{5, pid, {}}});
    hbbtv_kit_feed_section(feed, former, pid, section.data(), section.size(), now);
    tickAll();
    EXPECT_EQ(inForce(), "-");
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_UNLISTED), 1U);
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_LATE), 2U);
    EXPECT_EQ(takeReports(),
              Lines({"refused section 18 at 0 tag 0", "refused section 17 at 0 tag 0 of 257",
                     "refused section 18 at 0 tag 0 of 257"}));
}

TEST_F(AITFeedTest, TheFormerServicesApplicationEndsWhereTheNextHasNoTable)
{
    give(table(1, 1));
    tune();
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
    givePMT({});
    EXPECT_EQ(runningURL(), "");
}

TEST_F(AITFeedTest, TheFormerServicesApplicationEndsWhereNoTableOfTheNextComes)
{
    give(table(1, 1));
    tune();
    givePMT({{5, pid, {}}});
    pass(19999);
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
    pass(1);
    EXPECT_EQ(runningURL(), "");
}

TEST_F(AITFeedTest, TheSameTableTakesEffectInTheNextService)
{
    give(table(1, 1));
    tune();
    givePMT({{5, pid, {}}});
    give(table(1, 2));
    EXPECT_EQ(inForce(), "2");
}

TEST_F(AITFeedTest, SectionsOfUnlistedPIDsAreVoid)
{
    give(table(1, 1), otherPid);
    EXPECT_EQ(inForce(), "-");
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_UNLISTED), 1U);
}

TEST_F(AITFeedTest, TheFirstPIDThatThePMTNamesIsChosen)
{
    givePMT({{5, 0x100, {}},
             {5, pid, signallingDescriptor({{0x10, 1}})},
             {5, otherPid, signallingDescriptor({{0x10, 1}})}});
    EXPECT_EQ(takeReports(), Lines({"chosen of 257"}));
    give(table(1, 1), 0x100);
    give(table(1, 2), otherPid);
    EXPECT_EQ(inForce(), "-");
    give(table(1, 3));
    EXPECT_EQ(inForce(), "3");
}

TEST_F(AITFeedTest, OfUnnamedPIDsTheFirstWithAWholeTableIsKept)
{
    givePMT({{5, 0x100, {}}, {5, pid, {}}, {5, otherPid, {}}});
    give(AITSection().applicationType(1), 0x100);
    give(table(1, 1).number(0, 1), pid);
    give(table(1, 2), otherPid);
    give(table(1, 3).number(1, 1), pid);
    EXPECT_EQ(inForce(), "2");
    givePMT({{5, pid, {}}, {5, otherPid, {}}});
    give(table(2, 4), pid);
    EXPECT_EQ(inForce(), "2");
}

TEST_F(AITFeedTest, APIDThatThePMTListsNoMoreGivesWay)
{
    givePMT({{5, pid, {}}, {5, otherPid, {}}});
    give(table(1, 1), pid);
    givePMT({{5, otherPid, {}}});
    EXPECT_EQ(inForce(), "1");
    give(table(1, 2), otherPid);
    EXPECT_EQ(inForce(), "2");
}

TEST_F(AITFeedTest, TheTablesOfAllPIDsCanBeOne)
{
    options.joinsPIDs = 1;
    make();
    givePMT({{5, pid, {}}, {5, otherPid, {}}});
    give(table(1, 2), otherPid);
    EXPECT_EQ(inForce(), "2");
    give(table(9, 1), pid);
    EXPECT_EQ(inForce(), "1 2");
    EXPECT_EQ(takeReports(), Lines({"sent version 1 as 1, 1 sections, 1 applications of 258",
                                    "sent version 9 as 2, 2 sections, 2 applications of 257"}));
}

TEST_F(AITFeedTest, ATableThatThePMTDoesNotAnnounceWaitsForItsRepetition)
{
    givePMT({{5, pid, signallingDescriptor({{0x10, 4}})}});
    takeReports();
    give(table(3, 1));
    EXPECT_EQ(inForce(), "-");
    EXPECT_EQ(takeReports(), Lines({"held version 3 of 257"}));
    give(table(3, 1));
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, ARepetitionOfAnotherTableDoesNotBringInTheHeldOne)
{
    givePMT({{5, pid, signallingDescriptor({{0x10, 4}})}});
    takeReports();
    give(table(3, 1));
    give(table(4, 2).number(0, 1));
    give(table(4, 2).number(0, 1));
    EXPECT_EQ(inForce(), "-");
    for (int i = 0; i < 3; ++i)
        givePMT({{5, pid, signallingDescriptor({{0x10, 4}})}});
    EXPECT_EQ(takeReports(), Lines({"held version 3 of 257"})) << "it is told once";
    give(table(4, 3).number(1, 1));
    EXPECT_EQ(inForce(), "2 3");
}

TEST_F(AITFeedTest, ATableThatThePMTDoesNotAnnounceGivesWayToTheOneThatItDoes)
{
    givePMT({{5, pid, signallingDescriptor({{0x10, 4}})}});
    give(table(3, 1));
    give(table(4, 2));
    EXPECT_EQ(inForce(), "2");
}

TEST_F(AITFeedTest, ATableThatIsAheadOfThePMTTakesEffectWithIt)
{
    givePMT({{5, pid, signallingDescriptor({{0x10, 3}})}});
    give(table(4, 1));
    EXPECT_EQ(inForce(), "-");
    givePMT({{5, pid, signallingDescriptor({{0x10, 4}})}});
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, AnnouncedVersionsNeedNotBeHeeded)
{
    options.heedsAnnouncedVersion = 0;
    make();
    givePMT({{5, pid, signallingDescriptor({{0x10, 4}})}});
    give(table(3, 1));
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, APMTThatIsNotValidYetChangesNothing)
{
    give(table(1, 1));
    const Bytes next = pmtBytes({}, false);
    hbbtv_kit_feed_pmt(feed, tuning, next.data(), next.size(), now);
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(AITFeedTest, ATableThatLacksASectionForGoodIsToldOnce)
{
    takeReports();
    for (int round = 0; round < 8; ++round) {
        give(table(3, 1).number(0, 2));
        give(table(3, 2).number(2, 2));
    }
    EXPECT_EQ(takeReports(), Lines({"incomplete version 3, 1 of 3 missing of 257"}));
    EXPECT_EQ(inForce(), "-");
    give(table(4, 5));
    EXPECT_EQ(inForce(), "5");
}

TEST_F(AITFeedTest, APMTThatIsDamagedOrOfAnotherServiceChangesNothing)
{
    give(table(1, 1));
    Bytes damaged = pmtBytes({});
    damaged[5] ^= 0x02;
    const Bytes other = pmtBytes({}, true, {}, 4);
    const Bytes cut(other.begin(), other.end() - 1);
    for (const Bytes& bytes : {damaged, other, cut})
        hbbtv_kit_feed_pmt(feed, tuning, bytes.data(), bytes.size(), now);
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_PMT), 3U);
}

TEST_F(AITFeedTest, WhatFollowsAPMTIsNoneOfIt)
{
    const Bytes longer = pmtBytes({{5, pid, {}}}) + Bytes{5, 0xE1, 0x02, 0xF0, 0, 1, 2, 3, 4};
    hbbtv_kit_feed_pmt(feed, tuning, longer.data(), longer.size(), now);
    give(table(1, 1), otherPid);
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_UNLISTED), 1U);
}

TEST_F(AITFeedTest, WhereEveryTypeCountsTheFirstOneOfAPIDDoes)
{
    options.applicationType = 0;
    make();
    give(table(1, 1).applicationType(0x11));
    give(table(1, 2));
    give(table(1, 1).applicationType(0x11));
    EXPECT_EQ(inForce(), "1");
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_TYPE), 1U);
}

TEST_F(AITFeedTest, ATableThatIsRefusedDoesNotChooseItsPID)
{
    options.mostApplications = 1;
    make();
    givePMT({{5, pid, {}}, {5, otherPid, {}}});
    give(AITSection().add(entry(1)).add(entry(2)), pid);
    give(table(1, 3), otherPid);
    EXPECT_EQ(inForce(), "3");
}

}  // namespace
}  // namespace VestaHbbTV
