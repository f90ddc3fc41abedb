#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "station/program.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

namespace fs = std::filesystem;

class Program : public testing::Test {
protected:
    Program()
        : folder_(fs::path(testing::TempDir()) /
                  ("station-" + std::to_string(::getpid()) + "-" +
                   std::string(testing::UnitTest::GetInstance()->current_test_info()->name())))
    {
        fs::remove_all(folder_);
        fs::create_directories(folder_ / "files");
        write("files/index.html", "<html/>");
    }
    ~Program() override { fs::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }

    void write(const std::string& name, const std::string& text) const
    {
        std::ofstream(folder_ / name, std::ios::binary) << text;
    }

    std::string read(const std::string& name) const
    {
        std::ifstream file(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    int call(const std::vector<std::string>& arguments)
    {
        std::ostringstream output, errors;
        const int code = run(arguments, output, errors);
        output_ = output.str();
        errors_ = errors.str();
        return code;
    }

    const fs::path folder_;
    std::string output_;
    std::string errors_;
};

const std::string carousel = R"("carousels": [{"id": 1, "component_tag": 42, "folder": "files"}])";

TEST_F(Program, MakesTheSameStreamOfTheSameDescription)
{
    write("s.json", withService(carousel));
    EXPECT_EQ(call({"make", path("s.json"), path("a.ts")}), exitSuccess) << errors_;
    EXPECT_EQ(call({"make", path("s.json"), path("b.ts")}), exitSuccess) << errors_;
    EXPECT_EQ(errors_, "");
    const std::string stream = read("a.ts");
    EXPECT_EQ(stream.size(), 2'000'000U * 30 / 1504 * 188);
    EXPECT_TRUE(stream == read("b.ts"));
    EXPECT_NE(output_.find("carousel 1 of One: 1 file in 2 modules, a cycle takes 0.0 s"),
              std::string::npos)
        << output_;
}

TEST_F(Program, TheStreamMayStartAtAnotherTimeThanTheDescriptionSays)
{
    const std::string programmes =
        R"("programmes": [{"start": "-0:10:00", "duration": "1:00:00", "name": "A"}])";
    const std::string described = withService(programmes);
    write("now.json", described);
    write("then.json", "{\"stream\": {\"start\": \"2030-02-03T04:05:06Z\"}," + described.substr(1));
    const std::string now = path("now.json"), then = path("then.json");
    EXPECT_EQ(call({"make", "--start", "2030-02-03T04:05:06Z", now, path("a.ts")}), exitSuccess);
    EXPECT_EQ(call({"make", then, path("b.ts")}), exitSuccess) << errors_;
    EXPECT_EQ(call({"make", now, path("c.ts")}), exitSuccess);
    EXPECT_EQ(call({"make", "--start", "now", now, path("d.ts")}), exitSuccess) << errors_;
    EXPECT_TRUE(read("a.ts") == read("b.ts")) << "the programmes' times are counted from there";
    EXPECT_FALSE(read("a.ts") == read("c.ts"));
    EXPECT_FALSE(read("d.ts") == read("c.ts"));
    EXPECT_EQ(call({"check", "--start", "now", now}), exitSuccess);
    EXPECT_EQ(call({"check", "--start", "soon", now}), exitUsage);
    EXPECT_EQ(errors_, "vesta_station: --start: expected \"now\" or a time as "
                       "\"2026-03-14T20:15:00Z\"\n");
}

TEST_F(Program, ChecksWithoutWriting)
{
    write("s.json", withService(carousel));
    EXPECT_EQ(call({"check", path("s.json")}), exitSuccess) << errors_;
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()), 2);
}

TEST_F(Program, SaysFileAndLineAndKeepsTheStreamThatIsThere)
{
    write("s.json", withService("\"speed\": 1"));
    write("a.ts", "old");
    EXPECT_EQ(call({"make", path("s.json"), path("a.ts")}), exitUsage);
    EXPECT_EQ(errors_, path("s.json") + ":6: services[0].speed: unknown key\n");
    EXPECT_EQ(output_, "");
    EXPECT_EQ(read("a.ts"), "old");
    EXPECT_FALSE(fs::exists(path("a.ts.part")));
}

TEST_F(Program, SaysWhatDoesNotFit)
{
    write("s.json",
          withService("\"ait\": {\"applications\": [\n{\"organisation_id\": 1, "
                      "\"application_id\": 1, \"control_code\": \"PRESENT\", "
                      "\"transports\": [{\"http\": \"http://a/\"}], \"initial_path\": \"" +
                      std::string(256, 'p') + "\"}]}"));
    EXPECT_EQ(call({"check", path("s.json")}), exitUsage);
    EXPECT_EQ(errors_, path("s.json") + ":6: services[0].ait: it does not fit: 256 "
                                        "where 255 are the most\n");
}

TEST_F(Program, WantsABitrateThatCarriesTheTables)
{
    std::string services;
    for (int id = 1; id <= 8; ++id)
        services +=
            (id == 1 ? "" : ",") + ("{\"id\": " + std::to_string(id)) + ", \"name\": \"n\"}";
    write("s.json", "{\"network\": {\"name\": \"N\", \"original_network_id\": 1, "
                    "\"transport_stream_id\": 1},\n\"stream\": {\"bitrate\": 100000},\n"
                    "\"services\": [" +
                        services + "]}");
    EXPECT_EQ(call({"check", path("s.json")}), exitUsage);
    EXPECT_EQ(errors_.find(path("s.json") +
                           ":2: stream: a bitrate of 100000 bit/s is too low: tables and clocks"),
              0U)
        << errors_;
}

TEST_F(Program, WantsACarouselThatComesRound)
{
    write("s.json", withService(carousel + ", \"type\": \"tv\""));
    write("files/noise", noise(8'000'000));
    EXPECT_EQ(call({"check", path("s.json")}), exitUsage);
    EXPECT_EQ(errors_, path("s.json") +
                           ":6: services[0].carousels[0]: carousel 1 of One does not come round "
                           "once: the stream needs a longer duration or a higher bitrate\n");
}

TEST_F(Program, AFileIsNoStreamEvent)
{
    write("s.json", withService(R"("event_streams": [{"component_tag": 43}],
        "carousels": [{"id": 1, "component_tag": 42, "folder": "files",
        "stream_events": [{"path": "index.html", "component_tag": 43,
                           "events": [{"name": "a", "id": 1}]}]}])"));
    EXPECT_EQ(call({"check", path("s.json")}), exitUsage);
    EXPECT_NE(errors_.find("a file has the name of the stream events \"index.html\""),
              std::string::npos)
        << errors_;
}

TEST_F(Program, WantsNoMoreServicesThanATableHolds)
{
    std::string services;
    for (int id = 1; id <= 300; ++id)
        services +=
            (id == 1 ? "\n" : ",\n") + ("{\"id\": " + std::to_string(id)) + ", \"name\": \"n\"}";
    write("s.json", "{\"network\": {\"name\": \"N\", \"original_network_id\": 1, "
                    "\"transport_stream_id\": 1},\n\"stream\": {\"bitrate\": 50000000},\n"
                    "\"services\": [" +
                        services + "]}");
    EXPECT_EQ(call({"check", path("s.json")}), exitUsage);
    EXPECT_EQ(errors_, path("s.json") +
                           ":3: services: it does not fit: 1216 where 1024 are the "
                           "most\n" +
                           path("s.json") +
                           ":3: services: it does not fit: 900 where 255 are the "
                           "most\n");
}

TEST_F(Program, WantsFilesAndFoldersAndNothingElse)
{
    write("s.json", withService(carousel));
    fs::create_directory_symlink(folder_ / "files", folder_ / "files" / "round");
    EXPECT_EQ(call({"check", path("s.json")}), exitUsage);
    EXPECT_EQ(errors_, path("s.json") + ":6: services[0].carousels[0]: " + path("files/round") +
                           ": is neither a file nor a folder\n");
}

TEST_F(Program, FilesThatCannotBeReadOrWritten)
{
    EXPECT_EQ(call({"check", path("nothing.json")}), exitUnreadable);
    EXPECT_EQ(errors_, "vesta_station: " + path("nothing.json") + ": cannot be read\n");
    EXPECT_EQ(call({"check", path("files")}), exitUnreadable);
    write("s.json", withService(""));
    EXPECT_EQ(call({"make", path("s.json"), path("nowhere/a.ts")}), exitUnreadable);
    EXPECT_EQ(call({"make", path("s.json"), path("files")}), exitUnreadable);
    EXPECT_EQ(errors_, "vesta_station: " + path("files") + ": cannot be written\n");
}

TEST_F(Program, ExplainsItself)
{
    EXPECT_EQ(call({"--help"}), exitSuccess);
    EXPECT_EQ(output_.find("usage: vesta_station make [--start TIME] DESCRIPTION STREAM"), 0U);
    EXPECT_EQ(call({"--version"}), exitSuccess);
    EXPECT_EQ(output_.find("vesta_station "), 0U);
    for (const std::vector<std::string>& wrong : {std::vector<std::string>{},
                                                  {"make"},
                                                  {"make", "a"},
                                                  {"make", "--start", "now", "a"},
                                                  {"check", "--start", "now"},
                                                  {"check"},
                                                  {"check", "a", "b"},
                                                  {"play", "a"},
                                                  {"--help", "a"}}) {
        EXPECT_EQ(call(wrong), exitUsage);
        EXPECT_EQ(errors_.find("usage:"), 0U);
        EXPECT_EQ(output_, "");
    }
}

}  // namespace

}  // namespace station
