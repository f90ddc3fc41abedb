#include <set>
#include <system_error>

#include "station/description/part_readers.h"

namespace station {

namespace {

constexpr size_t longestName = 254;  // with the zero at its end

bool isName(const std::string& name)
{
    return !name.empty() && name.size() <= longestName && name.find('\0') == std::string::npos;
}

NamedEvent readNamedEvent(ObjectReader& object)
{
    NamedEvent event;
    event.name = object.text("name");
    event.id = object.number("id", {doItNowIds.least, scheduledIds.most});
    if (event.id > doItNowIds.most && event.id < scheduledIds.least)
        object.complain("id", "expected 0 to 16383, or 32768 to 49151 for an event at a time of "
                              "the programme");
    if (!isName(event.name) && object.has("name"))
        object.complain("name", "expected a name of 1 to 254 bytes");
    return event;
}

StreamEventObject readStreamEventObject(ObjectReader& object)
{
    StreamEventObject result;
    result.path = object.text("path");
    const std::filesystem::path path(result.path);
    if (object.has("path") && (path.empty() || path.is_absolute() || !path.has_filename() ||
                               path != path.lexically_normal() || *path.begin() == ".."))
        object.complain("path", "expected a path inside the carousel, as \"events/score\"");
    result.componentTag = object.number("component_tag", tagRange);
    std::set<std::string> names;
    object.objects("events", [&](ObjectReader& item) {
        result.events.push_back(readNamedEvent(item));
        if (!names.insert(result.events.back().name).second)
            item.complain("name", "another event of the object has this name");
    });
    if (result.events.empty() || result.events.size() > 255)
        object.complain("events", "expected 1 to 255 events");
    return result;
}

}  // namespace

Carousel readCarousel(ObjectReader& object, const StationFrame& frame)
{
    Carousel carousel;
    carousel.place = object.place();
    carousel.id = static_cast<uint32_t>(object.integer("id", {1, 0xFFFFFFFF}));
    carousel.componentTag = object.number("component_tag", tagRange);
    carousel.folder = frame.folder / object.text("folder");
    std::error_code problem;
    if (object.has("folder") && !std::filesystem::is_directory(carousel.folder, problem))
        object.complain("folder", "there is no such folder: " + carousel.folder.string());
    carousel.moduleSize =
        static_cast<size_t>(object.integer("module_size", {1'024, 8 * 1024 * 1024}, 65'536));
    carousel.moduleVersion = object.number("module_version", {0, 31}, 0);
    carousel.compress = object.flag("compress", true);
    carousel.contentTypes = object.flag("content_types", true);
    carousel.cycleMs = object.milliseconds("cycle_seconds", {0, 3'600'000}, 0);
    object.objects("stream_events", [&](ObjectReader& item) {
        carousel.streamEvents.push_back(readStreamEventObject(item));
    });
    return carousel;
}

}  // namespace station
