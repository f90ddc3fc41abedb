#include "station/description/part_readers.h"
#include "station/text/dvb_time.h"

namespace station {

namespace {

constexpr int64_t longestProgramme = 99 * 3600 + 59 * 60 + 59;
constexpr Range nibbleRange = {0, 15};

ProgrammeComponent readProgrammeComponent(ObjectReader& object)
{
    ProgrammeComponent component;
    component.streamContent = object.number("stream_content", nibbleRange);
    component.componentType = object.number("component_type", {0, 255});
    component.componentTag = object.number("component_tag", tagRange);
    component.language = object.language("language", "und");
    component.text = object.text("text", "");
    return component;
}

/// "2026-03-14T20:15:00Z", or what lies between it and the start of the stream: "+0:15:00".
int64_t readStart(ObjectReader& object, int64_t streamStart)
{
    const std::string text = object.text("start");
    const bool isRelative = !text.empty() && (text[0] == '+' || text[0] == '-');
    const auto time = isRelative ? parseDuration(text.substr(1)) : parseUtc(text);
    if (!time)
        object.complain("start", "expected a time as \"2026-03-14T20:15:00Z\" or \"+0:15:00\"");
    else if (isRelative)
        return streamStart + (text[0] == '-' ? -*time : *time);
    return time.value_or(streamStart);
}

int64_t readDuration(ObjectReader& object)
{
    const auto duration = parseDuration(object.text("duration"));
    if (duration && *duration > 0 && *duration <= longestProgramme)
        return *duration;
    if (object.has("duration"))
        object.complain("duration", "expected a duration as \"0:45:00\", of less than 100 hours");
    return 1;
}

}  // namespace

Programme readProgramme(ObjectReader& object, const Programme* previous, const StationFrame& frame)
{
    Programme programme;
    programme.place = object.place();
    programme.eventId = object.number("id", range16, previous ? previous->eventId + 1 : 1);
    const int64_t otherwise = previous ? previous->start + previous->duration : frame.start;
    programme.start = object.has("start") ? readStart(object, frame.start) : otherwise;
    if (previous && programme.start < otherwise)
        object.complain("start", "the programme before it has not ended then");
    programme.duration = readDuration(object);
    programme.language = object.language("language", "eng");
    programme.name = object.text("name");
    programme.text = object.text("text", "");
    object.objects("components", [&](ObjectReader& item) {
        programme.components.push_back(readProgrammeComponent(item));
    });
    object.objects("content", [&](ObjectReader& item) {
        const unsigned level1 = item.number("level1", nibbleRange);
        programme.content.push_back((level1 << 4) | item.number("level2", nibbleRange, 0));
    });
    if (object.has("minimum_age"))
        programme.minimumAge = object.number("minimum_age", {4, 18});
    return programme;
}

}  // namespace station
