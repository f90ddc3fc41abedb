#include "receiver/web/state_document.h"

#include <algorithm>

#include "vesta_hbbtv_appman.h"

#include "receiver/console/key_names.h"
#include "receiver/session.h"
#include "receiver/text/printable.h"

namespace receiver {

namespace {

using Json = nlohmann::ordered_json;

// Of each list that the air fills: a carousel may have tens of thousands of files, a table as many
// entries. Whoever looks for one finds it by `why`.
constexpr size_t mostOfOneList = 500;

/// @return how many there are in excess of that
size_t omittedOf(size_t count)
{
    return count - std::min(count, mostOfOneList);
}

Json streamOf(const Middleware& middleware)
{
    const StreamStatistics statistics = middleware.statistics();
    Json stream = {{"input", middleware.input()},
                   {"ended", middleware.hasEnded()},
                   {"packets", statistics.packets},
                   {"continuity_errors", statistics.continuityErrors},
                   {"damaged_packets", statistics.damagedPackets},
                   {"scrambled_packets", statistics.scrambledPackets},
                   {"damaged_sections", statistics.crcErrors + statistics.cutSections},
                   {"sync_losses", statistics.syncLosses},
                   {"network", nullptr}};
    if (const auto network = middleware.networkStatistics())
        stream["network"] = summaryOf(*network);
    return stream;
}

const char* wordFor(std::optional<ApplicationSignalling> signalling)
{
    if (!signalling)
        return "unknown";
    switch (*signalling) {
    case ApplicationSignalling::HbbTV:
        return "yes";
    case ApplicationSignalling::Unsaid:
        return "maybe";
    case ApplicationSignalling::None:
        break;
    }
    return "no";
}

Json servicesOf(const Middleware& middleware)
{
    Json services = Json::array();
    for (const Service& service : middleware.services()) {
        if (services.size() == mostOfOneList)
            break;
        services.push_back(
            {{"id", service.programNumber},
             {"name", service.name},
             {"signals_hbbtv", wordFor(middleware.signallingOf(service.programNumber))},
             {"tuned", middleware.tunedService() == service.programNumber}});
    }
    return services;
}

Json windowsOf(const BrowserEngine& browser)
{
    Json windows = Json::array();
    for (const TAVO_VestaWindow* const window : browser.windows())
        windows.push_back({{"id", window->id},
                           {"url", window->url},
                           {"shown", window->visible},
                           {"loaded", window->loaded},
                           {"has_keys", window == browser.focusedWindow()}});
    return windows;
}

Json groupNames(uint32_t keySet)
{
    Json names = Json::array();
    for (size_t bit = 0; bit < keyGroups().size(); ++bit) {
        if ((keySet >> bit & 1) != 0)
            names.push_back(keyGroups()[bit]);
    }
    return names;
}

uint32_t keySetOf(const Integrator::RunningApplication& application)
{
    double value = 0;
    native_KeySetGetValue(Session::applicationIdOf(application), &value);
    return static_cast<uint32_t>(value);
}

Json boundaryOf(const Integrator::RunningApplication& application, const TableBook& book)
{
    const auto ids = idsFrom(application.ids);
    return ids ? Json(book.boundaryOf(ids->organisationId, ids->applicationId)) : Json::array();
}

Json applicationsOf(Session& session)
{
    Json applications = Json::array();
    for (const auto& application : session.integrator().applications()) {
        const uint32_t keySet = keySetOf(application);
        applications.push_back(
            {{"application", application.ids},
             {"url", application.url},
             {"window", application.window ? application.window->id : 0},
             {"broadcast_related", application.broadcastRelated},
             {"shown", application.visible},
             {"parent", application.parent.empty() ? Json(nullptr) : Json(application.parent)},
             {"key_set", keySet},
             {"key_names", groupNames(keySet)},
             {"boundary", boundaryOf(application, session.middleware().tableBook())}});
    }
    return applications;
}

/// Only these two may be started.
std::string reasonAgainst(int controlCode)
{
    const int autostart = 1;
    const int present = 2;
    if (controlCode == autostart || controlCode == present)
        return "";
    return std::string("its control code is ") + controlCodeName(controlCode);
}

struct Verdict {
    const char* word;
    std::string reason;
};

/// What the application manager decided counts before what the receiver can tell.
Verdict verdictOn(const Integrator::Listed& listed, Session& session)
{
    const auto decided = session.decisions().againstStart(listed.ids);
    if (decided && decided->isLasting)
        return {"cannot start", decided->sentence};
    std::string known = reasonAgainst(listed.controlCode);
    if (known.empty())
        known = session.integrator().reasonAgainst(listed.ids);
    if (!known.empty())
        return {"cannot start", known};
    return {"can start", decided ? decided->sentence : ""};
}

Json entryOf(const Integrator::Listed& listed, Session& session)
{
    const auto& running = session.integrator().applications();
    const bool runs =
        std::any_of(running.begin(), running.end(),
                    [&listed](const auto& application) { return application.ids == listed.ids; });
    const Verdict verdict = runs ? Verdict{"runs", ""} : verdictOn(listed, session);
    return {{"application", listed.ids},
            {"name", listed.name},
            {"control_code", listed.controlCode},
            {"control_name", controlCodeName(listed.controlCode)},
            {"urls", listed.urls},
            {"profiles", session.middleware().tableBook().profilesOf(listed.organisationId,
                                                                     listed.applicationId)},
            {"verdict", verdict.word},
            {"reason", verdict.reason.empty() ? Json(nullptr) : Json(verdict.reason)}};
}

Json tableOf(Session& session)
{
    if (session.integrator().listed().empty())
        return nullptr;
    Json applications = Json::array();
    for (const Integrator::Listed& listed : session.integrator().listed()) {
        if (applications.size() < mostOfOneList)
            applications.push_back(entryOf(listed, session));
    }
    return {{"applications", applications},
            {"omitted", omittedOf(session.integrator().listed().size())}};
}

Json modulesOf(const ObjectCarousel& carousel)
{
    Json modules = Json::array();
    for (const CarouselModuleStatus& module : carousel.modules()) {
        if (modules.size() == mostOfOneList)
            break;
        modules.push_back({{"module", module.announcement.moduleId},
                           {"version", module.announcement.version},
                           {"size", module.announcement.size},
                           {"blocks", module.blocksNeeded},
                           {"received", module.blocksReceived},
                           {"problem", module.problem}});
    }
    return modules;
}

/// @param all of them
Json carouselsOf(const ServiceCarousels& carousels,
                 const std::vector<ServiceCarousels::Status>& all)
{
    Json list = Json::array();
    for (const auto& status : all) {
        Json files = Json::array();
        for (const CarouselFile& file : status.listing.files) {
            if (files.size() < mostOfOneList)
                files.push_back({{"path", file.path}, {"size", file.file.size}});
        }
        Json streamEvents = Json::array();
        for (const CarouselStreamEvents& events : status.listing.streamEvents) {
            if (streamEvents.size() < mostOfOneList)
                streamEvents.push_back({{"path", events.path}, {"events", events.events.size()}});
        }
        list.push_back({{"component_tag", status.componentTag},
                        {"modules_complete", status.progress.modulesComplete},
                        {"modules_known", status.progress.modulesKnown},
                        {"modules", Json::array()},
                        {"files", files},
                        {"files_omitted", omittedOf(status.listing.files.size())},
                        {"stream_events", streamEvents}});
    }
    carousels.visit([&list](uint8_t tag, const ObjectCarousel& carousel) {
        for (Json& each : list) {
            if (each["component_tag"] == tag)
                each["modules"] = modulesOf(carousel);
        }
    });
    return list;
}

Json pendingOf(Session& session)
{
    Json pending = Json::array();
    for (const TAVO_VestaWindow* const window : session.browser().windows()) {
        if (!window->loaded && !window->url.empty())
            pending.push_back({{"window", window->id}, {"url", window->url}});
    }
    for (const std::string& name : session.middleware().carousels().pendingFiles()) {
        if (pending.size() < mostOfOneList)
            pending.push_back({{"window", nullptr}, {"url", name}});
    }
    return pending;
}

Json screenOf(const BrowserEngine& browser)
{
    Json screen = {{"paints", browser.paints()},
                   {"width", screenWidth},
                   {"height", screenHeight},
                   {"painting", browser.paintings()},
                   {"video", nullptr}};
    if (const auto place = browser.videoPlace())
        screen["video"] = {
            {"x", place->x}, {"y", place->y}, {"width", place->width}, {"height", place->height}};
    return screen;
}

Json switchesOf(const Integrator& integrator)
{
    return {{"http", integrator.hasBroadband},
            {"timeshift", integrator.isTimeShifted},
            {"profiles", integrator.supportedProfiles},
            {"start", startAnswers[size_t(integrator.startAnswer)]},
            {"request", requestAnswers[size_t(integrator.requestAnswer)]}};
}

}  // namespace

Json stateOf(Session& session)
{
    const Middleware& middleware = session.middleware();
    const ServiceCarousels& carousels = session.middleware().carousels();
    const auto status = carousels.status();
    return {{"version", VESTA_VERSION},
            {"time", session.log().secondsSinceStart()},
            {"stream", streamOf(middleware)},
            {"services", servicesOf(middleware)},
            {"windows", windowsOf(session.browser())},
            {"applications", applicationsOf(session)},
            {"table", tableOf(session)},
            {"carousels", carouselsOf(carousels, status)},
            {"carousel_bytes", status.empty() ? 0 : status.front().progress.memoryUsed},
            {"pending", pendingOf(session)},
            {"screen", screenOf(session.browser())},
            {"switches", switchesOf(session.integrator())},
            {"keys", keyNames()}};
}

Json jsonOf(long window, const PageSource& source)
{
    Json resources = Json::array();
    for (const PageSource::Resource& each : source.resources)
        resources.push_back(
            {{"url", each.url}, {"size", each.size}, {"type", each.type}, {"status", each.status}});
    return {{"window", window},           {"url", source.url},
            {"type", source.type},        {"size", source.size},
            {"source", source.beginning}, {"is_cut", source.beginning.size() < source.size},
            {"resources", resources}};
}

std::string textOf(const Json& document)
{
    return printableJson(document.dump(-1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace receiver
