#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>

#include "station/description/description_reader.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(DescriptionReader, SaysWhatTheServiceNeedsAndChoosesTheRest)
{
    const Description description = descriptionOf(withService(""));
    EXPECT_EQ(description.network.originalNetworkId, 0x20FAU);
    EXPECT_EQ(description.network.networkId, 0x20FAU);
    EXPECT_EQ(description.network.transportStreamId, 1089U);
    EXPECT_EQ(description.bitrate, 2'000'000);
    EXPECT_EQ(description.duration, 30);
    ASSERT_EQ(description.services.size(), 1U);
    EXPECT_EQ(description.services[0].name, "One");
    EXPECT_EQ(description.services[0].type, 1U);
    EXPECT_EQ(description.services[0].pmtPid, 0x100U);
    EXPECT_EQ(description.services[0].pcrPid, 0x10FU);
    EXPECT_FALSE(description.services[0].applications);
}

/// A description whose network has this delivery system.
Delivery deliveryOf(const std::string& keys)
{
    return descriptionOf("{\"network\": {\"name\": \"N\", \"original_network_id\": 1, "
                         "\"transport_stream_id\": 1, \"delivery\": {" +
                         keys + "}}, \"services\": [{\"id\": 1, \"name\": \"A\"}]}")
        .network.delivery;
}

TEST(DescriptionReader, ReadsDeliverySystems)
{
    const Delivery terrestrial =
        deliveryOf(R"("system": "terrestrial", "frequency_khz": 602000, "bandwidth_mhz": 7)");
    EXPECT_EQ(terrestrial.system, DeliverySystem::Terrestrial);
    EXPECT_EQ(terrestrial.frequencyKhz, 602'000);
    EXPECT_EQ(terrestrial.bandwidthMhz, 7U);
    const Delivery satellite = deliveryOf(
        R"("system": "satellite", "frequency_khz": 12000000, "symbol_rate": 27500000,
           "orbital_position_tenths": 50, "direction": "west", "polarisation": "vertical")");
    EXPECT_EQ(satellite.system, DeliverySystem::Satellite);
    EXPECT_EQ(satellite.symbolRate, 27'500'000);
    EXPECT_EQ(satellite.orbitalPosition, 50U);
    EXPECT_FALSE(satellite.isEast);
    EXPECT_EQ(satellite.polarisation, 1U);
    const Delivery cable = deliveryOf(R"("system": "cable", "modulation": "256qam")");
    EXPECT_EQ(cable.system, DeliverySystem::Cable);
    EXPECT_EQ(cable.frequencyKhz, 346'000);
    EXPECT_EQ(cable.cableModulation, 256U);
}

TEST(DescriptionReader, ReadsTheStream)
{
    const Description description = descriptionOf(
        R"({"network": {"name": "N", "original_network_id": 1, "transport_stream_id": 1},
            "stream": {"bitrate": 500000, "duration": 5, "start": "1970-01-02T00:00:00Z",
                       "local_time": {"country": "DEU", "offset_minutes": 60}},
            "services": [{"id": 1, "name": "A"}]})");
    EXPECT_EQ(description.bitrate, 500'000);
    EXPECT_EQ(description.duration, 5);
    EXPECT_EQ(description.start, 86'400);
    EXPECT_EQ(description.localTime->country, "DEU");
    EXPECT_EQ(description.localTime->offsetMinutes, 60);
}

TEST(DescriptionReader, ReadsACarousel)
{
    const Service service = serviceOf(R"("event_streams": [{"component_tag": 43}], "carousels": [
        {"id": "0xFFFFFFFF", "component_tag": 42, "folder": ".", "module_size": 2048,
         "module_version": 31, "compress": false, "content_types": false, "cycle_seconds": 1.5,
         "stream_events": [{"path": "a/b", "component_tag": 43,
                            "events": [{"name": "e", "id": 16383}]}]}])");
    const Carousel& carousel = service.carousels[0];
    EXPECT_EQ(carousel.id, 0xFFFFFFFFU);
    EXPECT_EQ(carousel.folder, std::filesystem::path(VESTA_SAMPLES) / ".");
    EXPECT_EQ(carousel.moduleSize, 2048U);
    EXPECT_EQ(carousel.moduleVersion, 31U);
    EXPECT_FALSE(carousel.compress);
    EXPECT_FALSE(carousel.contentTypes);
    EXPECT_EQ(carousel.cycleMs, 1500);
    ASSERT_EQ(carousel.streamEvents.size(), 1U);
    EXPECT_EQ(carousel.streamEvents[0].path, "a/b");
    EXPECT_EQ(carousel.streamEvents[0].events[0].id, 16383U);
}

TEST(DescriptionReader, GivesStreamsPidsAndTagsOfTheirOwn)
{
    const Service service = serviceOf(R"("components": [{"type": "video"},
        {"type": "audio", "language": "deu"}, {"type": "audio", "language": "eng", "pid": 700}],
        "ait": {}, "carousels": [{"id": 1, "component_tag": 42, "folder": "."}])");
    EXPECT_EQ(service.components[0].pid, 0x110U);
    EXPECT_EQ(service.components[0].componentTag, 1U);
    EXPECT_EQ(service.components[1].pid, 0x111U);
    EXPECT_EQ(service.components[1].componentTag, 2U);
    EXPECT_EQ(service.components[2].pid, 700U);
    EXPECT_EQ(service.applications->pid, 0x101U);
    EXPECT_EQ(service.carousels[0].pid, 0x120U);
    EXPECT_EQ(service.pcrPid, 0x110U) << "the clock is in the first component";
}

TEST(DescriptionReader, ReadsAnApplication)
{
    const Service service = serviceOf(R"("ait": {"version": 5, "applications": [{
        "organisation_id": "0xFFFFFFFF", "application_id": 2, "control_code": "PRESENT",
        "names": [{"text": "Text"}, {"language": "deu", "text": "Teletext"}],
        "profiles": [{"profile": 4, "major": 1, "minor": 1, "micro": 2}],
        "visibility": "none", "priority": 7, "service_bound": false, "usage": "teletext",
        "transports": [{"carousel": 42, "label": 3}, {"http": "http://a.example/"}],
        "initial_path": "text/index.html", "boundaries": ["http://b.example/"]}]},
        "carousels": [{"id": 1, "component_tag": 42, "folder": "."}])");
    ASSERT_EQ(service.applications->applications.size(), 1U);
    const Application& application = service.applications->applications[0];
    EXPECT_EQ(service.applications->version, 5U);
    EXPECT_EQ(application.organisationId, 0xFFFFFFFFU);
    EXPECT_EQ(application.applicationId, 2U);
    EXPECT_EQ(application.controlCode, 2U);
    ASSERT_EQ(application.names.size(), 2U);
    EXPECT_EQ(application.names[0].language, "eng");
    EXPECT_EQ(application.names[1].text, "Teletext");
    ASSERT_EQ(application.profiles.size(), 1U);
    EXPECT_EQ(application.profiles[0].profile, 4U);
    EXPECT_EQ(application.profiles[0].micro, 2U);
    EXPECT_EQ(application.visibility, 0U);
    EXPECT_EQ(application.priority, 7U);
    EXPECT_FALSE(application.serviceBound);
    EXPECT_EQ(application.usage, 1U);
    ASSERT_EQ(application.transports.size(), 2U);
    EXPECT_EQ(application.transports[0].componentTag, 42U);
    EXPECT_EQ(application.transports[0].label, 3U);
    EXPECT_EQ(application.transports[1].urlBase, "http://a.example/");
    EXPECT_EQ(application.initialPath, "text/index.html");
    EXPECT_THAT(application.boundaries, ElementsAre("http://b.example/"));
}

TEST(DescriptionReader, ProgrammesFollowEachOther)
{
    const std::string description = withService(R"("programmes": [
        {"start": "-0:10:00", "duration": "0:30:00", "name": "A"},
        {"duration": "90", "name": "B"},
        {"start": "2026-01-01T13:00:00Z", "duration": "1:00:00", "name": "C"}])");
    const Description read = descriptionOf(description);
    const auto& programmes = read.services[0].programmes;
    ASSERT_EQ(programmes.size(), 3U);
    EXPECT_EQ(programmes[0].start, read.start - 600);
    EXPECT_EQ(programmes[1].start, read.start + 1200);
    EXPECT_EQ(programmes[1].duration, 90);
    EXPECT_EQ(programmes[2].start, read.start + 3600) << "the stream starts at noon";
    EXPECT_EQ(programmes[2].eventId, 3U);
}

TEST(DescriptionReader, StreamEventsCountTheirVersionsUp)
{
    const Service service = serviceOf(R"("event_streams": [{"component_tag": 9, "events": [
        {"time": 1, "id": 1}, {"time": 2.5, "id": 2, "version": 31},
        {"time": 3, "id": 1}, {"time": 4, "id": 2}]}])");
    const auto& events = service.eventStreams[0].events;
    ASSERT_EQ(events.size(), 4U);
    EXPECT_EQ(events[0].version, 0U);
    EXPECT_EQ(events[1].timeMs, 2500);
    EXPECT_EQ(events[2].version, 1U);
    EXPECT_EQ(events[3].version, 0U) << "after 31 comes 0";
}

TEST(DescriptionReader, StreamEventsMayHaveATimeOfTheProgramme)
{
    const Service service = serviceOf(R"("event_streams": [{"component_tag": 9,
        "programme_time": 3600.5, "scheduled": [{"programme_time": 3602, "id": 32768},
        {"programme_time": 3601, "id": 49151, "text": "x"}]}])");
    const EventStream& stream = service.eventStreams[0];
    EXPECT_EQ(stream.programmeTimeMs, 3'600'500);
    ASSERT_EQ(stream.scheduled.size(), 2U);
    EXPECT_EQ(stream.scheduled[0].timeMs, 3'602'000);
    EXPECT_EQ(stream.scheduled[1].id, 49151U);
    EXPECT_EQ(stream.scheduled[1].text, "x");
}

TEST(DescriptionReader, NamesTheLineOfEachProblemOfTheFrame)
{
    const std::pair<std::string, const char*> cases[] = {
        {"{\n\"network\": }", "s.json:2: no JSON: \"\"network\": }\" was not expected"},
        {"{\"network\": {\"name\": \"N\", \"original_network_id\": 1,\n"
         "\"transport_stream_id\": 1},\n\"services\": []}",
         "s.json:3: services: there is no service"},
    };
    for (const auto& [text, problem] : cases)
        EXPECT_THAT(problemsOf(text), ElementsAre(problem)) << text;
    EXPECT_THAT(problemsOf("[]"), ElementsAre("s.json:1: expected an object",
                                              "s.json:1: services: there is no service"));
    EXPECT_THAT(problemsOf("{}"), ElementsAre("s.json:1: network: it is missing",
                                              "s.json:1: services: there is no service"));
}

TEST(DescriptionReader, NamesTheLineOfEachProblemOfAService)
{
    const std::pair<const char*, const char*> cases[] = {
        {"\"nmae\": 1", "s.json:6: services[0].nmae: unknown key"},
        {"\"id\": 1", "s.json:6: services[0].id: it comes twice"},
        {"\"type\":\n\"film\"", "s.json:7: services[0].type: expected one of tv, radio, hd_tv"},
        {"\"type\": 1", "s.json:6: services[0].type: expected one of tv, radio, hd_tv"},
        {"\"provider\": 1", "s.json:6: services[0].provider: expected a text"},
        {"\"schedule\": 1", "s.json:6: services[0].schedule: expected true or false"},
        {"\"pmt_pid\": \"0x1FFF\"",
         "s.json:6: services[0].pmt_pid: expected a whole number from 32 to 8190"},
        {"\"pmt_pid\": 40.5",
         "s.json:6: services[0].pmt_pid: expected a whole number from 32 to 8190"},
        {"\"pmt_pid\": \"0x123456789\"",
         "s.json:6: services[0].pmt_pid: expected a whole number from 32 to 8190"},
        {"\"pcr_pid\": 256",
         "s.json:6: services[0].pcr_pid: the PID is taken by services[0].pmt_pid"},
        {"\"components\": {}", "s.json:6: services[0].components: expected a list"},
        {"\"components\": [\n1]", "s.json:7: services[0].components[0]: expected an object"},
        {"\"components\": [{\"type\": \"audio\"}]",
         "s.json:6: services[0].components[0].language: it is missing"},
        {"\"components\": [{\"type\": \"audio\", \"language\": \"en\"}]",
         "s.json:6: services[0].components[0].language: expected a language of three small "
         "letters, as \"eng\""},
        {"\"components\": [{\"type\": \"video\", \"component_tag\": 7},\n"
         "{\"type\": \"video\", \"component_tag\": 7}]",
         "s.json:7: services[0].components[1].component_tag: another component of the service has "
         "this tag"},
        {"\"carousels\": [{\"id\": 1, \"component_tag\": 1,\n\"folder\": \"nowhere\"}]",
         "s.json:7: services[0].carousels[0].folder: there is no such folder: " VESTA_SAMPLES
         "/nowhere"},
        {"\"carousels\": [{\"id\": 1, \"component_tag\": 1, \"folder\": \".\",\n"
         "\"stream_events\": [{\"path\": \"/a\", \"component_tag\": 1,\n"
         "\"events\": [{\"name\": \"a\", \"id\": 1}]}]}], \"event_streams\": "
         "[{\"component_tag\": 1}]",
         "s.json:7: services[0].carousels[0].stream_events[0].path: expected a path inside the "
         "carousel, as \"events/score\""},
    };
    for (const auto& [keys, problem] : cases)
        EXPECT_THAT(problemsOf(withService(keys)), testing::Contains(problem)) << keys;
}

TEST(DescriptionReader, NamesTheLineOfEachProblemOfAnApplication)
{
    const std::string rest = "\"transports\": [{\"http\": \"http://a.example/\"}],\n"
                             "\"initial_path\": \"i.html\"";
    const auto application = [](const std::string& keys) {
        return withService("\"ait\": {\"applications\": [{\"organisation_id\": 1,\n"
                           "\"application_id\": 1, " +
                           keys + "}]}");
    };
    const std::string at = "services[0].ait.applications[0]";
    const std::pair<std::string, std::string> cases[] = {
        {"\"control_code\": \"START\", " + rest,
         "s.json:7: " + at +
             ".control_code: expected one of AUTOSTART, PRESENT, DESTROY, KILL, PREFETCH, REMOTE, "
             "DISABLED, PLAYBACK_AUTOSTART"},
        {rest, "s.json:6: " + at + ".control_code: it is missing"},
        {"\"control_code\": \"PRESENT\", \"initial_path\": \"\", \"transports\": [{}]",
         "s.json:7: " + at +
             ".transports[0].carousel: a transport has either \"carousel\" or \"http\""},
        {"\"control_code\": \"PRESENT\", \"initial_path\": \"\"",
         "s.json:7: " + at + ".initial_path: expected the path of a page"},
        {"\"control_code\": \"PRESENT\", \"initial_path\": \"i\"",
         "s.json:6: " + at + ".transports: there is no transport"},
        {"\"control_code\": \"PRESENT\", \"initial_path\": \"i\",\n"
         "\"transports\": [{\"http\": \"ftp://a/\"}]",
         "s.json:8: " + at +
             ".transports[0].http: expected a URL that begins with http:// or https:// and ends "
             "in /"},
        {"\"control_code\": \"PRESENT\", \"initial_path\": \"i\",\n"
         "\"transports\": [{\"carousel\": 42}]",
         "s.json:6: " + at + ": the service has no carousel with component tag 42"},
        {"\"control_code\": \"PRESENT\", \"boundaries\": [\n3], " + rest,
         "s.json:8: " + at + ".boundaries[0]: expected the beginning of a URL"},
    };
    for (const auto& [keys, problem] : cases)
        EXPECT_THAT(problemsOf(application(keys)), testing::Contains(problem)) << keys;
}

TEST(DescriptionReader, NamesTheLineOfEachProblemOfTimes)
{
    const std::pair<const char*, const char*> cases[] = {
        {"\"programmes\": [{\"name\": \"A\", \"duration\": \"soon\"}]",
         "s.json:6: services[0].programmes[0].duration: expected a duration as \"0:45:00\", of "
         "less than 100 hours"},
        {"\"programmes\": [{\"name\": \"A\", \"duration\": \"1\", \"start\": "
         "\"2026-02-29T00:00:00Z\"}]",
         "s.json:6: services[0].programmes[0].start: expected a time as "
         "\"2026-03-14T20:15:00Z\" or \"+0:15:00\""},
        {"\"programmes\": [{\"name\": \"A\", \"duration\": \"60:00\"},\n"
         "{\"name\": \"B\", \"duration\": \"1\", \"start\": \"+0:59:59\"}]",
         "s.json:7: services[0].programmes[1].start: the programme before it has not ended then"},
        {"\"event_streams\": [{\"component_tag\": 1, \"events\": [{\"time\": 29.1, \"id\": 1}]}]",
         "s.json:6: services[0].event_streams[0].events[0].time: expected a number of seconds from "
         "0 to 29"},
        {"\"event_streams\": [{\"component_tag\": 1, \"events\": [{\"time\": 3, \"id\": 1},\n"
         "{\"time\": 2, \"id\": 1}]}]",
         "s.json:7: services[0].event_streams[0].events[1].time: it comes before the one above it"},
        {"\"event_streams\": [{\"component_tag\": 1, \"events\": [{\"time\": 3, \"id\": 1},\n"
         "{\"time\": 4, \"id\": 1, \"version\": 0}]}]",
         "s.json:7: services[0].event_streams[0].events[1].version: the event before it has this "
         "version, so nobody hears of it"},
    };
    for (const auto& [keys, problem] : cases)
        EXPECT_THAT(problemsOf(withService(keys)), ElementsAre(problem)) << keys;
}

TEST(DescriptionReader, AnswersForTwoServicesWithOnePid)
{
    const std::string text = "{\"network\": {\"name\": \"N\", \"original_network_id\": 1,\n"
                             "\"transport_stream_id\": 1},\n\"services\": [\n"
                             "{\"id\": 1, \"name\": \"A\"},\n"
                             "{\"id\": 2, \"name\": \"B\", \"pmt_pid\": 256},\n"
                             "{\"id\": 1, \"name\": \"C\"}]}";
    EXPECT_THAT(problemsOf(text),
                ElementsAre("s.json:5: services[1].pmt_pid: the PID is taken by "
                            "services[0].pmt_pid",
                            "s.json:6: services[2].id: another service has this id"));
}

TEST(DescriptionReader, TakesEveryBeginningOfADescription)
{
    const std::string text =
        withService("\"programmes\": [{\"name\": \"A\", \"duration\": \"1\"}]");
    for (size_t size = 0; size < text.size() - 2; ++size)
        EXPECT_EQ(problemsOf(text.substr(0, size)).size(), 1U) << text.substr(0, size);
    EXPECT_THAT(problemsOf(text), IsEmpty());
}

TEST(DescriptionReader, RefusesListsWithinListsWithoutEnd)
{
    EXPECT_THAT(problemsOf(std::string(100'000, '[')),
                ElementsAre("s.json:1: more than 64 levels"));
}

}  // namespace

}  // namespace station
