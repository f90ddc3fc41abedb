#include <cstddef>
#include <gtest/gtest.h>
#include <string>

#include "receiver/carousel/stream_event_sections.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

/// "7:data" of what the section says; empty for nothing.
std::string take(StreamEventSections& sections, const Bytes& section)
{
    const std::optional<StreamEvent> event = sections.take(section);
    return event ? std::to_string(event->id) + ":" + event->data : "";
}

TEST(StreamEventSections, EachVersionIsOneEventAndItsRepetitionsAreNone)
{
    StreamEventSections sections;
    EXPECT_EQ(take(sections, makeStreamEventSection(7, 3, "one")), "7:one");
    EXPECT_EQ(take(sections, makeStreamEventSection(7, 3, "one")), "");
    EXPECT_EQ(take(sections, makeStreamEventSection(7, 3, "other bytes, same version")), "");
    EXPECT_EQ(take(sections, makeStreamEventSection(7, 4, "two")), "7:two");
    EXPECT_EQ(take(sections, makeStreamEventSection(7, 3, "one")), "7:one");
}

TEST(StreamEventSections, EachEventHasItsOwnVersion)
{
    StreamEventSections sections;
    EXPECT_EQ(take(sections, makeStreamEventSection(1, 0, "a")), "1:a");
    EXPECT_EQ(take(sections, makeStreamEventSection(2, 0, "b")), "2:b");
    EXPECT_EQ(take(sections, makeStreamEventSection(1, 0, "a")), "");
    EXPECT_EQ(take(sections, makeStreamEventSection(0x3FFF, 0, "")), "16383:");
}

TEST(StreamEventSections, OtherSectionsAreNoEvents)
{
    const Bytes descriptor = makeStreamEventDescriptor(7, "x");
    const std::tuple<const char*, Bytes> cases[] = {
        {"another table", makeSection({0x3C, 7}, descriptor)},
        {"not yet current", makeSection({0x3D, 7, 0, false}, descriptor)},
        {"the second section of a table that has one",
         makeSection({0x3D, 7, 0, true, 1, 1}, descriptor)},
        {"a time reference", makeSection({0x3D, 0x4007}, descriptor)},
        {"a scheduled event", makeSection({0x3D, 0x8007}, descriptor)},
        {"a reserved kind", makeSection({0x3D, 0xC007}, descriptor)},
        {"the event of another id", makeSection({0x3D, 8}, descriptor)},
        {"no descriptor", makeSection({0x3D, 7}, {})},
        {"another descriptor", makeSection({0x3D, 7}, makeDescriptor(0x17, Bytes(18, 0)))},
        {"a descriptor cut within the time",
         makeSection({0x3D, 7}, makeDescriptor(0x1A, Bytes(9, 0)))},
        {"a descriptor that leaves the section", makeSection({0x3D, 7}, {0x1A, 200, 0, 7})},
        {"no section at all", Bytes()},
    };
    StreamEventSections sections;
    for (const auto& [why, section] : cases)
        EXPECT_EQ(take(sections, section), "") << why;
    // None of them counts as the version that the event had.
    EXPECT_EQ(take(sections, makeSection({0x3D, 7}, descriptor)), "7:x");
}

TEST(StreamEventSections, TheEventMayStandAfterOtherDescriptors)
{
    StreamEventSections sections;
    const Bytes body = makeDescriptor(0xF0, {1, 2}) + makeStreamEventDescriptor(8, "not this") +
                       makeStreamEventDescriptor(7, "this");
    EXPECT_EQ(take(sections, makeSection({0x3D, 7}, body)), "7:this");
}

TEST(StreamEventSections, ScheduledEventsAndTimeReferencesAreKnownByTheirTables)
{
    const unsigned doItNow = 0x0007, reference = 0x4007, scheduled = 0x8007, reserved = 0xC007;
    const std::tuple<const char*, unsigned, bool> cases[] = {
        {"of scheduled events", scheduled, true},
        {"with time references", reference, true},
        {"of an event that is to be done now", doItNow, false},
        {"reserved", reserved, false},
    };
    for (const auto& [why, table, isScheduled] : cases) {
        StreamEventSections sections;
        take(sections, makeSection({0x3D, reference}, makeTimeReference(0, 0)));
        EXPECT_EQ(take(sections, makeSection({0x3D, table}, makeStreamEventDescriptor(9, "", 1))),
                  "");
        sections.scheduled().advance(0, false);
        EXPECT_EQ(sections.scheduled().advance(1, false).size(), isScheduled ? 1u : 0u) << why;
    }
}

TEST(StreamEventSections, CutShortAtEveryLengthAreNoEventOrAWholeOne)
{
    const Bytes section = makeStreamEventSection(7, 0, "data");
    for (size_t size = 0; size < section.size(); ++size) {
        StreamEventSections sections;
        const Bytes cut(section.begin(), section.begin() + std::ptrdiff_t(size));
        EXPECT_EQ(take(sections, cut), "") << size;
    }
}

}  // namespace
}  // namespace receiver
