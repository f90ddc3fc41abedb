#include "station/multiplex/schedule.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "station/carousel/file_tree.h"
#include "station/carousel/object_carousel.h"
#include "station/multiplex/packets.h"
#include "station/sections/application_table.h"
#include "station/sections/event_tables.h"
#include "station/sections/program_tables.h"
#include "station/sections/service_tables.h"
#include "station/sections/stream_event_section.h"

namespace station {

namespace {

constexpr int64_t programTablesMs = 100;
constexpr int64_t applicationTableMs = 1'000;
constexpr int64_t serviceTablesMs = 2'000;
constexpr int64_t networkTableMs = 5'000;
constexpr int64_t scheduleMs = 10'000;
constexpr int64_t timeTableMs = 5'000;
constexpr int64_t carouselListsMs = 500;
constexpr int64_t eventRepetitionMs = 200;
constexpr int64_t scheduledEventsMs = 1'000;
constexpr int64_t timeReferenceMs = 500;

class ScheduleMaker {
public:
    ScheduleMaker(const Description& description, Problems& problems)
        : description_(description), problems_(problems)
    {
    }

    Schedule make()
    {
        schedule_.bitrate = description_.bitrate;
        schedule_.durationMs = description_.duration * 1'000;
        addProgramTables();
        addStationTables();
        for (const Service& service : description_.services)
            addService(service);
        addTime();
        std::stable_sort(schedule_.timed.begin(), schedule_.timed.end(),
                         [](const TimedSection& left, const TimedSection& right) {
                             return left.timeMs < right.timeMs;
                         });
        checkBitrate();
        return std::move(schedule_);
    }

private:
    /// What is made of one part of the description, and fails with it.
    template <typename Make>
    void attempt(const Place& place, const Make& make)
    {
        try {
            make();
        } catch (const TooLong& problem) {
            problems_.push_back({place, std::string("it does not fit: ") + problem.what()});
        } catch (const Unreadable& problem) {
            problems_.push_back({place, problem.what()});
        }
    }

    void repeat(unsigned pid, int64_t intervalMs, std::vector<Bytes> sections)
    {
        schedule_.tables.push_back(
            {pid, intervalMs, [sections = std::move(sections)](int64_t) { return sections; }});
    }

    void addProgramTables()
    {
        attempt(description_.servicesPlace,
                [this] { repeat(0, programTablesMs, {makePat(description_)}); });
        for (const Service& service : description_.services) {
            attempt(service.place,
                    [&] { repeat(service.pmtPid, programTablesMs, {makePmt(service)}); });
            if (std::find(schedule_.clockPids.begin(), schedule_.clockPids.end(), service.pcrPid) ==
                schedule_.clockPids.end())
                schedule_.clockPids.push_back(service.pcrPid);
        }
    }

    void addStationTables()
    {
        attempt(description_.servicesPlace,
                [this] { repeat(sdtPid, serviceTablesMs, makeSdt(description_)); });
        attempt(description_.servicesPlace, [this] {
            repeat(nitPid, networkTableMs, {makeNit(description_.network, description_.services)});
        });
    }

    void addService(const Service& service)
    {
        if (service.applications)
            attempt(service.applications->place, [&] {
                repeat(service.applications->pid, applicationTableMs,
                       makeAit(*service.applications));
            });
        if (!service.programmes.empty())
            attempt(service.place, [&] { addProgrammes(service); });
        for (const Carousel& carousel : service.carousels)
            attempt(carousel.place, [&] { addCarousel(service, carousel); });
        for (const EventStream& stream : service.eventStreams)
            attempt(stream.place, [&] {
                addEvents(stream);
                addScheduledEvents(stream);
            });
    }

    void addProgrammes(const Service& service)
    {
        const Network& network = description_.network;
        const int64_t start = description_.start;
        for (const Programme& programme : service.programmes)  // each can be the present one
            attempt(programme.place,
                    [&] { makePresentFollowing(network, service, programme.start); });
        schedule_.tables.push_back(
            {eitPid, serviceTablesMs, [&network, &service, start](int64_t ms) {
                 return makePresentFollowing(network, service, start + ms / 1'000);
             }});
        if (service.hasSchedule)
            repeat(eitPid, scheduleMs, station::makeSchedule(network, service, start));
    }

    void addCarousel(const Service& service, const Carousel& carousel)
    {
        const auto files = readFiles(carousel.folder);
        for (const StreamEventObject& events : carousel.streamEvents) {
            if (files.count(events.path) != 0)
                problems_.push_back({carousel.place, "a file has the name of the stream events \"" +
                                                         events.path + "\""});
        }
        CarouselSections sections = makeCarousel(carousel, files);
        repeat(carousel.pid, carouselListsMs, std::move(sections.control));
        Rotation rotation;
        rotation.pid = carousel.pid;
        rotation.cycleMs = carousel.cycleMs;
        rotation.sections = std::move(sections.blocks);
        rotation.place = carousel.place;
        rotation.title = "carousel " + std::to_string(carousel.id) + " of " + service.name;
        rotation.files = sections.files;
        rotation.modules = sections.modules;
        schedule_.rotations.push_back(std::move(rotation));
    }

    void addEvents(const EventStream& stream)
    {
        for (size_t i = 0; i < stream.events.size(); ++i) {
            const TimedEvent& event = stream.events[i];
            const Bytes section = makeStreamEventSection(event);
            for (unsigned turn = 0; turn < stream.repetitions; ++turn) {
                const int64_t time = event.timeMs + turn * eventRepetitionMs;
                if (!isOver(stream, i, time))
                    schedule_.timed.push_back({stream.pid, time, section});
            }
        }
    }

    /// Without events nobody asks for the time of the programme.
    void addScheduledEvents(const EventStream& stream)
    {
        if (stream.scheduled.empty())
            return;
        repeat(stream.pid, scheduledEventsMs, {makeScheduledEventsSection(stream)});
        schedule_.tables.push_back({stream.pid, timeReferenceMs, [&stream](int64_t ms) {
                                        return std::vector<Bytes>{
                                            makeTimeReferenceSection(stream, ms)};
                                    }});
    }

    /// Whether another event with the same id has taken its turn: going back to the old one would
    /// be an event more.
    static bool isOver(const EventStream& stream, size_t index, int64_t timeMs)
    {
        const TimedEvent& event = stream.events[index];
        return std::any_of(stream.events.begin() + std::ptrdiff_t(index) + 1, stream.events.end(),
                           [&](const TimedEvent& later) {
                               return later.id == event.id && later.timeMs <= timeMs;
                           });
    }

    void addTime()
    {
        const Description& description = description_;
        schedule_.tables.push_back({tdtPid, timeTableMs, [&description](int64_t ms) {
                                        const int64_t now = description.start + ms / 1'000;
                                        std::vector<Bytes> sections = {makeTdt(now)};
                                        if (description.localTime)
                                            sections.push_back(
                                                makeTot(now, *description.localTime));
                                        return sections;
                                    }});
    }

    /// Tables and clocks come when they are due, so they must not need all there is.
    void checkBitrate()
    {
        constexpr int64_t mostPercent = 90;
        const int64_t needed = bitrateOf(schedule_);
        if (needed * 100 > schedule_.bitrate * mostPercent)
            problems_.push_back(
                {description_.streamPlace, "a bitrate of " + std::to_string(schedule_.bitrate) +
                                               " bit/s is too low: tables and clocks need " +
                                               std::to_string(needed) + " of it"});
    }

    static int64_t bitrateOf(const Schedule& schedule)
    {
        const auto clocks = static_cast<int64_t>(schedule.clockPids.size());
        int64_t packetsIn1000s = clocks * 1'000'000 / clockIntervalMs;
        for (const RepeatedTable& table : schedule.tables) {
            for (const Bytes& section : table.sections(0))
                packetsIn1000s +=
                    static_cast<int64_t>(packetsFor(section)) * 1'000'000 / table.intervalMs;
        }
        return packetsIn1000s * static_cast<int64_t>(packetSize) * 8 / 1'000;
    }

    const Description& description_;
    Problems& problems_;
    Schedule schedule_;
};

}  // namespace

std::optional<Schedule> makeSchedule(const Description& description, Problems& problems)
{
    Schedule schedule = ScheduleMaker(description, problems).make();
    return problems.empty() ? std::optional(std::move(schedule)) : std::nullopt;
}

}  // namespace station
