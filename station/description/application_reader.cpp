#include <algorithm>
#include <set>

#include "station/description/part_readers.h"

namespace station {

namespace {

const Choices controlCodes = {{"AUTOSTART", 1}, {"PRESENT", 2},           {"DESTROY", 3},
                              {"KILL", 4},      {"PREFETCH", 5},          {"REMOTE", 6},
                              {"DISABLED", 7},  {"PLAYBACK_AUTOSTART", 8}};
const Choices visibilities = {{"none", 0}, {"applications", 1}, {"all", 3}};
constexpr Range range8 = {0, 255};

Text readName(ObjectReader& object)
{
    Text name;
    name.language = object.language("language", "eng");
    name.text = object.text("text");
    return name;
}

PlatformProfile readProfile(ObjectReader& object)
{
    PlatformProfile profile;
    profile.profile = object.number("profile", range16, 0);
    profile.major = object.number("major", range8, 1);
    profile.minor = object.number("minor", range8, 2);
    profile.micro = object.number("micro", range8, 1);
    return profile;
}

Transport readTransport(ObjectReader& object, unsigned otherwiseLabel)
{
    Transport transport;
    transport.label = object.number("label", range8, otherwiseLabel);
    if (object.has("carousel") == object.has("http"))
        object.complain("carousel", "a transport has either \"carousel\" or \"http\"");
    if (object.has("carousel"))
        transport.componentTag = object.number("carousel", tagRange);
    if (object.has("http"))
        transport.urlBase = object.text("http");
    const bool isHttp =
        transport.urlBase.rfind("http://", 0) == 0 || transport.urlBase.rfind("https://", 0) == 0;
    const bool isFolder = !transport.urlBase.empty() && transport.urlBase.back() == '/';
    if (object.has("http") && (!isHttp || !isFolder))
        object.complain("http",
                        "expected a URL that begins with http:// or https:// and ends in /");
    return transport;
}

std::vector<Transport> readTransports(ObjectReader& object)
{
    std::vector<Transport> transports;
    std::set<unsigned> labels;
    object.objects("transports", [&](ObjectReader& item) {
        transports.push_back(readTransport(item, static_cast<unsigned>(transports.size() + 1)));
        if (!labels.insert(transports.back().label).second)
            item.complain("label", "another transport of the application has this label");
    });
    if (transports.empty())
        object.complain("transports", "there is no transport");
    return transports;
}

std::vector<std::string> readBoundaries(ObjectReader& object)
{
    std::vector<std::string> boundaries;
    object.items("boundaries", [&](const JsonValue& value, const Place& place) {
        if (value.kind != JsonValue::Kind::Text || value.text.empty())
            object.problems().push_back({place, "expected the beginning of a URL"});
        boundaries.push_back(value.text);
    });
    return boundaries;
}

Application readApplication(ObjectReader& object)
{
    Application application;
    application.place = object.place();
    application.organisationId =
        static_cast<uint32_t>(object.integer("organisation_id", {1, 0xFFFFFFFF}));
    application.applicationId = object.number("application_id", {1, 0xFFFF});
    object.objects("names",
                   [&](ObjectReader& name) { application.names.push_back(readName(name)); });
    application.controlCode = object.choice("control_code", controlCodes);
    object.objects("profiles", [&](ObjectReader& profile) {
        application.profiles.push_back(readProfile(profile));
    });
    if (application.profiles.empty())
        application.profiles.emplace_back();
    application.visibility = object.choice("visibility", visibilities, "all");
    application.priority = object.number("priority", range8, 1);
    application.serviceBound = object.flag("service_bound", true);
    if (object.has("usage"))
        application.usage = object.choice("usage", {{"teletext", 1}});
    application.transports = readTransports(object);
    application.initialPath = object.text("initial_path");
    if (application.initialPath.empty() && object.has("initial_path"))
        object.complain("initial_path", "expected the path of a page");
    application.boundaries = readBoundaries(object);
    return application;
}

}  // namespace

ApplicationTable readApplicationTable(ObjectReader& object)
{
    ApplicationTable table;
    table.place = object.place();
    table.version = object.number("version", {0, 31}, 0);
    std::set<std::pair<uint32_t, unsigned>> known;
    object.objects("applications", [&](ObjectReader& item) {
        const Application application = readApplication(item);
        if (!known.insert({application.organisationId, application.applicationId}).second)
            item.complain("application_id", "the table has this application already");
        table.applications.push_back(application);
    });
    return table;
}

}  // namespace station
