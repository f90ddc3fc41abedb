#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <utility>
#include <vector>

#include "station/multiplex/schedule.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

using testing::ElementsAre;

Schedule scheduleOf(const Description& description)
{
    Problems problems;
    auto schedule = makeSchedule(description, problems);
    return schedule.value();
}

/// The tables of a PID at a time: their table ids, in order.
std::vector<unsigned> tableIdsOn(const Schedule& schedule, unsigned pid, int64_t timeMs = 0)
{
    std::vector<unsigned> ids;
    for (const RepeatedTable& table : schedule.tables) {
        if (table.pid != pid)
            continue;
        for (const Bytes& section : table.sections(timeMs))
            ids.push_back(section[0]);
    }
    return ids;
}

TEST(Schedule, HasTheTablesOfTheStation)
{
    const Description description = descriptionOf(withService(R"("ait": {},
        "programmes": [{"name": "A", "duration": "1:00:00"}])"));
    const Schedule schedule = scheduleOf(description);
    EXPECT_THAT(tableIdsOn(schedule, 0x00), ElementsAre(0x00));
    EXPECT_THAT(tableIdsOn(schedule, 0x10), ElementsAre(0x40));
    EXPECT_THAT(tableIdsOn(schedule, 0x11), ElementsAre(0x42));
    EXPECT_THAT(tableIdsOn(schedule, 0x14), ElementsAre(0x70));
    EXPECT_THAT(tableIdsOn(schedule, 0x100), ElementsAre(0x02));
    EXPECT_THAT(tableIdsOn(schedule, 0x101), ElementsAre(0x74));
    EXPECT_THAT(tableIdsOn(schedule, 0x12), ElementsAre(0x4E, 0x4E, 0x50, 0x50, 0x50, 0x50, 0x50))
        << "now, next, and a segment for every three hours until noon";
    EXPECT_THAT(schedule.clockPids, ElementsAre(0x10F));
}

TEST(Schedule, HasNoMoreThanIsDescribed)
{
    const Description description = descriptionOf(
        withService(R"("schedule": false, "programmes": [{"name": "A", "duration": "1"}])"));
    EXPECT_THAT(tableIdsOn(scheduleOf(description), 0x12), ElementsAre(0x4E, 0x4E));
    const Description bare = descriptionOf(withService(""));
    EXPECT_TRUE(tableIdsOn(scheduleOf(bare), 0x12).empty());
    EXPECT_TRUE(tableIdsOn(scheduleOf(bare), 0x101).empty());
}

TEST(Schedule, TimeAndProgrammesGoOnWithTheStream)
{
    Description description = descriptionOf(withService(R"("schedule": false, "programmes": [
        {"name": "A", "duration": "10"}, {"name": "B", "duration": "10"}])"));
    description.localTime = LocalTime{"GBR", 60};
    const Schedule schedule = scheduleOf(description);
    EXPECT_THAT(tableIdsOn(schedule, 0x14), ElementsAre(0x70, 0x73));
    for (const RepeatedTable& table : schedule.tables) {
        constexpr size_t seconds = 7;
        constexpr size_t eventId = 15;
        if (table.pid == 0x14) {
            EXPECT_EQ(table.sections(42'999)[0][seconds], 0x42);
        }
        if (table.pid != 0x12)
            continue;
        EXPECT_EQ(table.sections(9'999)[0][eventId], 1);
        EXPECT_EQ(table.sections(10'000)[0][eventId], 2);
    }
}

TEST(Schedule, AnEventIsRepeatedUntilTheNextOfItsId)
{
    const Description description = descriptionOf(withService(R"("event_streams": [
        {"component_tag": 9, "repetitions": 3, "events": [{"time": 1, "id": 1},
         {"time": 1.3, "id": 2}, {"time": 1.4, "id": 1}]}])"));
    std::vector<std::pair<int64_t, unsigned>> turns;
    for (const TimedSection& timed : scheduleOf(description).timed) {
        EXPECT_EQ(timed.pid, 0x130U);
        turns.emplace_back(timed.timeMs, timed.section[4] * 100U + (timed.section[5] >> 1 & 0x1F));
    }
    using Turn = std::pair<int64_t, unsigned>;
    EXPECT_THAT(turns,
                ElementsAre(Turn(1000, 100), Turn(1200, 100), Turn(1300, 200), Turn(1400, 101),
                            Turn(1500, 200), Turn(1600, 101), Turn(1700, 200), Turn(1800, 101)))
        << "id and version";
}

TEST(Schedule, TheProgrammesTimeGoesOnWithTheStream)
{
    const Description description = descriptionOf(withService(R"("event_streams": [
        {"component_tag": 9, "programme_time": 100, "scheduled": [
         {"programme_time": 105, "id": 32769}]}])"));
    size_t tables = 0;
    for (const RepeatedTable& table : scheduleOf(description).tables) {
        if (table.pid != 0x130)
            continue;
        ++tables;
        const Bytes first = table.sections(0)[0];
        const bool isReference = first[3] == 0x40;
        EXPECT_EQ(table.sections(1'000)[0] != first, isReference);
        EXPECT_LE(table.intervalMs, 1'000);
    }
    EXPECT_EQ(tables, 2U) << "the time, and the events";
}

TEST(Schedule, TwoServicesMayShareAClock)
{
    Description description = descriptionOf(withService(R"("components": [{"type": "video"}])"));
    description.services.push_back(description.services[0]);
    EXPECT_THAT(scheduleOf(description).clockPids, ElementsAre(0x110));
}

}  // namespace

}  // namespace station
