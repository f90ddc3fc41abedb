#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

#include "recorder/record_file.h"
#include "tests/recorder/recorded_run.h"

using recorder::RecordFile;
using namespace vesta::test;

namespace {

const std::string fullLine = "{\"full\":true}\n";

/// A whole line of so many bytes.
std::string lineOf(size_t bytes)
{
    return std::string(bytes - 1, 'x') + '\n';
}

std::string contentOf(const std::string& path)
{
    std::string content;
    for (const std::string& line : linesOf(path))
        content += line + '\n';
    return content;
}

/// A file whose limit was reached when so much was in it.
class FullFile {
public:
    FullFile(size_t limit, size_t written)
    {
        file.open(path, limit);
        file.write(lineOf(written), "");
        testing::internal::CaptureStderr();
        file.write(lineOf(limit), "");
        complaint = testing::internal::GetCapturedStderr();
    }

    const TemporaryFolder folder;
    const std::string path = folder / "record";
    RecordFile file;
    std::string complaint;
};

}  // namespace

TEST(RecordFile, TakesNoMoreLinesOnceItIsFullButStaysOpen)
{
    FullFile full(100, 60);
    EXPECT_EQ(full.complaint,
              "libvesta_hbbtv_recorder: the record has its largest size; it goes on "
              "from the next state that a replay can start at.\n");
    EXPECT_TRUE(full.file.isOpen());
    EXPECT_TRUE(full.file.wantsNewPart());
    full.file.write(lineOf(1), "");
    EXPECT_EQ(contentOf(full.path), lineOf(60) + fullLine);
}

TEST(RecordFile, KeepsAFullPartBeforeTheNewOneWhereThereIsRoomForBoth)
{
    FullFile full(100, 30);
    ASSERT_TRUE(full.file.beginNewPart(lineOf(40)));
    EXPECT_EQ(contentOf(full.path), lineOf(40));
    EXPECT_EQ(contentOf(full.path + ".before"), lineOf(30) + fullLine);
    full.file.write(lineOf(1), "");
    EXPECT_TRUE(std::filesystem::exists(full.path + ".before"));
    full.file.write(lineOf(10), "");
    EXPECT_FALSE(std::filesystem::exists(full.path + ".before"));
    EXPECT_EQ(contentOf(full.path), lineOf(40) + lineOf(1) + lineOf(10));
}

TEST(RecordFile, DropsAFullPartThatLeavesNoRoomForTheNewOne)
{
    FullFile full(100, 60);
    ASSERT_TRUE(full.file.beginNewPart(lineOf(40)));
    EXPECT_EQ(contentOf(full.path), lineOf(40));
    EXPECT_FALSE(std::filesystem::exists(full.path + ".before"));
    full.file.write(lineOf(2), "");
    EXPECT_EQ(contentOf(full.path), lineOf(40) + lineOf(2));
}

TEST(RecordFile, DropsAFullPartWhereNoFileCanStandBesideIt)
{
    FullFile full(100, 30);
    std::filesystem::create_directory(full.path + ".part");
    ASSERT_TRUE(full.file.beginNewPart(lineOf(40)));
    EXPECT_EQ(contentOf(full.path), lineOf(40));
}

TEST(RecordFile, StaysFullWhereWhatANewPartBeginsWithDoesNotFit)
{
    FullFile full(100, 60);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(full.file.beginNewPart(lineOf(100)));
    EXPECT_FALSE(full.file.beginNewPart(lineOf(100)));
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "libvesta_hbbtv_recorder: the limit is too small for what a part of the record has to "
        "begin with.\n");
    EXPECT_EQ(contentOf(full.path), lineOf(60) + fullLine);
    EXPECT_TRUE(full.file.beginNewPart(lineOf(50)));
    EXPECT_EQ(contentOf(full.path), lineOf(50));
}

TEST(RecordFile, SaysOnceThatItPauses)
{
    FullFile full(100, 60);
    ASSERT_TRUE(full.file.beginNewPart(lineOf(40)));
    testing::internal::CaptureStderr();
    full.file.write(lineOf(90), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(contentOf(full.path), lineOf(40) + fullLine);
}

TEST(RecordFile, HasBothPartsAgainWhereTheNewOneCannotTakeItsPlace)
{
    const TemporaryFolder folder;
    const std::string path = folder / "record";
    RecordFile file;
    ASSERT_TRUE(file.open(path, 100));
    file.write(lineOf(60), "");
    std::filesystem::create_directory(path + ".before");
    EXPECT_FALSE(file.beginNewPart(lineOf(10)));
    file.write(lineOf(5), "");
    EXPECT_EQ(contentOf(path), lineOf(60) + lineOf(5));
    EXPECT_FALSE(std::filesystem::exists(path + ".part"));
}

TEST(RecordFile, EndsWhereAPipeIsFull)
{
    const TemporaryFolder folder;
    const std::string path = folder / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::fstream reader(path);  // for both, so that nobody waits
    RecordFile file;
    ASSERT_TRUE(file.open(path, 100));
    testing::internal::CaptureStderr();
    file.write(lineOf(101), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "libvesta_hbbtv_recorder: the record has its largest size and ends.\n");
    EXPECT_FALSE(file.isOpen());
}
