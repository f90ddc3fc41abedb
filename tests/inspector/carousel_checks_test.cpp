// Carousels of which something never comes, and those that only began late or change.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/inspector/support/signal.h"

namespace inspector::test {
namespace {

using namespace receiver;
using testing::ElementsAre;

constexpr unsigned carouselPeriodMs = 1'000;

Emission emissionOf(const std::vector<Bytes>& sections, unsigned fromMs = 0,
                    unsigned untilMs = 1'000'000)
{
    return {carouselPid, sections, carouselPeriodMs, fromMs, untilMs};
}

/// DSI and DII, and blocks of module 1.
std::vector<Bytes> carouselOf(unsigned announcedVersion, const std::vector<Bytes>& blocks)
{
    std::vector<Bytes> all = Signal()["carousel"].sections;
    all = {all.front(),
           makeDii(0x80000002, {{1, uint32_t(rightModule().size()), announcedVersion}})};
    all.insert(all.end(), blocks.begin(), blocks.end());
    return all;
}

std::vector<Bytes> blocksOf(unsigned version)
{
    return makeDdbs(1, version, rightModule());
}

/// The findings about the carousel, as "id: detail".
std::vector<std::string> findingsOf(const Signal& signal)
{
    std::vector<std::string> found;
    const Findings findings = check(*surveyOf(signal.bytes()));
    for (const Finding& finding : findings.all()) {
        const std::string id = finding.kind->id;
        if (id.rfind("carousel-", 0) == 0)
            found.push_back(id + ": " + finding.detail);
    }
    return found;
}

Signal withCarousels(const Emission& first, const Emission& later = {carouselPid, {}})
{
    Signal signal;
    signal["carousel"] = first;
    signal["carousel, later"] = later;
    return signal;
}

const std::string newerBlocks =
    "carousel-block-version: module 1 version 5 is announced, blocks of version 6 come";

TEST(CarouselChecks, FindBlocksOfAnotherVersionAfterTheModuleWasComplete)
{
    EXPECT_THAT(findingsOf(withCarousels(emissionOf(carouselOf(5, blocksOf(5)), 0, 7'000),
                                         emissionOf(carouselOf(5, blocksOf(6)), 7'000))),
                ElementsAre(newerBlocks));
}

TEST(CarouselChecks, FindBlocksOfAnotherVersionBesideIncompleteOnes)
{
    std::vector<Bytes> both = blocksOf(6);
    const std::vector<Bytes> own = blocksOf(5);
    both.insert(both.end(), own.begin(), own.end() - 1);
    EXPECT_THAT(
        findingsOf(withCarousels(emissionOf(carouselOf(5, both)))),
        ElementsAre("carousel-block-missing: module 1 version 5: 1 of 2 blocks", newerBlocks));
}

/// The blocks of a version may come before its list, and go on after that of the next one.
TEST(CarouselChecks, AcceptModulesThatChange)
{
    EXPECT_THAT(findingsOf(withCarousels(emissionOf(carouselOf(5, blocksOf(5)), 0, 7'000),
                                         emissionOf(carouselOf(6, blocksOf(6)), 7'000))),
                ElementsAre());
    EXPECT_THAT(findingsOf(withCarousels(emissionOf(carouselOf(5, blocksOf(5)), 0, 8'000),
                                         emissionOf(carouselOf(6, blocksOf(6)), 7'000))),
                ElementsAre());
}

TEST(CarouselChecks, SayThatAModuleIsIncompleteUntilItsBlocksHaveComeRound)
{
    const std::vector<Bytes> all = blocksOf(0);
    Signal signal = withCarousels(emissionOf(carouselOf(0, {all.begin() + 1, all.end()})));
    signal.durationMs = 2'500;
    EXPECT_THAT(findingsOf(signal),
                ElementsAre("carousel-module-incomplete: module 1 version 0: 1 of 2 blocks"));
    signal.durationMs = 4'500;
    EXPECT_THAT(findingsOf(signal),
                ElementsAre("carousel-block-missing: module 1 version 0: 1 of 2 blocks"));
}

/// Nothing of it: what came of the other modules tells how often the carousel went round.
TEST(CarouselChecks, FindAModuleOfWhichNothingComes)
{
    const auto withTwo = [](unsigned fromMs) {
        std::vector<Bytes> two = carouselOf(0, blocksOf(0));
        two[1] = makeDii(0x80000002, {{1, uint32_t(rightModule().size())}, {2, 150}});
        return withCarousels(emissionOf(carouselOf(0, blocksOf(0)), 0, fromMs),
                             emissionOf(two, fromMs));
    };
    EXPECT_THAT(findingsOf(withTwo(0)),
                ElementsAre("carousel-block-missing: module 2 version 0: 0 of 2 blocks"));
    EXPECT_THAT(findingsOf(withTwo(13'000)),
                ElementsAre("carousel-module-incomplete: module 2 version 0: 0 of 2 blocks"))
        << "its list is new";
}

TEST(CarouselChecks, FindACarouselThatIsAnnouncedAndNotThere)
{
    Signal signal = withCarousels(emissionOf(carouselOf(0, {})));
    EXPECT_THAT(findingsOf(signal),
                ElementsAre("carousel-block-missing: module 1 version 0: 0 of 2 blocks"));
    signal.durationMs = 5'000;
    EXPECT_THAT(findingsOf(signal),
                ElementsAre("carousel-module-incomplete: module 1 version 0: 0 of 2 blocks"));
}

TEST(CarouselChecks, FindBlocksOfAnotherDownload)
{
    const auto blocks = makeDdbs(1, 0, rightModule(), 100, 43);
    EXPECT_THAT(findingsOf(withCarousels(emissionOf(carouselOf(0, blocks)))),
                ElementsAre("carousel-block-missing: module 1 version 0: 0 of 2 blocks, blocks of "
                            "download 0x0000002b come where the DII announces 0x0000002a",
                            "carousel-block-unannounced: module 1: 30 blocks"));
}

TEST(CarouselChecks, FindACarouselWithoutLists)
{
    std::vector<Bytes> sections = carouselOf(0, blocksOf(0));
    sections.erase(sections.begin() + 1);
    Signal signal = withCarousels(emissionOf(sections));
    EXPECT_THAT(findingsOf(signal), ElementsAre("carousel-no-list: no DII announces a module",
                                                "carousel-block-unannounced: module 1: 30 blocks"));
    signal.durationMs = 5'000;  // one may come yet
    EXPECT_THAT(findingsOf(signal), ElementsAre("carousel-block-unannounced: module 1: 10 blocks"));
}

TEST(CarouselChecks, SayOnWhichPid)
{
    const Findings findings =
        check(*surveyOf(withCarousels(emissionOf(carouselOf(0, {}))).bytes()));
    ASSERT_FALSE(findings.all().empty());
    for (const Finding& finding : findings.all()) {
        if (std::string(finding.kind->id) != "carousel-block-missing")
            continue;
        EXPECT_EQ(finding.place.pid, carouselPid);
        EXPECT_EQ(finding.place.service, serviceId);
        EXPECT_EQ(finding.place.table, "carousel 0x2a");
    }
}

/// Lists that are another each time: what is kept of them is bounded.
TEST(CarouselChecks, TallyManyListsAndModules)
{
    CarouselSurvey survey(CarouselLimits{});
    Service service;
    service.programNumber = serviceId;
    StreamDescription stream;
    stream.streamType = 0x0B;
    stream.pid = carouselPid;
    stream.componentTag = 0x2A;
    survey.join(service, {stream});
    for (uint32_t transaction = 0; transaction < 2'000; ++transaction)
        survey.feed(carouselPid,
                    makeDii(2 * transaction, {{transaction % 0x10000, 100}}, 100, transaction));
    EXPECT_EQ(survey.lists(), 2'000U);
    EXPECT_EQ(survey.tallies().size(), 2'000U);
    for (uint32_t download = 0; download < 10'000; ++download)
        survey.feed(carouselPid, makeDdb(1, 0, 0, Bytes(1, 1), 0x10000 + download));
    EXPECT_EQ(survey.tallies().size(), CarouselSurvey::mostTallies);
}

}  // namespace
}  // namespace inspector::test
