#include <gtest/gtest.h>
#include <string>

#include "station/sections/event_tables.h"
#include "station/text/dvb_time.h"
#include "tests/station/support/section_check.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

/// The evening of a station: A from 20:00 to 21:00, B from 21:30 to 22:00.
Description evening()
{
    return descriptionOf(withService(R"("programmes": [
        {"id": 258, "name": "A", "start": "1993-10-13T20:00:00Z", "duration": "1:00:00",
         "text": "of", "minimum_age": 12,
         "components": [{"stream_content": 1, "component_type": 3, "component_tag": 5,
                         "text": "w"}],
         "content": [{"level1": 4, "level2": 2}]},
        {"id": 7, "name": "B", "start": "1993-10-13T21:30:00Z", "duration": "30:00",
         "language": "deu"}])"));
}

std::vector<Bytes> presentFollowingAt(const std::string& time)
{
    const Description description = evening();
    return makePresentFollowing(description.network, description.services[0],
                                parseUtc(time).value());
}

const Bytes programmeA = {0x01, 0x02, 0xC0, 0x79, 0x20, 0x00, 0x00, 0x01, 0x00, 0x00, 0x80,
                          0x1D, 0x4D, 0x08, 'e',  'n',  'g',  0x01, 'A',  0x02, 'o',  'f',  //
                          0x50, 0x07, 0xF1, 0x03, 0x05, 'u',  'n',  'd',  'w',              //
                          0x54, 0x02, 0x42, 0x00,                                           //
                          0x55, 0x04, ' ',  ' ',  ' ',  0x09};
const Bytes programmeB = {0x00, 0x07, 0xC0, 0x79, 0x21, 0x30, 0x00, 0x00, 0x30, 0x00,
                          0x20, 0x08, 0x4D, 0x06, 'd',  'e',  'u',  0x01, 'B',  0x00};

TEST(EventTables, NowAndNext)
{
    const auto sections = presentFollowingAt("1993-10-13T20:59:59Z");
    ASSERT_EQ(sections.size(), 2U);
    const Bytes present = {0x4E, 0xF0, 0x38, 0x00, 0x01, 0xC3, 0x00,
                           0x01, 0x04, 0x41, 0x20, 0xFA, 0x01, 0x4E};
    EXPECT_EQ(sections[0], checked(present + programmeA));
    const Bytes following = {0x4E, 0xF0, 0x23, 0x00, 0x01, 0xC3, 0x01,
                             0x01, 0x04, 0x41, 0x20, 0xFA, 0x01, 0x4E};
    EXPECT_EQ(sections[1], checked(following + programmeB));
}

TEST(EventTables, ANewTableForEachChange)
{
    const auto versionAt = [](const std::string& time) {
        return presentFollowingAt(time)[0][5] >> 1 & 0x1F;
    };
    EXPECT_EQ(versionAt("1993-10-13T19:59:59Z"), 0);
    EXPECT_EQ(versionAt("1993-10-13T20:00:00Z"), 1);
    EXPECT_EQ(versionAt("1993-10-13T21:00:00Z"), 2);
    EXPECT_EQ(versionAt("1993-10-13T21:30:00Z"), 3);
    EXPECT_EQ(versionAt("1993-10-13T22:00:00Z"), 4);
}

TEST(EventTables, NothingIsOnBetweenProgrammesAndAfterTheLast)
{
    const size_t empty = 18;
    const auto before = presentFollowingAt("1993-10-13T19:59:59Z");
    EXPECT_EQ(before[0].size(), empty);
    EXPECT_EQ(before[1].size(), empty + programmeA.size());
    const auto between = presentFollowingAt("1993-10-13T21:00:00Z");
    EXPECT_EQ(between[0].size(), empty);
    EXPECT_EQ(between[1].size(), empty + programmeB.size());
    const auto after = presentFollowingAt("1993-10-13T22:00:00Z");
    EXPECT_EQ(after[0].size(), empty);
    EXPECT_EQ(after[1].size(), empty);
}

TEST(EventTables, TheScheduleHasASegmentForEveryThreeHours)
{
    const Description description = evening();
    const auto sections = makeSchedule(description.network, description.services[0],
                                       parseUtc("1993-10-13T12:00:00Z").value());
    ASSERT_EQ(sections.size(), 8U) << "from midnight to midnight";
    for (size_t segment = 0; segment < sections.size(); ++segment) {
        const Bytes& section = sections[segment];
        EXPECT_EQ(section[0], 0x50);
        EXPECT_EQ(section[6], segment * 8) << "section_number";
        EXPECT_EQ(section[7], 56) << "last_section_number";
        EXPECT_EQ(section[12], segment * 8) << "segment_last_section_number";
        EXPECT_EQ(section[13], 0x50) << "last_table_id";
        EXPECT_EQ(checked(Bytes(section.begin(), section.end() - 4)), section);
    }
    EXPECT_EQ(sections[5].size(), 18U);
    EXPECT_EQ(sections[6].size(), 18U + programmeA.size());
    EXPECT_EQ(sections[7].size(), 18U + programmeB.size());
}

TEST(EventTables, ASegmentOfManyProgrammesHasSeveralSections)
{
    Description description = evening();
    Service& service = description.services[0];
    service.programmes.resize(1);
    service.programmes[0].text = std::string(200, 't');
    service.programmes.resize(30, service.programmes[0]);
    const int64_t start = parseUtc("1993-10-13T12:00:00Z").value();
    const auto sections = makeSchedule(description.network, service, start);
    ASSERT_EQ(sections.size(), 8U);
    EXPECT_EQ(sections[6][6], 48);
    EXPECT_EQ(sections[6][12], 49);
    EXPECT_EQ(sections[7][6], 49);
    EXPECT_EQ(sections[7][7], 49);
    service.programmes.resize(300, service.programmes[0]);
    EXPECT_THROW(makeSchedule(description.network, service, start), TooLong);
}

}  // namespace

}  // namespace station
