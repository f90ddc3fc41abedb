// Where records go, what is left out of them, how they end, and what crashes leave.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <poll.h>
#include <regex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "tests/recorder/recorded_run.h"

using namespace vesta::test;
using testing::Contains;
using testing::ContainsRegex;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

size_t countOf(const std::vector<std::string>& lines, const std::string& text)
{
    size_t count = 0;
    for (const std::string& line : lines)
        count += line.find(text) != std::string::npos;
    return count;
}

/// Whether calls end in the reverse order of their beginnings, and the integrator's stand where it
/// can make them: outside of all others, or inside of one of the library's.
void expectProperNesting(const std::vector<std::string>& lines)
{
    const std::regex call("^[{]\"n\":([0-9]+),.*\"(in|out)\":\"");
    const std::regex end("^[{]\"end\":([0-9]+),");
    std::vector<std::pair<std::string, std::string>> open;
    for (const std::string& line : lines) {
        std::smatch match;
        if (std::regex_search(line, match, call)) {
            const bool isIn = match[2] == "in";
            EXPECT_EQ(isIn, open.empty() || open.back().second == "out") << line;
            open.emplace_back(match[1], match[2]);
        } else if (std::regex_search(line, match, end)) {
            ASSERT_FALSE(open.empty()) << line;
            ASSERT_EQ(open.back().first, match[1]) << line;
            open.pop_back();
        }
    }
    EXPECT_THAT(open, IsEmpty());
}

/// What the recorder says, and that it says it once.
void expectOneComplaint(const ProgramResult& result, const std::string& expected)
{
    EXPECT_THAT(result.complaints, HasSubstr(expected));
    EXPECT_EQ(result.complaints.find('\n'), result.complaints.size() - 1) << result.complaints;
}

}  // namespace

TEST(Recording, WritesNothingWithoutAFile)
{
    const TemporaryFolder folder;
    EXPECT_EQ(runProgram("lazy", "calls-back", {{"VESTA_RECORD", ""}}).complaints, "");
    EXPECT_EQ(runProgram("linked", "calls-back").complaints, "");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Recording, BeginsItsFileWhenTheLibraryIsCalled)
{
    const TemporaryFolder folder;
    runProgram("lazy", "nothing", {{"VESTA_RECORD", folder / "record"}});
    EXPECT_FALSE(std::filesystem::exists(folder / "record"));
    writeLines(folder / "record", {"what was there before"});
    runProgram("lazy", "ticks", {{"VESTA_RECORD", folder / "record"}});
    EXPECT_THAT(linesOf(folder / "record").front(),
                ContainsRegex("^[{]\"vesta_recording\":1,\"pointer_bits\":(32|64),\"started\":"
                              "\"2[0-9]{3}-[0-9]{2}-[0-9]{2}T[0-9:]{8}Z\",\"left_out\":\\[\\]}$"));
}

TEST(Recording, PutsTheNumberOfTheProcessIntoItsName)
{
    const TemporaryFolder folder;
    runProgram("lazy", "ticks", {{"VESTA_RECORD", folder / "%p-%p.vesta"}});
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        names.push_back(entry.path().filename().string());
    ASSERT_EQ(names.size(), 1u);
    int first = 0;
    int second = 0;
    ASSERT_EQ(std::sscanf(names.front().c_str(), "%d-%d.vesta", &first, &second), 2);
    EXPECT_GT(first, 1);
    EXPECT_EQ(first, second);
}

TEST(Recording, HasTimesThatGoOnAlongTheLinesOfAThread)
{
    const TemporaryFolder folder;
    runProgram("lazy", "everything", {{"VESTA_RECORD", folder / "record"}});
    long long latest = 0;
    for (const std::string& line : linesOf(folder / "record")) {
        const size_t place = line.find("\"at\":");
        if (place == std::string::npos)
            continue;
        const long long at = std::stoll(line.substr(place + 5));
        EXPECT_GE(at, latest) << line;
        latest = at;
    }
    EXPECT_GT(latest, 0);
}

TEST(Recording, CountsTheTicksAtItsEnd)
{
    EXPECT_EQ(recordOf("lazy", "ticks").back(), "{\"idle\":25}");
}

TEST(Recording, OfAProgramThatCrashesReachesUpToTheCall)
{
    for (const std::string& way : ways) {
        const TemporaryFolder folder;
        const ProgramResult result =
            runProgram(way, "crashes", {{"VESTA_RECORD", folder / "record"}});
        EXPECT_NE(result.exitCode, 0) << way;
        const std::vector<std::string> lines = linesOf(folder / "record");
        ASSERT_GT(lines.size(), 2u);
        EXPECT_THAT(lines.back(), HasSubstr("HBBTV_NOTIFICATION_START_APPLICATION")) << way;
        EXPECT_EQ(lines.back().back(), '}') << way;
    }
}

TEST(Recording, OfALibraryThatCrashesReachesIntoTheTick)
{
    for (const std::string& way : ways) {
        const TemporaryFolder folder;
        const ProgramResult result =
            runProgram(way, "crashes-inside-the-library", {{"VESTA_RECORD", folder / "record"}});
        EXPECT_NE(result.exitCode, 0) << way;
        const std::vector<std::string> lines = linesOf(folder / "record");
        ASSERT_GT(lines.size(), 2u);
        EXPECT_THAT(lines[lines.size() - 3], HasSubstr("E_DSMCC_FILE_READY")) << way;
        EXPECT_THAT(lines.back(), HasSubstr("\"in\":\"vesta_hbbtv_tick\"")) << way;
    }
}

TEST(Recording, SaysOnceThatItCannotBeginAndLetsTheProgramLive)
{
    const TemporaryFolder folder;
    for (const std::string& way : ways) {
        const ProgramResult result =
            runProgram(way, "everything", {{"VESTA_RECORD", folder / "no/folder/record"}});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.output, runProgram(way, "everything").output);
        expectOneComplaint(result,
                           "no/folder/record cannot be written (No such file or directory)");
    }
}

TEST(Recording, SaysOnceThatItCannotGoOnAndLetsTheProgramLive)
{
    const ProgramResult result = runProgram("lazy", "everything", {{"VESTA_RECORD", "/dev/full"}});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, runProgram("lazy", "everything").output);
    expectOneComplaint(result, "/dev/full cannot be written any further (No space left on device)");
}

TEST(Recording, SaysWhatItExpectsOfItsVariables)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    expectOneComplaint(
        runProgram("lazy", "ticks", {{"VESTA_RECORD", record}, {"VESTA_RECORD_LIMIT", "1T"}}),
        "VESTA_RECORD_LIMIT is \"1T\", where a number of bytes is expected");
    expectOneComplaint(
        runProgram("lazy", "ticks", {{"VESTA_RECORD", record}, {"VESTA_RECORD_LEAVE_OUT", "urls"}}),
        "VESTA_RECORD_LEAVE_OUT is \"urls\", where bodies, queries");
    EXPECT_FALSE(std::filesystem::exists(record));
}

TEST(Recording, LeavesOutQueriesAndFragments)
{
    const std::vector<std::string> whole = recordOf("lazy", "everything");
    const std::vector<std::string> lines =
        recordOf("lazy", "everything", {{"VESTA_RECORD_LEAVE_OUT", "queries"}});
    EXPECT_THAT(lines.front(), HasSubstr("\"left_out\":[\"queries\"]"));
    EXPECT_EQ(lines.size(), whole.size());
    for (const char* const part : {"?user=me\"", "?c=d", "#e", "?token=1"}) {
        EXPECT_GT(countOf(whole, part), 0u) << part;
        EXPECT_EQ(countOf(lines, part), 0u) << part;
    }
    // The same query has the same number wherever it stands.
    EXPECT_EQ(countOf(lines, "index.html?~1\""), countOf(whole, "index.html?user=me\""));
    EXPECT_EQ(countOf(lines, "child.html?~4\""), countOf(whole, "child.html?token=1\""));
    EXPECT_EQ(countOf(lines, "b?~2#~3\""), 1u);
}

TEST(Recording, HasNoSecretsOfUrlsWhereQueriesAreLeftOut)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    const std::string beginning = folder / "beginning";
    const std::map<std::string, std::string> leaveOut = {{"VESTA_RECORD_LEAVE_OUT", "queries"}};
    std::map<std::string, std::string> variables = leaveOut;
    variables["VESTA_RECORD"] = record;
    runProgram("lazy", "secrets", variables);
    // And once more with a part that begins at the end.
    const auto size = std::filesystem::file_size(record);
    variables = leaveOut;
    variables["VESTA_RECORD"] = beginning;
    variables["VESTA_RECORD_LIMIT"] = std::to_string(size * 3 / 2);
    EXPECT_EQ(runProgram("lazy", "secrets", variables).complaints, "");
    EXPECT_EQ(countOf(linesOf(beginning), "\"state\":\"end\""), 1u);
    EXPECT_EQ(countOf(linesOf(beginning), "E_USER_AGENT_INFO"), 1u);

    EXPECT_GT(countOf(recordOf("lazy", "secrets"), "s3cret"), 30u);
    for (const std::string& path : {record, beginning, beginning + ".before"}) {
        const std::vector<std::string> lines = linesOf(path);
        EXPECT_GT(lines.size(), 5u) << path;
        for (const std::string& line : lines)
            EXPECT_THAT(line, Not(HasSubstr("s3cret")));
    }
    // What stays on purpose: everything else of URLs and texts, sections, and XML documents.
    const std::vector<std::string> lines = linesOf(record);
    for (const char* const shown : {"shown-path;shown-parameter?~", "shown-name of http://~",
                                    "shown-1 https", "shown-9 https", "shown-text (http://~"})
        EXPECT_GT(countOf(lines, shown), 0u) << shown;
    const std::string inHexadecimalDigits = "733363726574";
    EXPECT_EQ(countOf(lines, inHexadecimalDigits), 1u);
#ifdef VESTA_HAS_KIT
    const std::string inBase64 = "czNjcmV0";
    EXPECT_EQ(countOf(lines, inBase64), 1u);
#endif
}

TEST(Recording, LeavesOutTheBytesOfCarouselFiles)
{
    const std::vector<std::string> whole = recordOf("lazy", "files");
    const std::vector<std::string> lines =
        recordOf("lazy", "files", {{"VESTA_RECORD_LEAVE_OUT", "queries,bodies"}});
    EXPECT_THAT(lines.front(), HasSubstr("\"left_out\":[\"bodies\",\"queries\"]"));
    EXPECT_EQ(lines.size(), whole.size());
    EXPECT_EQ(countOf(lines, "base64"), 0u);
    EXPECT_THAT(lines, Contains("{\"body\":\"cd0f337ab3e6f7b4f9a40b8278670d102c8101075f064e9960dd29"
                                "729702712e\",\"length\":256}"));
    EXPECT_EQ(countOf(lines, "\"bytes\":"), countOf(whole, "\"bytes\":"));
}

TEST(Recording, HasEachBodyOnceHoweverOftenItIsRead)
{
    const std::vector<std::string> lines = recordOf("lazy", "files");
    EXPECT_EQ(countOf(lines, "{\"body\":"), 3u);
    EXPECT_EQ(countOf(lines, "ve_protocol_write"), 4u);
}

TEST(Recording, SaysThatACallWasLeftByAnException)
{
    const std::vector<std::string> lines = recordOf("lazy", "throws");
    EXPECT_EQ(countOf(lines, "\"threw\":true"), 1u);
    EXPECT_EQ(countOf(lines, "\"n\":"), countOf(lines, "\"end\":"));
}

TEST(Recording, HasPluginListenersThatTheProgramWroteIntoTheVariables)
{
    const std::vector<std::string> lines = recordOf("no_pie", "everything");
    EXPECT_EQ(countOf(lines, "SetAppDestroyedListener\",\"with\":{\"listener\":\"plugin:2\"}"), 1u);
    EXPECT_EQ(countOf(lines, "ManagerSetListener\",\"with\":{\"listener\":\"plugin:1\"}"), 1u);
    EXPECT_EQ(countOf(lines, "ManagerSetListener\",\"with\":{\"listener\":null}"), 1u);
}

TEST(Recording, OfMoreListenersThanItHasPlacesForHasTheFirstOnes)
{
    const TemporaryFolder folder;
    const ProgramResult result =
        runProgram("lazy", "many-listeners", {{"VESTA_RECORD", folder / "record"}});
    EXPECT_EQ(result.output, runProgram("lazy", "many-listeners").output);
    expectOneComplaint(result, "there are more than 64 listeners");
    const std::vector<std::string> lines = linesOf(folder / "record");
    EXPECT_EQ(countOf(lines, "vesta_hbbtv_add_notification_listener"), 66u);
    EXPECT_EQ(countOf(lines, "HBBTV_NOTIFICATION_GET_FREE_MEMORY"), 64u);
}

TEST(Recording, WakesUpWhoWaitsForAnotherThread)
{
    for (const std::string& way : ways) {
        const TemporaryFolder folder;
        const ProgramResult result =
            runProgram(way, "waits", {{"VESTA_RECORD", folder / "record"}});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_THAT(result.output, HasSubstr("woken")) << way;
    }
}

TEST(Recording, HasEveryEventOfManyThreadsOnceAndInTheOrderInWhichItWasRun)
{
    const TemporaryFolder folder;
    const ProgramResult result =
        runProgram("linked", "many-threads", {{"VESTA_RECORD", folder / "record"}});
    EXPECT_EQ(result.exitCode, 0) << result.complaints;
    const std::vector<std::string> lines = linesOf(folder / "record");
    EXPECT_EQ(countOf(lines, "E_DSMCC_STREAM_EVENT"), 800u);
    EXPECT_EQ(countOf(lines, "HBBTV_StreamEventCallback"), 800u);
    for (const char* const thread :
         {"\"thread\":2,", "\"thread\":3,", "\"thread\":4,", "\"thread\":5,"})
        EXPECT_EQ(countOf(lines, thread), 200u) << thread;
}

TEST(Recording, NestsWhateverThreadsSendWhereThereIsNoQueue)
{
    const TemporaryFolder folder;
    const ProgramResult result =
        runProgram("linked", "many-to-nobody", {{"VESTA_RECORD", folder / "record"}});
    EXPECT_EQ(result.exitCode, 0) << result.complaints;
    const std::vector<std::string> lines = linesOf(folder / "record");
    EXPECT_EQ(countOf(lines, "E_LOW_MEMORY"), 800u);
    EXPECT_GT(countOf(lines, "\"in\":\"native_AppPrivateDataGetFreeMem\""), 1u);
    expectProperNesting(lines);
}

TEST(Recording, KeepsNoSenderWaitingForTheDisk)
{
    const TemporaryFolder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const ProgramResult result = runProgram("linked", "record-waits", {{"VESTA_RECORD", pipe}});
    EXPECT_EQ(result.exitCode, 0) << result.complaints;
    EXPECT_THAT(result.output, HasSubstr("over"));
}

TEST(Recording, LetsChildrenLiveThatBeginWhileThreadsSend)
{
    const TemporaryFolder folder;
    const ProgramResult result =
        runProgram("linked", "forks-among-threads", {{"VESTA_RECORD", folder / "record"}});
    EXPECT_EQ(result.exitCode, 0) << result.complaints;
    EXPECT_THAT(result.output, HasSubstr("children that ended = 40"));
    expectProperNesting(linesOf(folder / "record"));
}

TEST(Recording, LetsAProgramLiveThatHearsNoComplaints)
{
    const TemporaryFolder folder;
    for (const std::string& record : {folder / "no/folder/record", std::string("/dev/full")}) {
        const ProgramResult result =
            runProgram("lazy", "loses-its-error-output", {{"VESTA_RECORD", record}});
        EXPECT_EQ(result.exitCode, 0) << record;
        EXPECT_EQ(result.output, runProgram("lazy", "loses-its-error-output").output);
    }
}

#ifndef VESTA_SANITIZED  // which do not let a plugin have its own symbols first
TEST(Recording, SaysOnceThatAPluginGoesPastIt)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    const ProgramResult result = runProgram("deep", "everything", {{"VESTA_RECORD", record}});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, runProgram("deep", "everything").output);
    expectOneComplaint(result, "the library was never called through the recorder");
    EXPECT_FALSE(std::filesystem::exists(record));
}
#endif

TEST(Recording, HasNothingOfAChildThatCallsTheLibrary)
{
    const std::vector<std::string> lines = recordOf("lazy", "forks-and-calls");
    EXPECT_EQ(countOf(lines, "\"in\":\"vesta_hbbtv_shutdown\""), 1u);
    EXPECT_EQ(countOf(lines, "E_AIT_SECTION"), 1u);
}

TEST(Recording, StaysAwayFromTheStandardStreams)
{
    const TemporaryFolder folder;
    const ProgramResult result =
        runProgram("lazy", "closes-its-streams", {{"VESTA_RECORD", folder / "record"}});
    EXPECT_EQ(result.exitCode, 0) << result.complaints;
    EXPECT_GT(linesOf(folder / "record").size(), 10u);
}

TEST(Recording, DoesNotWaitForSomebodyToReadAPipe)
{
    const TemporaryFolder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const ProgramResult result = runProgram("lazy", "everything", {{"VESTA_RECORD", pipe}});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.complaints, HasSubstr("cannot be written"));
}

TEST(Recording, GoesOnInTheProcessThatBeganItAlone)
{
    const std::vector<std::string> lines = recordOf("lazy", "forks");
    EXPECT_EQ(countOf(lines, "\"idle\""), 1u);
    EXPECT_EQ(countOf(lines, "{\"idle\":2}"), 1u);
}

TEST(Recording, IntoAPipeThatNobodyReadsAnyMoreEnds)
{
    const TemporaryFolder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    // There before the program is, and away with the first that it writes.
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    std::thread leaving([reader] {
        pollfd waiting = {reader, POLLIN, 0};
        while (::poll(&waiting, 1, -1) < 0 && errno == EINTR) {
        }
        ::close(reader);
    });
    const ProgramResult result = runProgram("lazy", "zaps", {{"VESTA_RECORD", pipe}});
    leaving.join();
    EXPECT_EQ(result.exitCode, 0);
    expectOneComplaint(result, "cannot be written any further (Broken pipe)");
}
