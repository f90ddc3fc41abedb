// Records with a largest size.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <system_error>
#include <vector>

#include "tests/recorder/recorded_run.h"

using namespace vesta::test;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

const char* const statePath = VESTA_EXPECTED_RECORDS "/zaps.state";

size_t sizeOf(const std::string& path)
{
    std::error_code missing;
    const auto size = std::filesystem::file_size(path, missing);
    return missing ? 0 : static_cast<size_t>(size);
}

const std::string pauseComplaint = "libvesta_hbbtv_recorder: the record has its largest size; it "
                                   "goes on from the next state that a "
                                   "replay can start at.\n";

/// A record's lines without what begins anew in each part: the numbers of calls and of handles.
std::vector<std::string> namelessLinesOf(const std::string& path)
{
    const std::regex names("\"(n|end)\":[0-9]+,|:[0-9]+\"");
    std::vector<std::string> lines;
    for (const std::string& line : timelessLinesOf(path))
        lines.push_back(std::regex_replace(line, names, ""));
    return lines;
}

}  // namespace

TEST(Limit, KeepsTheNewestPartFromAStateThatAReplayCanStartAt)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    const ProgramResult result =
        runProgram("lazy", "zaps", {{"VESTA_RECORD", record}, {"VESTA_RECORD_LIMIT", "64K"}});
    EXPECT_EQ(result.complaints, "");
    EXPECT_EQ(result.output, runProgram("lazy", "zaps").output);
    EXPECT_LE(sizeOf(record) + sizeOf(record + ".before"), 65536u);
    EXPECT_FALSE(std::filesystem::exists(record + ".part"));
    const std::vector<std::string> lines = timelessLinesOf(record);
    const auto end = std::find(lines.begin(), lines.end(), "{\"state\":\"end\"}");
    ASSERT_NE(end, lines.end());
    const std::vector<std::string> state(lines.begin() + 1, end + 1);
    if (std::getenv("VESTA_WRITE_EXPECTED_RECORDS"))
        writeLines(statePath, state);
    EXPECT_EQ(state, linesOf(statePath));
    EXPECT_THAT(*(end + 1), HasSubstr("{\"n\":14,"));
    EXPECT_THAT(lines.back(), HasSubstr("\"end\":"));
    // The bodies stand there again, since the part has to be whole.
    EXPECT_EQ(
        std::count_if(lines.begin(), lines.end(),
                      [](const std::string& line) { return line.rfind("{\"body\"", 0) == 0; }),
        3);
}

TEST(Limit, KeepsThePartBeforeAsLongAsThereIsRoom)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    const std::string whole = folder / "whole";
    runProgram("lazy", "zaps", {{"VESTA_RECORD", whole}});
    const std::string limit = std::to_string(sizeOf(whole) * 3 / 2);
    runProgram("lazy", "zaps", {{"VESTA_RECORD", record}, {"VESTA_RECORD_LIMIT", limit}});
    EXPECT_GT(sizeOf(record + ".before"), sizeOf(whole) * 3 / 4);
    const std::vector<std::string> before = timelessLinesOf(record + ".before");
    const std::vector<std::string> all = timelessLinesOf(whole);
    ASSERT_LT(before.size(), all.size());
    EXPECT_EQ(before, std::vector<std::string>(all.begin(),
                                               all.begin() + static_cast<long>(before.size())));
}

TEST(Limit, PausesWhereNoReplayCouldStart)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    const ProgramResult result = runProgram(
        "lazy", "stays-tuned-in", {{"VESTA_RECORD", record}, {"VESTA_RECORD_LIMIT", "8192"}});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, runProgram("lazy", "stays-tuned-in").output);
    EXPECT_EQ(result.complaints, pauseComplaint);
    EXPECT_LE(sizeOf(record) + sizeOf(record + ".before"), 8192u);
    EXPECT_EQ(linesOf(record).back(), "{\"full\":true}");
}

TEST(Limit, GoesOnAfterAPauseFromTheNextStateThatAReplayCanStartAt)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    const std::string whole = folder / "whole";
    const ProgramResult result = runProgram(
        "lazy", "stays-and-zaps", {{"VESTA_RECORD", record}, {"VESTA_RECORD_LIMIT", "8192"}});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.complaints, pauseComplaint);  // though it paused twice
    EXPECT_LE(sizeOf(record) + sizeOf(record + ".before"), 8192u);
    runProgram("lazy", "stays-and-zaps", {{"VESTA_RECORD", whole}});
    const std::vector<std::string> lines = namelessLinesOf(record);
    const std::vector<std::string> all = namelessLinesOf(whole);
    const auto state = std::find(lines.begin(), lines.end(), "{\"state\":\"end\"}");
    ASSERT_NE(state, lines.end());
    const std::vector<std::string> newest(state + 1, lines.end());
    ASSERT_GT(newest.size(), 20u);
    ASSERT_LT(newest.size(), all.size());
    EXPECT_EQ(newest,
              std::vector<std::string>(all.end() - static_cast<long>(newest.size()), all.end()));
    EXPECT_THAT(lines, Not(Contains("{\"full\":true}")));
}

TEST(Limit, ThatIsTooSmallForTheStateItselfIsSaidOnce)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    const ProgramResult result =
        runProgram("lazy", "zaps", {{"VESTA_RECORD", record}, {"VESTA_RECORD_LIMIT", "1500"}});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, runProgram("lazy", "zaps").output);
    EXPECT_EQ(result.complaints,
              pauseComplaint +
                  "libvesta_hbbtv_recorder: the limit is too small for what a part of the "
                  "record has to begin with.\n");
    EXPECT_LE(sizeOf(record) + sizeOf(record + ".before"), 1500u);
    EXPECT_EQ(linesOf(record).back(), "{\"full\":true}");
}

TEST(Limit, IsSaidToBeReachedEvenWhereNothingFits)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    const ProgramResult result =
        runProgram("lazy", "everything", {{"VESTA_RECORD", record}, {"VESTA_RECORD_LIMIT", "10"}});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.complaints, HasSubstr("largest size"));
    EXPECT_EQ(sizeOf(record), 0u);
}

TEST(Limit, LetsThePartThatIsThereGoOnWhereNoFileCanStandBesideIt)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    const std::string whole = folder / "whole";
    std::filesystem::create_directory(record + ".part");
    runProgram("lazy", "zaps", {{"VESTA_RECORD", whole}});
    const std::string limit = std::to_string(sizeOf(whole) * 3 / 2);
    const ProgramResult result =
        runProgram("lazy", "zaps", {{"VESTA_RECORD", record}, {"VESTA_RECORD_LIMIT", limit}});
    EXPECT_EQ(result.complaints, "");
    EXPECT_EQ(timelessLinesOf(record), timelessLinesOf(whole));
}

TEST(Limit, TakesNoPartsOfAnEarlierRunForItsOwn)
{
    const TemporaryFolder folder;
    const std::string record = folder / "record";
    writeLines(record + ".before", {"old"});
    writeLines(record + ".part", {"old"});
    runProgram("lazy", "ticks", {{"VESTA_RECORD", record}, {"VESTA_RECORD_LIMIT", "1M"}});
    EXPECT_FALSE(std::filesystem::exists(record + ".before"));
    EXPECT_FALSE(std::filesystem::exists(record + ".part"));
}
