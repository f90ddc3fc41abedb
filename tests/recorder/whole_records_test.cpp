// Whole records of the program's stories, and what the recorder must not change.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/recorder/recorded_run.h"

using namespace vesta::test;

namespace {

const char* const stories[] = {
    "everything", "shutdown-from-inside", "calls-back",      "throws",
    "files",      "another-thread",       "sends-to-nobody", "zaps-once"};

std::string expectedPath(const std::string& story)
{
    return VESTA_EXPECTED_RECORDS "/" + story + ".record";
}

}  // namespace

// A record that is meant to change: VESTA_WRITE_EXPECTED_RECORDS=1 writes them anew.
TEST(WholeRecords, AreTheSameHoweverTheProgramIsLinked)
{
    for (const char* const story : stories) {
        if (getenv("VESTA_WRITE_EXPECTED_RECORDS"))
            writeLines(expectedPath(story), recordOf("lazy", story));
        const std::vector<std::string> expected = linesOf(expectedPath(story));
        ASSERT_FALSE(expected.empty()) << story;
        for (const std::string& way : ways)
            EXPECT_EQ(recordOf(way, story), expected) << story << ", " << way;
    }
}

TEST(WholeRecords, LeaveTheProgramAsItIs)
{
    for (const char* const story : stories) {
        const TemporaryFolder folder;
        for (const std::string& way : ways) {
            const ProgramResult plain = runProgram(way, story);
            const ProgramResult recorded =
                runProgram(way, story, {{"VESTA_RECORD", folder / "record"}});
            EXPECT_FALSE(plain.output.empty()) << story;
            EXPECT_EQ(recorded.output, plain.output) << story << ", " << way;
            EXPECT_EQ(recorded.complaints, plain.complaints) << story << ", " << way;
            EXPECT_EQ(recorded.exitCode, plain.exitCode) << story << ", " << way;
        }
    }
}
