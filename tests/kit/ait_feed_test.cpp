#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "signalling/ait.h"
#include "tests/kit/pmt_bytes.h"
#include "tests/support/library_test.h"
#include "vesta_hbbtv_kit.h"

namespace VestaHbbTV {
namespace {

using namespace vesta::test;

const uint16_t pid = 0x101;
const uint16_t otherPid = 0x102;

AITEntry entry(uint16_t applicationId, const std::string& page = "index.html")
{
    return AITEntry(0x0A, applicationId).http(1, "http://a.example/").location(page);
}

AITSection table(uint8_t version, uint16_t applicationId)
{
    return AITSection().version(version).add(entry(applicationId));
}

/// A feed that is tuned to the service 1.2.3, whose AITs are on `pid`.
class AITFeedTest : public LibraryTest {
public:  // for its listeners
    AITFeedTest()
    {
        hbbtv_kit_feed_get_defaults(&options);
        options.listener = [](const HBBTV_KitFeedReport* report, void* self) {
            static_cast<AITFeedTest*>(self)->hear(*report);
        };
        options.context = this;
        make();
    }
    ~AITFeedTest() override { hbbtv_kit_feed_destroy(feed); }

    /// Anew, with the options as they are.
    void make()
    {
        hbbtv_kit_feed_destroy(feed);
        feed = hbbtv_kit_feed_create(&options);
        tune();
        givePMT({{5, pid, {}}});
    }

    void tune()
    {
        tuning = hbbtv_kit_feed_tune(feed, 1, 2, 3, &channel);
        tickAll();
    }

    void givePMT(const std::vector<PMTStream>& streams)
    {
        const Bytes section = pmtBytes(streams);
        hbbtv_kit_feed_pmt(feed, tuning, section.data(), section.size(), now);
        tickAll();
    }

    void give(const Bytes& section, uint16_t from = pid)
    {
        const auto block = exactBlock(section);
        hbbtv_kit_feed_section(feed, tuning, from, block.get(), section.size(), now);
        tickAll();
    }
    void give(const AITSection& section, uint16_t from = pid) { give(section.bytes(), from); }

    /// A new table of one application each time.
    void giveChanges(unsigned count)
    {
        for (unsigned i = 0; i < count; ++i)
            give(table(0, ++changes));
    }

    void pass(uint64_t milliseconds)
    {
        now += milliseconds;
        hbbtv_kit_feed_time(feed, now);
        tickAll();
    }

    uint64_t countOf(HBBTV_KitSectionFault fault) { return hbbtv_kit_feed_get_count(feed, fault); }

    /// "1 2" for the ids of the applications of the table in force; "-" without a table.
    std::string inForce()
    {
        const AIT* const ait = window()->getAIT();
        if (!ait)
            return "-";
        std::string ids;
        for (unsigned i = 0; i < ait->getNumApplications(); ++i)
            ids += (i ? " " : "") + std::to_string(ait->getAITApplication(i)->getApplicationId());
        return ids;
    }

    unsigned versionInForce() { return window()->getAIT()->getVersion(); }

    std::vector<std::string> takeReports() { return std::exchange(reports, {}); }

    void hear(const HBBTV_KitFeedReport& report)
    {
        static const char* const events[] = {
            "refused section", "refused table", "held",     "sent",
            "withdrawn",       "chosen",        "flapping", "incomplete"};
        std::string line = events[report.event];
        switch (report.event) {
        case HBBTV_KIT_FEED_SECTION_REFUSED:
            line += " " + std::to_string(report.fault) + " at " + std::to_string(report.offset) +
                    " tag " + std::to_string(report.tag);
            break;
        case HBBTV_KIT_FEED_TABLE_REFUSED:
            line +=
                " " + std::to_string(report.fault) + " version " + std::to_string(report.version);
            break;
        case HBBTV_KIT_FEED_TABLE_HELD_FOR_PMT:
            line += " version " + std::to_string(report.version);
            break;
        case HBBTV_KIT_FEED_TABLE_SENT:
            line += " version " + std::to_string(report.version) + " as " +
                    std::to_string(report.sentVersion) + ", " + std::to_string(report.sections) +
                    " sections, " + std::to_string(report.applications) + " applications";
            break;
        case HBBTV_KIT_FEED_TABLE_INCOMPLETE:
            line += " version " + std::to_string(report.version) + ", " +
                    std::to_string(report.missing) + " of " + std::to_string(report.sections) +
                    " missing";
            break;
        default:
            break;
        }
        if (report.pid)
            line += " of " + std::to_string(report.pid);
        EXPECT_EQ(report.size, sizeof(report));
        reports.push_back(line);
    }

    HBBTV_KitFeedOptions options;
    HBBTV_KitAITFeed* feed = nullptr;
    uint32_t tuning = 0;
    uint64_t now = 1000;
    uint16_t changes = 0;
    int channel = 0;
    std::vector<std::string> reports;
};

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

// ------------------------------------------------------------------------------------------------
// Services and PIDs
// ------------------------------------------------------------------------------------------------

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

// ------------------------------------------------------------------------------------------------
// Withdrawal
// ------------------------------------------------------------------------------------------------

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

// ------------------------------------------------------------------------------------------------
// PMTs and types
// ------------------------------------------------------------------------------------------------

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

// ------------------------------------------------------------------------------------------------
// Tables that are one
// ------------------------------------------------------------------------------------------------

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

// ------------------------------------------------------------------------------------------------
// Versions of HbbTV
// ------------------------------------------------------------------------------------------------

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

// ------------------------------------------------------------------------------------------------
// Limits
// ------------------------------------------------------------------------------------------------

AITSection manyApplications(unsigned count)
{
    AITSection section;
    for (unsigned i = 1; i <= count; ++i)
        section.add(AITEntry(1, static_cast<uint16_t>(i)).withoutApplicationDescriptor());
    return section;
}

TEST_F(AITFeedTest, ATableOfTooManyApplicationsIsRefusedWhole)
{
    options.mostApplications = 10;
    make();
    takeReports();
    give(manyApplications(11));
    EXPECT_EQ(inForce(), "-");
    EXPECT_EQ(takeReports(), Lines({"refused table 1 version 0 of 257"}));
    give(manyApplications(10));
    EXPECT_EQ(inForce(), "1 2 3 4 5 6 7 8 9 10");
}

TEST_F(AITFeedTest, ATableOfTooLongTextsIsRefusedWhole)
{
    const AITSection section = table(1, 1);
    options.mostTextBytes = 32;  // 3 + 1 + 17 + 1 of the transport, and 10 of the location
    make();
    takeReports();
    give(section);
    EXPECT_EQ(inForce(), "1");
    options.mostTextBytes = 31;
    make();
    takeReports();
    give(section);
    EXPECT_EQ(takeReports(), Lines({"refused table 2 version 1 of 257"}));
}

TEST_F(AITFeedTest, ATableOfTooManyLabelsIsRefusedWhole)
{
    options.mostLabels = 3;
    make();
    takeReports();
    give(AITSection().add(entry(1).labels({1, 2})).add(entry(2).labels({1, 2})));
    EXPECT_EQ(takeReports(), Lines({"refused table 3 version 0 of 257"}));
}

TEST_F(AITFeedTest, JoinedTablesHave256SectionsAtTheMost)
{
    options.joinsPIDs = 1;
    make();
    givePMT({{5, pid, {}}, {5, otherPid, {}}});
    for (unsigned number = 0; number < 256; ++number)
        give(AITSection().number(static_cast<uint8_t>(number), 255), pid);
    takeReports();
    give(AITSection(), otherPid);
    EXPECT_EQ(takeReports(), Lines({"refused table 4 version 0 of 258"}));
}

// ------------------------------------------------------------------------------------------------
// Tables that change too often
// ------------------------------------------------------------------------------------------------

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

// ------------------------------------------------------------------------------------------------
// The edge
// ------------------------------------------------------------------------------------------------

TEST_F(AITFeedTest, NullsAreIgnored)
{
    const Bytes section = table(1, 1).bytes();
    EXPECT_EQ(hbbtv_kit_feed_tune(nullptr, 1, 2, 3, nullptr), 0U);
    hbbtv_kit_feed_pmt(nullptr, 1, section.data(), section.size(), 0);
    hbbtv_kit_feed_section(nullptr, 1, pid, section.data(), section.size(), 0);
    hbbtv_kit_feed_time(nullptr, 0);
    hbbtv_kit_feed_destroy(nullptr);
    hbbtv_kit_feed_get_defaults(nullptr);
    EXPECT_EQ(hbbtv_kit_feed_get_count(nullptr, 0), 0U);
    hbbtv_kit_feed_section(feed, tuning, pid, nullptr, 100, now);
    hbbtv_kit_feed_pmt(feed, tuning, nullptr, 100, now);
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_INCOMPLETE), 1U);
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_PMT), 1U);
}

TEST_F(AITFeedTest, UnknownFaultsAreCountedAs0)
{
    give(table(1, 1));
    EXPECT_EQ(hbbtv_kit_feed_get_count(feed, -1), 0U);
    EXPECT_EQ(hbbtv_kit_feed_get_count(feed, HBBTV_KIT_SECTION_FAULTS), 0U);
}

TEST_F(AITFeedTest, WithoutOptionsTheDefaultsCount)
{
    hbbtv_kit_feed_destroy(feed);
    feed = hbbtv_kit_feed_create(nullptr);
    tune();
    givePMT({{5, pid, {}}});
    give(AITSection().add(entry(1).raw(descriptor(0x77, {}))));
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, AShorterRecordOfOptionsKeepsTheDefaultsOfTheRest)
{
    options.size = offsetof(HBBTV_KitFeedOptions, takesOutEmptyDescriptors);
    options.checksChecksum = 0;
    options.takesOutEmptyDescriptors = 0;
    make();
    Bytes section = AITSection().add(entry(1).raw(descriptor(0x77, {}))).bytes();
    section.back() ^= 1;
    give(section);
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, BeforeItIsTunedEverythingIsLate)
{
    hbbtv_kit_feed_destroy(feed);
    feed = hbbtv_kit_feed_create(&options);
    tuning = 0;
    givePMT({{5, pid, {}}});
    give(table(1, 1));
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_LATE), 2U);
}

TEST_F(AITFeedTest, ALongerRecordOfOptionsCountsAsFarAsItIsKnown)
{
    struct {
        HBBTV_KitFeedOptions known;
        int later;
    } longer = {options, 1};
    longer.known.size = sizeof(longer);
    longer.known.checksChecksum = 0;
    hbbtv_kit_feed_destroy(feed);
    feed = hbbtv_kit_feed_create(&longer.known);
    tune();
    givePMT({{5, pid, {}}});
    Bytes section = table(1, 1).bytes();
    section.back() ^= 1;
    give(section);
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, TheListenerMayCallTheFeed)
{
    options.listener = [](const HBBTV_KitFeedReport* report, void* self) {
        auto* const test = static_cast<AITFeedTest*>(self);
        if (report->event == HBBTV_KIT_FEED_PID_CHOSEN)
            test->tuning = hbbtv_kit_feed_tune(test->feed, 1, 2, 3, nullptr);
    };
    make();
    const uint32_t former = tuning;
    give(table(1, 1));
    EXPECT_NE(tuning, former);
}

TEST_F(AITFeedTest, WithoutAnApplicationManagerNothingIsSentAndNothingIsLost)
{
    shutdown();
    give(table(1, 1));
    pass(20000);
    vesta_hbbtv_init(browser().handle());
    void* const anew = vesta_hbbtv_create_window();
    vesta_hbbtv_set_broadcast_window(anew);
    give(table(1, 1));
    EXPECT_NE(static_cast<Window*>(anew)->getAIT(), nullptr);
}

}  // namespace
}  // namespace VestaHbbTV
