#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "receiver/service/event_information.h"
#include "tests/receiver/support/information_builder.h"

namespace receiver {
namespace {

using News = EventInformation::News;

/// "1 2 3": the events' ids.
std::string idsOf(const std::vector<Programme>& events)
{
    std::string text;
    for (const Programme& event : events)
        text += (text.empty() ? "" : " ") + std::to_string(event.eventId);
    return text;
}

EventFields event(unsigned id, const Bytes& descriptors = {})
{
    EventFields fields;
    fields.id = id;
    fields.descriptors = descriptors;
    return fields;
}

/// An event of a schedule. @param hour of its day
EventFields eventAt(unsigned id, unsigned hour)
{
    EventFields fields = event(id);
    fields.start[2] = static_cast<unsigned char>(hour);  // as long as the digits are decimal
    return fields;
}

Bytes schedule(unsigned number, const std::vector<EventFields>& events, unsigned last = 16,
               unsigned segmentLast = 0, unsigned table = 0x50, unsigned lastTable = 0x50,
               unsigned version = 0)
{
    EitFields fields;
    fields.tableId = table;
    fields.version = version;
    fields.sectionNumber = number;
    fields.lastSectionNumber = last;
    fields.segmentLastSection = segmentLast ? segmentLast : number;
    fields.lastTable = lastTable;
    return makeEit(fields, events);
}

TEST(EventInformation, AnEventHasNameTextsTimesAndItsDescriptors)
{
    const Bytes descriptors = makeShortEvent("Title", "What it is") +
                              makeShortEvent("Titre", "", "fra") + makeExtendedEvent(1, "and on.") +
                              makeExtendedEvent(0, "It goes on ") +
                              makeExtendedEvent(0, "another language", "fra");
    const std::vector<Programme> events =
        readEvents(makePresentFollowing(1, 0, event(0x1234, descriptors)));
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].eventId, 0x1234);
    EXPECT_EQ(events[0].name, "Title");
    EXPECT_EQ(events[0].description, "What it is");
    EXPECT_EQ(events[0].longDescription, "It goes on and on.");
    EXPECT_EQ(events[0].startTime, defaultStart);
    EXPECT_EQ(events[0].duration, 6330u);
    EXPECT_EQ(events[0].descriptors, descriptors);
}

TEST(EventInformation, NamesAreDecodedByTheirCharacterTables)
{
    const std::pair<std::string, const char*> cases[] = {
        {std::string("\x05") + "\xFD", "\xC4\xB1"},             // ISO 8859-9, dotless i
        {std::string("\x10\x00\x02", 3) + "\xE8", "\xC4\x8D"},  // ISO 8859-2, c with caron
        {std::string("\x15") + "\xC3\xA4", "\xC3\xA4"},         // UTF-8
        {"\xC8" + std::string("a"), "\xC3\xA4"},                // the default table
    };
    for (const auto& [name, expected] : cases)
        EXPECT_EQ(readEvents(makePresentFollowing(1, 0, event(1, makeShortEvent(name))))[0].name,
                  expected);
}

TEST(EventInformation, TimesThatAreNoneAreZero)
{
    const std::pair<Bytes, const char*> cases[] = {
        {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, "undefined"},
        {{0xC0, 0x79, 0x1A, 0x00, 0x00}, "no decimal digit"},
        {{0xC0, 0x79, 0x12, 0x60, 0x00}, "sixty minutes"},
        {{0x00, 0x01, 0x12, 0x00, 0x00}, "before 1970"},
    };
    for (const auto& [start, why] : cases) {
        EventFields fields = event(1);
        fields.start = start;
        fields.duration = {0xFF, 0xFF, 0xFF};
        const std::vector<Programme> events = readEvents(makePresentFollowing(1, 0, fields));
        ASSERT_EQ(events.size(), 1u) << why;
        EXPECT_EQ(events[0].startTime, 0) << why;
        EXPECT_EQ(events[0].duration, 0u) << why;
    }
}

TEST(EventInformation, CutShortAtEveryLengthItKeepsWhatIsWhole)
{
    const Bytes section = makeEit({}, {event(1, makeShortEvent("a", "b")), event(2)});
    for (size_t size = 0; size < section.size(); ++size)
        EXPECT_LE(readEvents(Bytes(section.begin(), section.begin() + std::ptrdiff_t(size))).size(),
                  1u);
    EXPECT_EQ(idsOf(readEvents(section)), "1 2");
}

TEST(EventInformation, DescriptorsThatDoNotFitLeaveTheNameEmpty)
{
    const Bytes cases[] = {
        makeDescriptor(0x4D, {'d', 'e', 'u', 9, 'a'}),
        makeDescriptor(0x4D, {'d', 'e', 'u', 1, 'a', 1}),
        makeDescriptor(0x4D, {}),
        {0x4D, 50, 'd'},
        {0x4D},
        makeDescriptor(0x4E, {0x00, 'd', 'e', 'u', 9, 'a'}),
        makeDescriptor(0x4E, {0x00, 'd', 'e', 'u', 0, 2, 'a'}),
    };
    for (const Bytes& descriptors : cases) {
        const std::vector<Programme> events =
            readEvents(makePresentFollowing(1, 0, event(1, descriptors)));
        ASSERT_EQ(events.size(), 1u);
        EXPECT_EQ(events[0].name, "");
        EXPECT_EQ(events[0].longDescription, "");
        EXPECT_EQ(events[0].descriptors, descriptors);
    }
}

TEST(EventInformation, ThePresentEventComesBeforeTheFollowingOne)
{
    EventInformation information;
    EXPECT_EQ(information.add(makePresentFollowing(1, 1, event(2))), News::PresentFollowing);
    EXPECT_EQ(idsOf(information.presentFollowing(1)), "2");
    EXPECT_EQ(idsOf(information.present(1)), "");
    EXPECT_EQ(information.add(makePresentFollowing(1, 0, event(1))), News::PresentFollowing);
    EXPECT_EQ(idsOf(information.presentFollowing(1)), "1 2");
    EXPECT_EQ(idsOf(information.present(1)), "1");
    EXPECT_EQ(idsOf(information.presentFollowing(2)), "");
    EXPECT_EQ(information.add(makePresentFollowing(1, 0, event(1))), News::None);
}

TEST(EventInformation, WhatFollowedAndHasBegunIsNotListedTwice)
{
    EventInformation information;
    information.add(makePresentFollowing(1, 0, event(1)));
    information.add(makePresentFollowing(1, 1, event(2)));
    information.add(makePresentFollowing(1, 0, event(2), 1));
    EXPECT_EQ(idsOf(information.presentFollowing(1)), "2");
    information.add(makePresentFollowing(1, 1, event(3), 1));
    EXPECT_EQ(idsOf(information.presentFollowing(1)), "2 3");
}

TEST(EventInformation, SectionsThatAreNotOfItAreLeftOut)
{
    EitFields other;
    EventInformation information;
    for (const unsigned table : {0x4Fu, 0x60u, 0x6Fu, 0x42u}) {
        other.tableId = table;
        EXPECT_EQ(information.add(makeEit(other, {event(1)})), News::None) << table;
    }
    EitFields third;
    third.sectionNumber = third.lastSectionNumber = 2;
    EXPECT_EQ(information.add(makeEit(third, {event(1)})), News::None);
    EXPECT_EQ(information.add(schedule(3, {event(1)}, 2)), News::None) << "beyond the last";
    EXPECT_EQ(information.add(makeSection({0x4E, 1, 0, false}, Bytes(20, 0))), News::None);
    EXPECT_EQ(information.add({}), News::None);
    EXPECT_EQ(information.bytes(), 0u);
}

TEST(EventInformation, AScheduleIsAllSectionsOfAllTablesByStartTime)
{
    EventInformation information;
    EXPECT_EQ(information.add(schedule(8, {eventAt(5, 0x05)}, 16, 0, 0x51, 0x51)), News::Schedule);
    information.add(schedule(0, {eventAt(3, 0x03), eventAt(1, 0x01)}, 16, 0, 0x50, 0x51));
    information.add(schedule(16, {eventAt(4, 0x04)}, 16, 0, 0x50, 0x51));
    information.add(makePresentFollowing(1, 0, eventAt(1, 0x01)));
    information.add(makePresentFollowing(1, 1, eventAt(2, 0x02)));
    EventFields undefined = event(6);
    undefined.start = Bytes(5, 0xFF);
    information.add(schedule(8, {undefined}, 16, 0, 0x50, 0x51));
    EXPECT_EQ(idsOf(information.schedule(1)), "1 2 3 4 5");
    EXPECT_EQ(idsOf(information.schedule(2)), "");
}

TEST(EventInformation, ASectionOfAnotherVersionTakesThePlaceOfTheOneBefore)
{
    EventInformation information;
    information.add(schedule(0, {eventAt(1, 0x01)}));
    information.add(schedule(8, {eventAt(2, 0x02)}));
    EXPECT_EQ(information.add(schedule(0, {eventAt(3, 0x03)}, 16, 0, 0x50, 0x50, 1)),
              News::Schedule);
    EXPECT_EQ(idsOf(information.schedule(1)), "2 3");
}

TEST(EventInformation, WhatATableNoLongerHasIsForgotten)
{
    EventInformation information;
    const auto fill = [&information] {
        information.add(schedule(0, {eventAt(1, 0x01)}, 16, 2));
        information.add(schedule(1, {eventAt(2, 0x02)}, 16, 2));
        information.add(schedule(2, {eventAt(3, 0x03)}, 16, 2));
        information.add(schedule(8, {eventAt(4, 0x04)}, 16));
        information.add(schedule(16, {eventAt(5, 0x05)}, 16));
        information.add(schedule(0, {eventAt(6, 0x06)}, 16, 0, 0x51, 0x51));
        EXPECT_EQ(idsOf(information.schedule(1)), "1 2 3 4 5 6");
    };
    fill();
    information.add(schedule(1, {eventAt(2, 0x02)}, 16, 1, 0x50, 0x51, 1));
    EXPECT_EQ(idsOf(information.schedule(1)), "1 2 4 5 6") << "the segment ends earlier";
    information.add(schedule(8, {eventAt(4, 0x04)}, 8, 0, 0x50, 0x51, 1));
    EXPECT_EQ(idsOf(information.schedule(1)), "1 2 4 6") << "the table ends earlier";
    information.add(schedule(0, {eventAt(1, 0x01)}, 8, 1, 0x50, 0x50, 1));
    EXPECT_EQ(idsOf(information.schedule(1)), "1 2 4") << "there is no second table any more";
}

TEST(EventInformation, ASegmentThatSaysToEndInAnotherOneEndsNowhere)
{
    EventInformation information;
    information.add(schedule(8, {eventAt(2, 0x02)}, 24));
    information.add(schedule(24, {eventAt(3, 0x03)}, 24));
    for (const unsigned segmentLast : {8u, 9u, 24u, 255u}) {
        information.add(schedule(0, {eventAt(1, 0x01)}, 24, segmentLast));
        EXPECT_EQ(idsOf(information.schedule(1)), "1 2 3") << segmentLast;
    }
    information.add(schedule(9, {eventAt(4, 0x04)}, 24, 8, 0x50, 0x50, 1));
    EXPECT_EQ(idsOf(information.schedule(1)), "1 2 3 4") << "nor before it begins";
}

TEST(EventInformation, TheLastSegmentHasAnEndToo)
{
    EventInformation information;
    information.add(schedule(255, {eventAt(1, 0x01)}, 255, 255));
    information.add(schedule(248, {eventAt(2, 0x02)}, 255, 255));
    EXPECT_EQ(idsOf(information.schedule(1)), "1 2");
    information.add(schedule(248, {eventAt(2, 0x02)}, 255, 248, 0x50, 0x50, 1));
    EXPECT_EQ(idsOf(information.schedule(1)), "2");
}

TEST(EventInformation, ServicesThatAreGoneTakeNoMemory)
{
    EventInformation information;
    information.add(makePresentFollowing(1, 0, event(1)));
    const size_t bytes = information.bytes();
    information.add(makePresentFollowing(2, 0, event(2)));
    information.keepOnly({1, 3});
    EXPECT_EQ(idsOf(information.presentFollowing(1)), "1");
    EXPECT_EQ(idsOf(information.presentFollowing(2)), "");
    EXPECT_EQ(information.bytes(), bytes);
    information.keepOnly({});
    EXPECT_EQ(information.bytes(), 0u);
}

TEST(EventInformation, ItsMemoryHasALimitAndSchedulesHaveHalfOfIt)
{
    EventInformation information;
    const Bytes filling = makeDescriptor(0xF0, Bytes(250, 0));
    Bytes descriptors;
    for (int count = 0; count < 15; ++count)
        descriptors = descriptors + filling;
    EitFields fields;
    fields.tableId = fields.lastTable = 0x50;
    for (fields.serviceId = 0; fields.serviceId < 3000; ++fields.serviceId)
        information.add(makeEit(fields, {event(1, descriptors)}));
    EXPECT_LE(information.bytes(), EventInformation::mostBytes / 2);
    EXPECT_GT(information.bytes(), EventInformation::mostBytes / 4);
    EXPECT_EQ(information.add(makeEit(fields, {event(1)})), News::Schedule) << "as it is small";
    EXPECT_EQ(information.add(makePresentFollowing(1, 0, event(1, descriptors))),
              News::PresentFollowing);
    for (fields.serviceId = 0; fields.serviceId < 6000; ++fields.serviceId)
        information.add(makePresentFollowing(fields.serviceId, 0, event(1, descriptors)));
    EXPECT_LE(information.bytes(), EventInformation::mostBytes);
    // What is there already may change.
    EXPECT_EQ(information.add(makePresentFollowing(1, 0, event(2, descriptors))),
              News::PresentFollowing);
    EXPECT_EQ(idsOf(information.present(1)), "2");
}

TEST(EventInformation, AScheduleHasALimitedLength)
{
    EventInformation information;
    unsigned id = 0;
    for (unsigned number = 0; number < 60; ++number) {
        std::vector<EventFields> events;
        for (int count = 0; count < 200; ++count)
            events.push_back(event(id++));
        information.add(schedule(number, events, 255, number | 7));
    }
    EXPECT_EQ(information.schedule(1).size(), EventInformation::mostEvents);
}

}  // namespace
}  // namespace receiver
