// What the station makes, the receiver gets: the stream is played, and compared with its
// description.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "station/program.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

std::string contentOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Every file of a folder by its path.
std::map<std::string, std::string> filesOf(const fs::path& folder)
{
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file())
            files[fs::relative(entry.path(), folder).generic_string()] = contentOf(entry.path());
    }
    return files;
}

class ReceivedStream : public testing::Test {
protected:
    ReceivedStream()
        : folder_(fs::path(testing::TempDir()) /
                  ("received-" + std::to_string(::getpid()) + "-" +
                   std::string(testing::UnitTest::GetInstance()->current_test_info()->name())))
    {
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    ~ReceivedStream() override { fs::remove_all(folder_); }

    void write(const std::string& name, const std::string& text) const
    {
        fs::create_directories((folder_ / name).parent_path());
        std::ofstream(folder_ / name, std::ios::binary) << text;
    }

    void make(const fs::path& description) const
    {
        std::ostringstream output, errors;
        ASSERT_EQ(run({"make", description.string(), (folder_ / "s.ts").string()}, output, errors),
                  exitSuccess)
            << errors.str();
    }

    /// Plays the stream with a script. @return its trace, a JSON object a line
    std::vector<json> play(const std::string& script, const std::string& options = "") const
    {
        write("script", script);
        const auto path = [this](const char* name) { return (folder_ / name).string(); };
        const std::string command = std::string(VESTA_RECEIVER_PROGRAM) + " --script " +
                                    path("script") + " --trace " + path("trace") + " --extract " +
                                    path("extracted") + " " + options + " " + path("s.ts") + " >" +
                                    path("output") + " 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << contentOf(folder_ / "output");
        std::vector<json> trace;
        std::ifstream file(folder_ / "trace");
        for (std::string line; std::getline(file, line);)
            trace.push_back(json::parse(line));
        return trace;
    }

    std::string output() const { return contentOf(folder_ / "output"); }

    const fs::path folder_;
};

/// The details of all events of this name.
std::vector<json> detailsOf(const std::vector<json>& trace, const std::string& event)
{
    std::vector<json> details;
    for (const json& line : trace) {
        if (line.at("event") == event)
            details.push_back(line.value("details", json::object()));
    }
    return details;
}

std::vector<std::string> eventsOf(const std::vector<json>& trace)
{
    std::vector<std::string> events;
    for (const json& line : trace)
        events.push_back(line.at("event"));
    return events;
}

TEST_F(ReceivedStream, HasServicesApplicationsAndFilesAsDescribed)
{
    write("files/index.html", "<html xmlns=\"http://www.w3.org/1999/xhtml\"/>");
    write("files/a/deep/er/style.css", std::string(20'000, ' '));
    write("files/noise.bin", noise(300'000));
    write("files/empty", "");
    write("files/Gr\xC3\xBC\xC3\x9F"
          "e.txt",
          "hello");
    write("s.json", R"({
        "network": {"name": "N", "original_network_id": "0x20FA", "transport_stream_id": "0x441"},
        "stream": {"duration": 10},
        "services": [
          {"id": 258, "name": "Eins \u00e4", "components": [{"type": "video"}],
           "ait": {"version": 3, "applications": [
             {"organisation_id": 10, "application_id": 1, "control_code": "AUTOSTART",
              "names": [{"text": "Caf\u00e9"}], "transports": [{"carousel": 42},
              {"http": "http://a.example/"}], "initial_path": "index.html?a=b"},
             {"organisation_id": 10, "application_id": 2, "control_code": "PRESENT",
              "transports": [{"http": "http://b.example/"}], "initial_path": "b.html"}]},
           "carousels": [{"id": 7, "component_tag": 42, "folder": "files",
             "stream_events": [{"path": "events/score", "component_tag": 43,
               "events": [{"name": "goal", "id": 1}, {"name": "end", "id": 2}]}]}],
           "event_streams": [{"component_tag": 43, "events": [{"time": 1, "id": 1}]}]},
          {"id": 3, "name": "Zwei", "type": "radio"}]})");
    make(folder_ / "s.json");
    const auto trace = play("wait running a.1\nwait end within 60\nservices\nstatus\n");

    const auto services = detailsOf(trace, "service");
    EXPECT_THAT(services, Contains(json{{"service", 258}, {"name", "Eins \xC3\xA4"}}));
    EXPECT_THAT(services, Contains(json{{"service", 3}, {"name", "Zwei"}}));
    const auto applications = detailsOf(trace, "ait-application");
    ASSERT_EQ(applications.size(), 2U);
    EXPECT_EQ(applications[0].at("application"), "a.1");
    EXPECT_EQ(applications[0].at("control_code"), 1);
    EXPECT_EQ(applications[0].at("name"), "Caf\xC3\xA9");
    EXPECT_EQ(applications[0].at("urls"),
              (json{"dvb://20fa.441.102.2a/index.html?a=b", "http://a.example/index.html?a=b"}));
    EXPECT_EQ(applications[1].at("application"), "a.2");
    EXPECT_EQ(applications[1].at("control_code"), 2);
    ASSERT_EQ(detailsOf(trace, "ait").size(), 1U);
    EXPECT_EQ(detailsOf(trace, "ait")[0].at("version"), 3);
    EXPECT_THAT(output(), HasSubstr("events/score (2)"));
    EXPECT_THAT(output(), HasSubstr(" 0 gaps, 0 damaged and 0 scrambled packets, 0 damaged "
                                    "sections, 0 losses of sync (0 bytes skipped)"));
    EXPECT_EQ(filesOf(folder_ / "extracted" / "2a"), filesOf(folder_ / "files"));
}

TEST_F(ReceivedStream, NeitherPackingNorManyModulesChangeAFile)
{
    for (int i = 0; i < 250; ++i)
        write("files/" + std::to_string(i % 7) + "/" + std::to_string(i) + ".txt",
              std::string(1000, static_cast<char>('a' + i % 26)));
    for (const char* const packing : {"true", "false"}) {
        write("s.json", withService(R"("ait": {}, "carousels": [{"id": 7, "component_tag": 42,
            "folder": "files", "module_size": 1024, "content_types": false, "compress": )" +
                                    std::string(packing) + "}]"));
        make(folder_ / "s.json");
        fs::remove_all(folder_ / "extracted");
        play("wait end within 60\n");
        EXPECT_EQ(filesOf(folder_ / "extracted" / "2a"), filesOf(folder_ / "files")) << packing;
    }
}

TEST_F(ReceivedStream, PlaysInALoopWithoutGaps)
{
    write("files/index.html", "<html xmlns=\"http://www.w3.org/1999/xhtml\"/>");
    write("s.json", withService(R"("ait": {}, "carousels": [{"id": 7, "component_tag": 42,
        "folder": "files"}])"));
    make(folder_ / "s.json");
    const std::string once = contentOf(folder_ / "s.ts");
    std::ofstream(folder_ / "s.ts", std::ios::binary) << once << once << once;
    const auto trace = play("wait end within 60\nstatus\n");
    EXPECT_THAT(output(), HasSubstr(" 0 gaps, 0 damaged and 0 scrambled packets, 0 damaged "
                                    "sections, 0 losses of sync (0 bytes skipped)"));
    EXPECT_THAT(eventsOf(trace), testing::Not(Contains("ait-problem")));
}

TEST_F(ReceivedStream, EventsHappenAtTheirTimesOfTheProgramme)
{
    write("files/index.html", "<html xmlns=\"http://www.w3.org/1999/xhtml\"/>");
    write("s.json", withService(R"("ait": {"applications": [{"organisation_id": 10,
        "application_id": 1, "control_code": "AUTOSTART", "transports": [{"carousel": 42}],
        "initial_path": "index.html"}]}, "carousels": [{"id": 7, "component_tag": 42,
        "folder": "files", "stream_events": [{"path": "score", "component_tag": 43, "events": [
          {"name": "late", "id": 32769}, {"name": "soon", "id": 32770},
          {"name": "past", "id": 32771}]}]}],
        "event_streams": [{"component_tag": 43, "programme_time": 50000, "scheduled": [
          {"programme_time": 50009, "id": 32769, "text": "at nine"},
          {"programme_time": 50006, "id": 32770, "text": "at six"},
          {"programme_time": 49999, "id": 32771, "text": "before"}]}])"));
    make(folder_ / "s.json");
    const auto trace = play("wait running a.1\nwait loaded\nsubscribe score late\n"
                            "subscribe score soon\nsubscribe score past\nwait end within 60\n");
    std::vector<std::string> happened;
    for (const json& event : detailsOf(trace, "stream-event"))
        happened.push_back(event.at("name"));
    EXPECT_THAT(happened, ElementsAre("soon", "late")) << output();
}

TEST_F(ReceivedStream, TheSampleRunsItsApplications)
{
    const fs::path sample = fs::path(VESTA_SAMPLES) / "vesta-one";
    make(sample / "station.json");
    const auto trace = play("wait running 7e57.1\nwait loaded\nshow\n"
                            "create dvb://current.ait/7e57.2\nwait running 7e57.2\nwait loaded\n"
                            "create http://vesta.example/portal/index.html\n"
                            "wait loaded http://vesta.example/portal/index.html\n"
                            "zap 2\nwait running 7e57.1\nwait loaded\nwait end within 60\n",
                            "--site http://vesta.example/=" + (sample / "site").string());
    std::vector<std::string> pages;
    for (const json& start : detailsOf(trace, "start"))
        pages.push_back(start.at("url"));
    EXPECT_THAT(pages, ElementsAre("dvb://20fa.441.1.2a/launcher/index.html",
                                   "dvb://20fa.441.1.2a/text/index.html",
                                   "http://vesta.example/portal/index.html",
                                   "dvb://20fa.441.2.2a/launcher/index.html"));
    EXPECT_THAT(eventsOf(trace), testing::Not(Contains("load-failed")));
    EXPECT_EQ(filesOf(folder_ / "extracted" / "2a"), filesOf(sample / "carousel"));
}

}  // namespace

}  // namespace station
