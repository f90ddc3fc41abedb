#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

#include "signalling/ait.h"
#include "tests/signalling/parsed_sections.h"
#include "tests/support/captured_log.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(AITParsing, RejectsNullAndOtherTables)
{
    Table table;
    EXPECT_FALSE(table.parse(nullptr));
    EXPECT_FALSE(parse(table, AITSection().tableId(0x75)));
    EXPECT_FALSE(parse(table, AITSection().tableId(0x00)));
    EXPECT_FALSE(table.isComplete());
    EXPECT_TRUE(parse(table, AITSection()));
}

TEST(AITParsing, AcceptsAnyApplicationTypeAndNextSections)
{
    for (const unsigned type : {0x0000U, 0x0001U, 0x0010U, 0x7FFFU, 0x8010U, 0xFFFFU})
        EXPECT_TRUE(Table(AITSection().applicationType(static_cast<uint16_t>(type))).accepted);
    EXPECT_TRUE(Table(AITSection().currentNext(false)).accepted);
}

TEST(AITParsing, TakesItsVersionFromTheFirstSection)
{
    EXPECT_EQ(Table(AITSection().version(31)).getVersion(), 31);
    EXPECT_EQ(Table(AITSection().version(0)).getVersion(), 0);
    EXPECT_EQ(Table(AITSection().version(21).currentNext(false)).getVersion(), 21);
}

TEST(AITParsing, RejectsASectionOfAnotherVersionWithoutRecordingIt)
{
    Table table;
    ASSERT_TRUE(parse(table, AITSection().version(3).number(0, 1)));
    EXPECT_FALSE(parse(table, AITSection().version(4).number(1, 1)));
    EXPECT_FALSE(parse(table, AITSection().version(4).number(0, 1))) << "not a repetition";
    EXPECT_FALSE(table.isComplete());
    EXPECT_EQ(table.getVersion(), 3);
    EXPECT_TRUE(parse(table, AITSection().version(3).number(1, 1).add(AITEntry(10, 1))));
    EXPECT_EQ(table.getNumApplications(), 1U);
    EXPECT_TRUE(table.isComplete());
}

TEST(AITParsing, IsCompleteAfterItsOnlySectionAndTakesNoMore)
{
    Table table;
    const AITSection only = AITSection().add(AITEntry(10, 1));
    ASSERT_TRUE(parse(table, only));
    EXPECT_TRUE(table.isComplete());
    EXPECT_FALSE(parse(table, only));
    EXPECT_FALSE(parse(table, AITSection().number(1, 1).add(AITEntry(10, 2))));
    EXPECT_THAT(ids(table), ElementsAre(1));
}

TEST(AITParsing, AcceptsARepeatedSectionWithoutReadingItWhileOthersAreMissing)
{
    Table table;
    ASSERT_TRUE(parse(table, AITSection().number(1, 2).add(AITEntry(10, 1))));
    EXPECT_TRUE(parse(table, AITSection().number(1, 2).add(AITEntry(10, 2))));
    EXPECT_TRUE(parse(table, AITSection().number(1, 0).commonLength(0x0FFF)));
    EXPECT_THAT(ids(table), ElementsAre(1));
    EXPECT_FALSE(table.isComplete());
}

TEST(AITParsing, CollectsItsSectionsInAnyOrder)
{
    Table table;
    for (const int number : {2, 0, 1}) {
        EXPECT_FALSE(table.isComplete());
        const auto section = static_cast<uint8_t>(number);
        EXPECT_TRUE(
            parse(table, AITSection().number(section, 2).add(AITEntry(10, section).priority(1))));
    }
    EXPECT_TRUE(table.isComplete());
    EXPECT_THAT(ids(table), ElementsAre(2, 0, 1));
}

TEST(AITParsing, CountsItsSectionsAgainstTheLastNumberOfTheMostRecentOne)
{
    Table table;
    EXPECT_TRUE(parse(table, AITSection().number(7, 3)));
    EXPECT_FALSE(table.isComplete());
    EXPECT_TRUE(parse(table, AITSection().number(9, 1)));
    EXPECT_TRUE(table.isComplete());
}

TEST(AITParsing, IsNotCompleteWithMoreSectionsThanTheMostRecentOneSaysThereAre)
{
    Table table;
    EXPECT_TRUE(parse(table, AITSection().number(0, 5)));
    EXPECT_TRUE(parse(table, AITSection().number(1, 0)));
    EXPECT_FALSE(table.isComplete());
    EXPECT_TRUE(parse(table, AITSection().number(2, 2)));
    EXPECT_TRUE(table.isComplete());
}

TEST(AITParsing, TakesAllSectionsThatThereCanBe)
{
    Table table;
    for (unsigned number = 0; number <= 0xFF; ++number) {
        EXPECT_FALSE(table.isComplete());
        EXPECT_TRUE(parse(table, AITSection().number(static_cast<uint8_t>(number), 0xFF)));
    }
    EXPECT_TRUE(table.isComplete());
}

TEST(AITParsing, CountsAFailedSectionAsReceived)
{
    Table table(AITSection().add(AITEntry(10, 1)).add(AITEntry(10, 2).raw({0x80, 0})));
    EXPECT_FALSE(table.accepted);
    EXPECT_TRUE(table.isComplete());
    EXPECT_THAT(ids(table), ElementsAre(1));
    EXPECT_FALSE(parse(table, AITSection().add(AITEntry(10, 3))));
}

TEST(AITParsing, KeepsTheCommonTransportsOfAFailedSection)
{
    Table table(AITSection().common(carouselTransport(5, 1) + Bytes{0x02, 9, 0}));
    EXPECT_FALSE(table.accepted);
    EXPECT_NE(table.getCommonTransport(5), nullptr);
}

TEST(AITParsing, RecordsNothingOfASectionTooShortForItsNumbers)
{
    for (uint16_t length = 0; length < 5; ++length) {
        Table table(AITSection().version(9).sectionLength(length));
        EXPECT_FALSE(table.accepted) << length;
        EXPECT_FALSE(table.isComplete()) << length;
        EXPECT_TRUE(parse(table, AITSection().version(3))) << length;
        EXPECT_EQ(table.getVersion(), 3) << length;
    }
}

TEST(AITParsing, CountsASectionTooShortForItsLoopsAsReceived)
{
    for (uint16_t length = 5; length < 9; ++length) {
        Table table(AITSection().sectionLength(length));
        EXPECT_FALSE(table.accepted) << length;
        EXPECT_TRUE(table.isComplete()) << length;
    }
    EXPECT_TRUE(Table(AITSection().sectionLength(9)).accepted);  // without a CRC
}

TEST(AITParsing, RejectsASectionWhoseInnerLengthsLeaveIt)
{
    const Bytes transport = carouselTransport(1, 2);  // seven bytes
    const AITEntry entry = AITEntry(10, 1).withoutApplicationDescriptor();
    const std::tuple<const char*, AITSection, bool> cases[] = {
        {"an empty application loop is complete", AITSection(), true},
        {"the common loop runs to the section's end", AITSection().commonLength(6), false},
        {"one byte is left for the application loop's length", AITSection().commonLength(5), false},
        {"the common loop runs past the section", AITSection().commonLength(7), false},
        {"the common loop has the maximum length", AITSection().commonLength(0x0FFF), false},
        {"a descriptor fills its loop", AITSection().common(transport), true},
        {"a descriptor runs past its loop", AITSection().common({0x02, 9, 0x00}), false},
        {"a descriptor runs past its loop by one", AITSection().common(transport + Bytes{0x80, 1}),
         false},
        {"a descriptor has no length", AITSection().common(transport + Bytes{0x80}), false},
        {"the common loop cuts a descriptor", AITSection().common(transport).commonLength(6),
         false},
        {"a common descriptor without payload", AITSection().common({0x80, 0}), true},
        {"a second entry would begin in the CRC",
         AITSection().add(Bytes(9, 0)).applicationLoopLength(10), false},
        {"the application loop runs to the section's end",
         AITSection().add(entry).applicationLoopLength(13), false},
        {"the application loop runs past the section",
         AITSection().add(entry).applicationLoopLength(14), false},
        {"the application loop has the maximum length",
         AITSection().add(entry).applicationLoopLength(0x0FFF), false},
        {"an entry's header does not fit into the section",
         AITSection().add(Bytes(4, 0)).applicationLoopLength(4), false},
        {"an entry's header leaves its loop but not the section",
         AITSection().add(Bytes(9, 0)).applicationLoopLength(1), true},
        {"a second entry's header does not fit", AITSection().add(entry).add(Bytes(4, 0)), false},
        {"an entry's descriptors leave the section",
         AITSection().add(AITEntry(entry).loopLength(5)), false},
        {"an entry's descriptors have the maximum length",
         AITSection().add(AITEntry(entry).loopLength(0x0FFF)), false},
    };
    for (const auto& [why, section, accepted] : cases)
        EXPECT_EQ(Table(section).accepted, accepted) << why;
}

TEST(AITParsing, ReadsNothingBehindASectionCutAnywhere)
{
    const AITSection whole = AITSection()
                                 .common(carouselTransport(1, 2) + httpTransport(2, "http://c/"))
                                 .add(AITEntry(10, 1)
                                          .name("first")
                                          .http(3, "http://a.example/")
                                          .boundary({"http://a.example", "dvb://1.2.3"})
                                          .recording(0xFF, {"main"}, {1, 2}, {0})
                                          .usage(1)
                                          .location("i.html"))
                                 .add(AITEntry(10, 2).remoteCarousel(4, 1, 2, 3, 4));
    const size_t size = whole.bytes().size();
    ASSERT_TRUE(Table(whole).accepted);
    const size_t crc = 4;
    for (size_t cut = 3; cut < size; ++cut) {
        const auto length = static_cast<uint16_t>(cut - 3);
        EXPECT_EQ(Table(AITSection(whole).sectionLength(length)).accepted, cut >= size - crc)
            << cut;
    }
}

TEST(AITParsing, AcceptsAnEntryThatLeavesItsLoopButNotTheSection)
{
    Table table(AITSection()
                    .add(AITEntry(10, 1).name("whole"))
                    .add(AITEntry(10, 2))
                    .applicationLoopLength(1));
    EXPECT_TRUE(table.accepted);
    EXPECT_THAT(ids(table), ElementsAre(1));
    EXPECT_EQ(table.getAITApplication(0U)->getApplicationName(), "whole");
}

TEST(AITParsing, BoundsANameByItsLoopAlthoughTheSectionGoesOn)
{
    // The name would end in the CRC, or in the entry behind.
    const AITEntry entry = plainEntry().raw({0x01, 6, 'e', 'n', 'g', 3, 'a', 'b'});
    const Table last(AITSection().add(entry));
    EXPECT_FALSE(last.accepted);
    EXPECT_THAT(ids(last), IsEmpty());
    const Table followed(AITSection().add(entry).add(AITEntry(10, 2)));
    EXPECT_FALSE(followed.accepted);
    EXPECT_THAT(ids(followed), IsEmpty());
}

TEST(AITParsing, BoundsABoundaryDescriptorByTheSection)
{
    // The extension ends on the byte behind its descriptor: here, on the last but three of the CRC.
    const AITSection section = AITSection().add(
        AITEntry(10, 1).withoutApplicationDescriptor().raw({0x17, 4, 1, 3, 'a', 'b'}));
    Table table(section);
    ASSERT_TRUE(table.accepted);
    const Bytes bytes = section.bytes();
    const std::string extension = {'a', 'b', static_cast<char>(bytes[bytes.size() - 4])};
    EXPECT_THAT(table.getAITApplication(0U)->getApplicationDomain()->getEntries(),
                ElementsAre(extension));

    Table withoutCRC(
        AITSection(section).sectionLength(static_cast<uint16_t>(bytes.size() - 3 - 4)));
    ASSERT_TRUE(withoutCRC.accepted);
    EXPECT_THAT(withoutCRC.getAITApplication(0U)->getApplicationDomain()->getEntries(), IsEmpty());
}

TEST(AITParsing, FailsWithADescriptorWithoutPayloadInAnApplication)
{
    Table table(AITSection()
                    .add(AITEntry(10, 1))
                    .add(AITEntry(10, 2).raw({0x80, 0}).name("lost"))
                    .add(AITEntry(10, 3)));
    EXPECT_FALSE(table.accepted);
    EXPECT_THAT(ids(table), ElementsAre(1));
}

TEST(AITParsing, KeepsOnlyTransportsOfTheCommonLoop)
{
    Table table(AITSection().common(nameDescriptor("n") + applicationDescriptor({}) +
                                    httpTransport(9, "http://c/") + Bytes{0x03, 1, 9, 0xFF, 0}));
    EXPECT_TRUE(table.accepted);
    ASSERT_NE(table.getCommonTransport(9), nullptr);
    EXPECT_EQ(table.getCommonTransport(9)->getURLBase(), "http://c/");
    EXPECT_EQ(table.getCommonTransport(8), nullptr);
}

TEST(AITParsing, KeepsTheFirstCommonTransportOfALabel)
{
    Table table(AITSection().common(httpTransport(5, "http://first/") + carouselTransport(4, 1) +
                                    httpTransport(5, "http://second/")));
    ASSERT_TRUE(table.accepted);
    EXPECT_EQ(table.getCommonTransport(5)->getURLBase(), "http://first/");
    EXPECT_NE(table.getCommonTransport(4), nullptr);
}

TEST(AITParsing, GivesItsServiceToEveryCommonTransportThatIsNotRemote)
{
    Table table(AITSection().common(carouselTransport(1, 0x10) + httpTransport(2, "http://c/") +
                                    otherTransport(3, 2) +
                                    remoteCarouselTransport(4, 8, 9, 10, 11)));
    ASSERT_TRUE(table.accepted);
    EXPECT_EQ(table.getCommonTransport(1)->getURL(""), "dvb://22.7.1.10/");
    for (const uint8_t label : {uint8_t(1), uint8_t(2), uint8_t(3)}) {
        const AITApplicationTransport& transport = *table.getCommonTransport(label);
        EXPECT_EQ(transport.getOriginalNetworkId(), 0x22) << int{label};
        EXPECT_EQ(transport.getTransportStreamId(), 0x7) << int{label};
        EXPECT_EQ(transport.getServiceId(), 0x1) << int{label};
    }
    EXPECT_EQ(table.getCommonTransport(4)->getURL(""), "dvb://8.9.a.b/");
}

TEST(AITParsing, ReadsACommonTransportWithoutPayloadAsAnEmptyOneOfLabelZero)
{
    Table table(AITSection().common({0x02, 0}).add(AITEntry(10, 1).labels({0})));
    ASSERT_TRUE(table.accepted);
    ASSERT_EQ(table.getAITApplication(0U)->getNumTransports(), 1U);
    EXPECT_EQ(table.getAITApplication(0U)->getTransports()[0]->getProtocol(), 0);
}

TEST(AITParsing, SharesTheCommonTransportsOfEarlierSections)
{
    Table table;
    ASSERT_TRUE(parse(table, AITSection().number(0, 2).add(AITEntry(10, 1).labels({1}))));
    ASSERT_TRUE(parse(table, AITSection().number(1, 2).common(carouselTransport(1, 2))));
    ASSERT_TRUE(parse(table, AITSection().number(2, 2).add(AITEntry(10, 3).labels({1}))));
    EXPECT_EQ(table.getAITApplication(10UL, 1)->getNumTransports(), 0U);
    EXPECT_EQ(table.getAITApplication(10UL, 3)->getTransports()[0].get(),
              table.getCommonTransport(1));
}

TEST(AITParsing, ReleasesItsCommonTransportsButApplicationsKeepTheirs)
{
    Table table(AITSection().common(carouselTransport(1, 2)).add(AITEntry(10, 1).labels({1})));
    table.clearCommonTransports();
    EXPECT_EQ(table.getCommonTransport(1), nullptr);
    ASSERT_EQ(table.getAITApplication(0U)->getNumTransports(), 1U);
    EXPECT_EQ(table.getAITApplication(0U)->getTransports()[0]->getURL("x"), "dvb://22.7.1.2/x");
}

TEST(AITParsing, ReadsACommonLoopAlone)
{
    Table table;
    const auto read = [&table](const Bytes& loop) {
        return table.parseCommonDescriptorsLoop(exactBlock(loop).get(),
                                                static_cast<unsigned short>(loop.size()));
    };
    EXPECT_TRUE(read({}));
    EXPECT_TRUE(read(carouselTransport(1, 2)));
    EXPECT_FALSE(read({0x80}));
    EXPECT_FALSE(read({0x80, 1}));
    EXPECT_TRUE(table.parseCommonDescriptorsLoop(nullptr, 0));
    EXPECT_NE(table.getCommonTransport(1), nullptr);
}

TEST(AITParsing, LogsNothingAboutAFaultySection)
{
    const CapturedLog log;
    EXPECT_FALSE(Table(AITSection().commonLength(0x0FFF)).accepted);
    EXPECT_FALSE(Table(AITSection().add(AITEntry(10, 2).raw({0x80, 0}))).accepted);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(AITParsing, ADescriptorOfAnotherKindIsNoCommonTransport)
{
    Bytes other = httpTransport(7, "http://a/");
    other[0] = 0x80;
    Table table(AITSection().common(other + httpTransport(8, "http://b/")));
    EXPECT_EQ(table.getCommonTransport(7), nullptr);
    EXPECT_NE(table.getCommonTransport(8), nullptr);
}

TEST(AITParsing, NoBytesAreAnEmptyCommonLoopWhateverTheirLength)
{
    AIT table(1, 2, 3, nullptr);
    EXPECT_TRUE(table.parseCommonDescriptorsLoop(nullptr, 7));
}
