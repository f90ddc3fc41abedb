#include <algorithm>
#include <map>

#include "station/description/part_readers.h"

namespace station {

namespace {

constexpr Range programmeTimes = {0, 90'000'000};  // 33 bits of 90 kHz hold a little more
constexpr unsigned versions = 32;
constexpr size_t mostData = 245;  // of a descriptor, after its id and time

std::string readData(ObjectReader& object)
{
    std::string data = object.text("text", "");
    if (data.size() > mostData)
        object.complain("text", "expected at most 245 bytes");
    return data;
}

TimedEvent readTimedEvent(ObjectReader& object, const StationFrame& frame)
{
    TimedEvent event;
    // In the last second it might not end with the stream, and would not be broadcast at all.
    event.timeMs = object.milliseconds("time", {0, (frame.duration - 1) * 1000});
    event.id = object.number("id", doItNowIds);
    event.text = readData(object);
    return event;
}

ScheduledEvent readScheduledEvent(ObjectReader& object)
{
    ScheduledEvent event;
    event.timeMs = object.milliseconds("programme_time", programmeTimes);
    event.id = object.number("id", scheduledIds);
    event.text = readData(object);
    return event;
}

}  // namespace

// Each change of a version is one event: without a word about them they count up.
EventStream readEventStream(ObjectReader& object, const StationFrame& frame)
{
    EventStream stream;
    stream.place = object.place();
    stream.componentTag = object.number("component_tag", tagRange);
    stream.streamType = object.choice("stream_type", {{"0x0C", 0x0C}, {"0x0B", 0x0B}}, "0x0C");
    stream.repetitions = object.number("repetitions", {1, 100}, 5);
    std::map<unsigned, unsigned> latest;
    object.objects("events", [&](ObjectReader& item) {
        TimedEvent event = readTimedEvent(item, frame);
        const auto before = latest.find(event.id);
        const unsigned next = before == latest.end() ? 0 : (before->second + 1) % versions;
        event.version = item.number("version", {0, versions - 1}, next);
        if (!stream.events.empty() && event.timeMs < stream.events.back().timeMs)
            item.complain("time", "it comes before the one above it");
        if (before != latest.end() && before->second == event.version)
            item.complain("version", "the event before it has this version, so nobody hears of it");
        latest[event.id] = event.version;
        stream.events.push_back(event);
    });
    stream.programmeTimeMs = object.milliseconds("programme_time", programmeTimes, 0);
    object.objects("scheduled", [&](ObjectReader& item) {
        stream.scheduled.push_back(readScheduledEvent(item));
    });
    return stream;
}

}  // namespace station
