#include "station/description/description_reader.h"

#include <algorithm>
#include <set>

#include "station/description/json_value.h"
#include "station/description/object_reader.h"
#include "station/description/part_readers.h"
#include "station/description/service_reader.h"
#include "station/text/dvb_time.h"

namespace station {

namespace {

constexpr const char* usualStart = "2026-01-01T12:00:00Z";

LocalTime readLocalTime(ObjectReader& object)
{
    LocalTime time;
    time.country = object.text("country");
    time.offsetMinutes = object.integer("offset_minutes", {-12 * 60, 12 * 60});
    if (object.has("country") && time.country.size() != 3)
        object.complain("country", "expected three letters, as \"GBR\"");
    return time;
}

void readStreamKeys(ObjectReader& object, Description& description)
{
    description.streamPlace = object.place();
    description.bitrate = object.integer("bitrate", {100'000, 80'000'000}, 2'000'000);
    description.duration = object.integer("duration", {1, 86'400}, 30);
    const auto start = parseUtc(object.text("start", usualStart));
    if (!start)
        object.complain("start", "expected a time as \"2026-03-14T20:15:00Z\"");
    description.start = start.value_or(0);
    if (object.has("local_time"))
        object.object("local_time", [&description](ObjectReader& time) {
            description.localTime = readLocalTime(time);
        });
}

void readStream(ObjectReader& object, Description& description)
{
    const ObjectReader::ObjectVisitor visit = [&description](ObjectReader& stream) {
        readStreamKeys(stream, description);
    };
    if (object.has("stream"))
        return object.object("stream", visit);
    const JsonValue nothing = emptyObject();
    ObjectReader stream(nothing, object.place(), object.problems());
    visit(stream);
}

void readServices(ObjectReader& object, const std::filesystem::path& folder,
                  Description& description)
{
    const StationFrame frame = {folder, description.start, description.duration};
    PidBook pids;
    std::set<unsigned> ids;
    description.servicesPlace = object.placeOf("services");
    object.objects("services", [&](ObjectReader& item) {
        const auto index = static_cast<unsigned>(description.services.size());
        description.services.push_back(readService(item, index, frame, pids));
        if (!ids.insert(description.services.back().id).second)
            item.complain("id", "another service has this id");
    });
    if (description.services.empty())
        object.complain("services", "there is no service");
}

Description readRoot(const JsonValue& root, const std::filesystem::path& folder, Problems& problems,
                     std::optional<int64_t> start)
{
    Description description;
    ObjectReader object(root, {root.line, ""}, problems);
    object.object("network", [&description](ObjectReader& network) {
        description.network = readNetwork(network);
    });
    readStream(object, description);
    description.start = start.value_or(description.start);
    readServices(object, folder, description);
    return description;
}

}  // namespace

std::optional<Description> readDescription(const std::string& text,
                                           const std::filesystem::path& folder, Problems& problems,
                                           std::optional<int64_t> start)
{
    const std::optional<JsonValue> root = parseJson(text, problems);
    if (!root)
        return std::nullopt;
    Description description = readRoot(*root, folder, problems, start);
    std::stable_sort(problems.begin(), problems.end(),
                     [](const Problem& left, const Problem& right) {
                         return left.place.line < right.place.line;
                     });
    return problems.empty() ? std::optional(std::move(description)) : std::nullopt;
}

}  // namespace station
