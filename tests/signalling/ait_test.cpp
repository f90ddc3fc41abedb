#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "signalling/ait.h"
#include "tests/signalling/parsed_sections.h"
#include "tests/support/captured_log.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto AUTOSTART = AITApplication::AUTOSTART;
constexpr auto PRESENT = AITApplication::PRESENT;

/// A section of applications 1, 2, ... with these priorities.
AITSection priorities(const std::vector<uint8_t>& values)
{
    AITSection section;
    uint16_t id = 0;
    for (const uint8_t priority : values)
        section.add(AITEntry(10, ++id).priority(priority));
    return section;
}

}  // namespace

TEST(AIT, OfAServiceIsEmptyWhenNew)
{
    int channel = 0;
    const AIT table(1, 2, 3, &channel);
    EXPECT_EQ(table.getOriginalNetworkId(), 1);
    EXPECT_EQ(table.getTransportStreamId(), 2);
    EXPECT_EQ(table.getServiceId(), 3);
    EXPECT_EQ(table.getChannelHandle(), &channel);
    EXPECT_FALSE(table.isXMLBased());
    EXPECT_FALSE(table.isComplete());
    EXPECT_FALSE(table.isStale());
    EXPECT_EQ(table.getNumApplications(), 0U);
    EXPECT_EQ(table.getAITApplication(0U), nullptr);
    EXPECT_FALSE(table.isCounted());
}

TEST(AIT, OfNoSectionsIsXMLBasedAndComplete)
{
    AIT table;
    EXPECT_EQ(table.getOriginalNetworkId(), 0);
    EXPECT_EQ(table.getTransportStreamId(), 0);
    EXPECT_EQ(table.getServiceId(), 0);
    EXPECT_EQ(table.getChannelHandle(), nullptr);
    EXPECT_TRUE(table.isXMLBased());
    EXPECT_TRUE(table.isComplete());
    EXPECT_FALSE(table.isStale());
}

TEST(AIT, OfNoSectionsTakesAFirstSectionAllTheSame)
{
    AIT table;
    EXPECT_TRUE(parse(table, AITSection().number(0, 1).add(AITEntry(10, 1))));
    EXPECT_EQ(table.getNumApplications(), 1U);
    EXPECT_FALSE(parse(table, AITSection().number(1, 1).add(AITEntry(10, 2))));
}

TEST(AIT, BecomesStaleWhenItsWindowSaysSo)
{
    AIT table;
    table.setStale();
    EXPECT_TRUE(table.isStale());
    table.setStale(false);
    EXPECT_FALSE(table.isStale());
}

TEST(AIT, ListsByPriorityAndEqualOnesAsSignalled)
{
    EXPECT_THAT(ids(Table(priorities({1, 5, 5, 3}))), ElementsAre(2, 3, 4, 1));
    EXPECT_THAT(ids(Table(priorities({0, 255, 0, 255, 128}))), ElementsAre(2, 4, 5, 1, 3));
    EXPECT_THAT(ids(Table(priorities({7, 7, 7}))), ElementsAre(1, 2, 3));
}

TEST(AIT, ListsByPriorityAcrossSections)
{
    Table table;
    ASSERT_TRUE(parse(table, AITSection()
                                 .number(0, 1)
                                 .add(AITEntry(10, 1).priority(3))
                                 .add(AITEntry(10, 2).priority(1))));
    ASSERT_TRUE(parse(table, AITSection()
                                 .number(1, 1)
                                 .add(AITEntry(10, 3).priority(3))
                                 .add(AITEntry(10, 4).priority(2))));
    EXPECT_THAT(ids(table), ElementsAre(1, 3, 4, 2));
}

TEST(AIT, ListsWhatARejectedSectionLeavesByPriority)
{
    Table table;
    ASSERT_TRUE(parse(table, AITSection()
                                 .number(0, 1)
                                 .add(AITEntry(10, 1).priority(3))
                                 .add(AITEntry(10, 2).priority(1))));
    ASSERT_FALSE(parse(table, AITSection()
                                  .number(1, 1)
                                  .add(AITEntry(10, 3).priority(2))
                                  .add(AITEntry(10, 4).priority(5))
                                  .add(AITEntry(10, 5).raw(descriptor(0x50, {})))));
    EXPECT_THAT(ids(table), ElementsAre(4, 1, 3, 2));
}

TEST(AIT, ListsManyApplicationsOfManySectionsByPriority)
{
    constexpr unsigned lastSection = 0xFF;
    constexpr unsigned entriesOfASection = 8;
    Table table;
    std::vector<std::pair<int, int>> expected;  // the priority below 0, the order of signalling
    for (unsigned number = 0; number <= lastSection; ++number) {
        AITSection section;
        section.number(static_cast<uint8_t>(number), lastSection);
        for (unsigned entry = 0; entry < entriesOfASection; ++entry) {
            const unsigned id = number * entriesOfASection + entry;
            const auto priority = static_cast<uint8_t>(id * 37 % 11);
            section.add(AITEntry(10, static_cast<uint16_t>(id)).priority(priority));
            expected.emplace_back(-int{priority}, id);
        }
        ASSERT_TRUE(parse(table, section));
    }
    std::sort(expected.begin(), expected.end());
    std::vector<int> expectedIds;
    for (const auto& application : expected)
        expectedIds.push_back(application.second);
    EXPECT_EQ(ids(table), expectedIds);
}

TEST(AIT, ListsAnApplicationWithoutApplicationDescriptorLast)
{
    EXPECT_THAT(ids(Table(AITSection()
                              .add(AITEntry(10, 1).withoutApplicationDescriptor())
                              .add(AITEntry(10, 2).priority(1))
                              .add(AITEntry(10, 3).priority(0)))),
                ElementsAre(2, 1, 3));
}

TEST(AIT, ListsAnApplicationTwiceIfItIsSignalledTwice)
{
    Table table(AITSection().add(AITEntry(10, 1).name("a")).add(AITEntry(10, 1).name("b")));
    ASSERT_EQ(table.getNumApplications(), 2U);
    EXPECT_EQ(table.getAITApplication(10UL, 1)->getApplicationName(), "a");
}

TEST(AIT, GivesApplicationsByIndexUpToTheirNumber)
{
    Table table(priorities({2, 1}));
    EXPECT_EQ(table.getAITApplication(0U)->getApplicationId(), 1);
    EXPECT_EQ(table.getAITApplication(1U)->getApplicationId(), 2);
    EXPECT_EQ(table.getAITApplication(2U), nullptr);
    EXPECT_EQ(table.getAITApplication(0xFFFFFFFFU), nullptr);
}

TEST(AIT, GivesApplicationsByBothIds)
{
    Table table(
        AITSection().add(AITEntry(0xFFFFFFFF, 1)).add(AITEntry(10, 0xFFFF)).add(AITEntry(10, 1)));
    EXPECT_EQ(table.getAITApplication(0xFFFFFFFFUL, 1), table.getAITApplication(0U));
    EXPECT_EQ(table.getAITApplication(10UL, 0xFFFF), table.getAITApplication(1U));
    EXPECT_EQ(table.getAITApplication(10UL, 1), table.getAITApplication(2U));
    EXPECT_EQ(table.getAITApplication(10UL, 2), nullptr);
    EXPECT_EQ(table.getAITApplication(11UL, 1), nullptr);
}

namespace {

/// Applications 1 to 5: autostart over HTTP, present over HTTP, autostart in a carousel, autostart
/// without transport, autostart over HTTP.
AITSection signalledSection()
{
    return AITSection()
        .add(AITEntry(10, 1, AUTOSTART).http(1, "http://a/"))
        .add(AITEntry(10, 2, PRESENT).http(1, "http://b/"))
        .add(AITEntry(10, 3, AUTOSTART).carousel(1, 2))
        .add(AITEntry(10, 4, AUTOSTART))
        .add(AITEntry(10, 5, AUTOSTART).http(1, "http://c/"));
}

}  // namespace

TEST(AIT, GivesApplicationsByControlCodeIfTheyCanBeReached)
{
    const Table table(signalledSection());
    const auto next = [&table](unsigned int after, bool http) {
        const AITApplication* const found =
            table.getNextAITApplication(table.getAITApplication(after), AUTOSTART, http);
        return found ? found->getApplicationId() : 0;
    };
    EXPECT_EQ(table.getAITApplication(AUTOSTART, true)->getApplicationId(), 1);
    EXPECT_EQ(next(0, true), 3);
    EXPECT_EQ(next(1, true), 3);
    EXPECT_EQ(next(2, true), 5);
    EXPECT_EQ(next(3, true), 5);
    EXPECT_EQ(next(4, true), 0);

    EXPECT_EQ(table.getAITApplication(AUTOSTART, false)->getApplicationId(), 3);
    EXPECT_EQ(next(0, false), 3);
    EXPECT_EQ(next(2, false), 0);

    EXPECT_EQ(table.getAITApplication(PRESENT, true)->getApplicationId(), 2);
    EXPECT_EQ(table.getAITApplication(PRESENT, false), nullptr);
    EXPECT_EQ(table.getAITApplication(AITApplication::KILL, true), nullptr);
}

TEST(AIT, HasNoNextApplicationAfterOneThatIsNotItsOwn)
{
    const Table table(signalledSection());
    const Table other(signalledSection());
    EXPECT_EQ(table.getNextAITApplication(other.getAITApplication(0U), AUTOSTART, true), nullptr);
    EXPECT_EQ(table.getNextAITApplication(nullptr, AUTOSTART, true), nullptr);
    EXPECT_TRUE(table.isHandledAITApplication(table.getAITApplication(4U)));
    EXPECT_FALSE(table.isHandledAITApplication(other.getAITApplication(0U)));
    EXPECT_FALSE(table.isHandledAITApplication(nullptr));
}

TEST(AIT, GivesTheNextApplicationAlsoWhenOthersWereInsertedMeanwhile)
{
    AIT table;
    const auto insert = [&table](int priority) {
        auto* const application = new AITApplication(&table);
        AITApplication::ApplicationDescriptor descriptor;
        descriptor.setApplicationPriority(static_cast<uint8_t>(priority));
        application->setApplicationDescriptor(descriptor);
        application->setControlCode(AUTOSTART);
        application->addTransport(ref_ptr<AITApplicationTransport>(new AITApplicationTransport));
        table.insertAITApplication(application);
        return application;
    };
    const AITApplication* const fifth = insert(5);
    const AITApplication* const third = insert(3);
    EXPECT_EQ(table.getAITApplication(AUTOSTART, true), fifth);
    const AITApplication* const ninth = insert(9);
    EXPECT_EQ(table.getNextAITApplication(fifth, AUTOSTART, true), third);
    const AITApplication* const fourth = insert(4);
    EXPECT_EQ(table.getNextAITApplication(fifth, AUTOSTART, true), fourth);
    EXPECT_EQ(table.getNextAITApplication(fourth, AUTOSTART, true), third);
    EXPECT_EQ(table.getNextAITApplication(third, AUTOSTART, true), nullptr);
    EXPECT_EQ(table.getNextAITApplication(ninth, AUTOSTART, true), fifth);
    EXPECT_TRUE(table.isHandledAITApplication(ninth));
}

TEST(AIT, GivesTheFirstApplicationOfAUsageType)
{
    const Table table(AITSection()
                          .add(AITEntry(10, 1))
                          .add(AITEntry(10, 2).usage(2))
                          .add(AITEntry(10, 3).usage(1))
                          .add(AITEntry(10, 4).usage(1).priority(9)));
    const auto usageType = [](int type) {
        return static_cast<AITApplication::ApplicationUsageType>(type);
    };
    EXPECT_EQ(table.getFirstDigitalTeletextAITApplication()->getApplicationId(), 4);
    EXPECT_EQ(table.getFirstAITApplicationOfUsageType(usageType(2))->getApplicationId(), 2);
    EXPECT_EQ(table.getFirstAITApplicationOfUsageType(usageType(0))->getApplicationId(), 1);
    EXPECT_EQ(table.getFirstAITApplicationOfUsageType(usageType(3)), nullptr);
    EXPECT_EQ(Table().getFirstDigitalTeletextAITApplication(), nullptr);
}

TEST(AIT, HandsItsChannelHandleToEveryApplication)
{
    int channel = 0;
    AIT table(1, 2, 3, &channel);
    ASSERT_TRUE(parse(table, AITSection().add(AITEntry(10, 1))));
    EXPECT_EQ(table.getAITApplication(0U)->getChannelHandle(), &channel);
    EXPECT_EQ(table.getAITApplication(0U)->getAIT(), &table);
    table.getAITApplication(0U)->setChannelHandle(nullptr);
    EXPECT_EQ(table.getAITApplication(0U)->getChannelHandle(), nullptr);
}

TEST(AIT, OwnsEachInsertedApplicationOnce)
{
    AIT table;
    AITApplication* const application = new AITApplication(&table);
    table.insertAITApplication(application);
    table.insertAITApplication(application);
    table.insertAITApplication(nullptr);
    EXPECT_EQ(table.getNumApplications(), 1U);
    EXPECT_TRUE(table.isHandledAITApplication(application));
}

TEST(AIT, AdoptsAnApplicationThatWasMadeForAnotherTable)
{
    AIT xml;
    AITApplication* application = nullptr;
    {
        AIT other(1, 2, 3, nullptr);
        application = new AITApplication(&other);
        xml.insertAITApplication(application);
    }
    EXPECT_EQ(application->getAIT(), &xml);
    EXPECT_TRUE(application->isXMLAITbased());

    AITApplication* const withoutTable = new AITApplication(nullptr);
    xml.insertAITApplication(withoutTable);
    EXPECT_EQ(withoutTable->getAIT(), nullptr);
}

TEST(AIT, TakesCommonTransportsByHand)
{
    AIT table;
    ref_ptr<AITApplicationTransport> first(new AITApplicationTransport);
    ref_ptr<AITApplicationTransport> second(new AITApplicationTransport);
    table.insertCommonTransport(ref_ptr<AITApplicationTransport>());
    table.insertCommonTransport(first);
    table.insertCommonTransport(second);
    EXPECT_EQ(table.getCommonTransport(0), first.get());
}

TEST(AIT, LivesAsLongAsItsLastReference)
{
    ref_ptr<AIT> first(new Table(AITSection().add(AITEntry(10, 1))));
    ref_ptr<AIT> second(first);
    first.reset();
    EXPECT_EQ(second->getNumApplications(), 1U);
    second.reset(second.get());
    EXPECT_EQ(second->getNumApplications(), 1U);
}

TEST(AIT, ListsItselfInTheLog)
{
    const Table table(AITSection().add(AITEntry(10, 1).name("one")).add(AITEntry(10, 2)));
    const CapturedLog log;
    table.printAIT();
    const auto& lines = log.leveledLines();
    const size_t listing = 11;
    ASSERT_EQ(lines.size(), 2 + 2 * (1 + listing));
    EXPECT_EQ(lines[0], "DEBUG AIT: --- Outputing AIT ---");
    EXPECT_EQ(lines[1], "DEBUG AIT: --- [0] ");
    EXPECT_EQ(lines[3], "DEBUG AITApplication: AITApplication.application_name                 "
                        "           = one");
    EXPECT_EQ(lines[2 + listing], "DEBUG AIT: --- [1] ");
    EXPECT_EQ(lines.back(), "DEBUG AIT: --- Done ---");
}

TEST(AIT, NumbersItsApplicationsInDecimalInTheLog)
{
    const Table table(priorities({9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9}));
    const CapturedLog log;
    table.printAIT();
    for (int index = 0; index < 11; ++index)
        EXPECT_EQ(log.count("DEBUG AIT: --- [" + std::to_string(index) + "] "), 1) << index;
}

TEST(AIT, WithoutApplicationsListsItsFrameOnly)
{
    const Table table;
    const CapturedLog log;
    table.printAIT();
    EXPECT_THAT(log.leveledLines(),
                ElementsAre("DEBUG AIT: --- Outputing AIT ---", "DEBUG AIT: --- Done ---"));
}
