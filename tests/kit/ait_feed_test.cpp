#include "tests/kit/ait_feed_test.h"

namespace VestaHbbTV {
namespace {

TEST_F(AITFeedTest, AWholeTableTakesEffect)
{
    give(table(7, 1));
    EXPECT_EQ(inForce(), "1");
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
    const AIT& ait = *window()->getAIT();
    EXPECT_EQ(ait.getOriginalNetworkId(), 1);
    EXPECT_EQ(ait.getTransportStreamId(), 2);
    EXPECT_EQ(ait.getServiceId(), 3);
    EXPECT_EQ(ait.getChannelHandle(), &channel);
    EXPECT_EQ(takeReports(),
              Lines({"chosen of 257", "sent version 7 as 1, 1 sections, 1 applications of 257"}));
}

TEST_F(AITFeedTest, NothingIsSentBeforeTheTableIsWhole)
{
    give(table(1, 1).number(0, 2));
    give(table(1, 3).number(2, 2));
    EXPECT_EQ(inForce(), "-");
    EXPECT_EQ(window()->getAssemblyAIT(), nullptr);
    give(table(1, 2).number(1, 2));
    EXPECT_EQ(inForce(), "1 2 3");
}

TEST_F(AITFeedTest, AHalfReceivedTableDoesNotStandInTheWay)
{
    give(table(1, 1).number(0, 1));
    give(table(2, 2));
    EXPECT_EQ(inForce(), "2");
}

TEST_F(AITFeedTest, ARefusedSectionDoesNotStandInTheWay)
{
    give(AITSection().version(1).number(0, 1).add(Bytes{1, 2, 3}));
    give(table(1, 2).number(1, 1));
    give(table(2, 3));
    EXPECT_EQ(inForce(), "3");
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_APPLICATION), 1U);
}

TEST_F(AITFeedTest, AnotherContentUnderTheSameVersionTakesEffect)
{
    give(table(5, 1));
    give(table(5, 2));
    EXPECT_EQ(inForce(), "2");
}

TEST_F(AITFeedTest, TheSameContentUnderAnotherVersionChangesNothing)
{
    give(table(5, 1));
    forgetJournal();
    give(table(6, 1));
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, RepetitionsSendNothing)
{
    give(table(5, 1));
    forgetJournal();
    for (int i = 0; i < 10; ++i)
        give(table(5, 1));
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_OK), 11U);
}

TEST_F(AITFeedTest, VersionsThatAreSentLeaveOut0)
{
    options.mostChanges = 100;
    make();
    for (unsigned i = 1; i <= 31; ++i) {
        giveChanges(1);
        EXPECT_EQ(versionInForce(), i);
    }
    giveChanges(1);
    EXPECT_EQ(versionInForce(), 1U);
}

TEST_F(AITFeedTest, VersionsCanStayAsTheyAre)
{
    options.numbersVersions = 0;
    make();
    give(table(17, 1));
    EXPECT_EQ(versionInForce(), 17U);
    give(table(18, 1));
    EXPECT_EQ(versionInForce(), 18U);
}

TEST_F(AITFeedTest, EmptyDescriptorsAreTakenOut)
{
    give(AITSection().add(entry(1).raw(descriptor(0x77, {}))).add(entry(2)));
    EXPECT_EQ(inForce(), "1 2");
}

TEST_F(AITFeedTest, EmptyDescriptorsThatAreToStayAreAFault)
{
    options.takesOutEmptyDescriptors = 0;
    make();
    give(AITSection().add(entry(1).raw(descriptor(0x77, {}))));
    EXPECT_EQ(inForce(), "-");
    EXPECT_EQ(takeReports().back().substr(0, 18), "refused section 14");
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR), 1U);
}

TEST_F(AITFeedTest, WhatTheApplicationManagerRefusesNeverReachesIt)
{
    // The name goes on in an empty descriptor that is not there any more.
    const Bytes nameIntoTheNext = Bytes{0x01, 4, 'e', 'n', 'g', 2};
    give(AITSection().add(AITEntry(1, 1)
                              .withoutApplicationDescriptor()
                              .raw(nameIntoTheNext)
                              .raw(descriptor(0x77, {}))));
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_REFUSED), 1U);
    EXPECT_EQ(inForce(), "-");
    give(table(2, 2));
    EXPECT_EQ(inForce(), "2");
}

TEST_F(AITFeedTest, AWrongChecksumIsRefused)
{
    Bytes damaged = table(1, 1).bytes();
    damaged[20] ^= 0x10;
    give(damaged);
    EXPECT_EQ(inForce(), "-");
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_CRC), 1U);
}

TEST_F(AITFeedTest, ADamagedRepetitionChangesNothing)
{
    const Bytes section = table(1, 1).bytes();
    give(section);
    forgetJournal();
    for (size_t place = 0; place < section.size(); ++place) {
        Bytes damaged = section;
        damaged[place] ^= 0x04;
        give(damaged);
    }
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, ChecksumsNeedNotBeLookedAt)
{
    options.checksChecksum = 0;
    make();
    Bytes section = table(1, 1).bytes();
    section.back() ^= 1;
    give(section);
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, ASectionMayBeFollowedByOtherBytes)
{
    give(table(1, 1).bytes() + Bytes{0xFF, 0xFF});
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, AnIncompleteSectionIsRefused)
{
    const Bytes section = table(1, 1).bytes();
    for (size_t count = 0; count < section.size(); ++count)
        give(Bytes(section.begin(), section.begin() + static_cast<std::ptrdiff_t>(count)));
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_INCOMPLETE), section.size());
    EXPECT_EQ(inForce(), "-");
}

TEST_F(AITFeedTest, EachFaultIsToldOnceForEachPID)
{
    givePMT({{5, pid, {}}, {5, otherPid, {}}});
    const AITSection other = AITSection().tableId(0x42);
    give(other);
    give(other);
    give(other, otherPid);
    EXPECT_EQ(takeReports(), Lines({"refused section 2 at 0 tag 0 of 257",
                                    "refused section 2 at 0 tag 0 of 258"}));
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_NOT_AIT), 3U);
    tune();
    givePMT({{5, pid, {}}});
    give(other);
    EXPECT_EQ(takeReports(), Lines({"refused section 2 at 0 tag 0 of 257"}));
}

TEST_F(AITFeedTest, FaultsAreToldWithTheirPlace)
{
    give(AITSection().common(Bytes{0x02, 5, 1}));
    EXPECT_EQ(takeReports(), Lines({"refused section 13 at 10 tag 2 of 257"}));
}

TEST_F(AITFeedTest, ApplicationsOfLaterVersionsStartWhereTheTerminalCarriesThem)
{
    const AITSection later = AITSection().add(entry(1).profiles({{0, 1, 4, 1}}));
    give(later);
    EXPECT_EQ(runningURL(), "");
    options.carriedMajor = 1;
    options.carriedMinor = 4;
    options.carriedMicro = 1;
    make();
    give(later);
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

}  // namespace
}  // namespace VestaHbbTV
