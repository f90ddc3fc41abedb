#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "receiver/stream/file_input.h"

namespace receiver {
namespace {

class FileInputTest : public ::testing::Test {
protected:
    FileInputTest() { std::filesystem::create_directory(folder_); }
    ~FileInputTest() override { std::filesystem::remove_all(folder_); }

    std::string file(const std::string& name, const std::string& content)
    {
        std::ofstream(folder_ / name, std::ios::binary) << content;
        return (folder_ / name).string();
    }

    static std::string read(StreamInput& input, size_t most)
    {
        unsigned char buffer[16];
        const std::optional<size_t> count = input.read(buffer, std::min(most, sizeof(buffer)));
        return count ? std::string(buffer, buffer + *count) : "woken";
    }

    const std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("vesta-input-" + std::to_string(::getpid()));
};

TEST_F(FileInputTest, AFileIsReadToItsEndAndAgain)
{
    FileInput input(file("a", "12345"));
    ASSERT_EQ(input.open(), "");
    EXPECT_EQ(input.size(), 5u);
    EXPECT_EQ(read(input, 3), "123");
    EXPECT_EQ(input.bytesRead(), 3u);
    EXPECT_EQ(read(input, 3), "45");
    EXPECT_EQ(read(input, 3), "");
    EXPECT_EQ(input.error(), "");
    EXPECT_TRUE(input.rewind());
    EXPECT_EQ(input.bytesRead(), 0u);
    EXPECT_EQ(read(input, 9), "12345");
}

// Ten minutes of a multiplex are longer than what 31 bits count, an hour than what 32 do.
TEST_F(FileInputTest, ALongRecordingIsOpened)
{
    const std::string path = file("long", "12345");
    const uint64_t size = (uint64_t{1} << 32) + 5;
    std::filesystem::resize_file(path, size);  // but for its beginning it takes no space
    FileInput input(path);
    ASSERT_EQ(input.open(), "");
    EXPECT_EQ(input.size(), size);
    EXPECT_EQ(read(input, 5), "12345");
}

TEST_F(FileInputTest, EveryByteOfALongStreamCounts)
{
    FileInput input("/dev/zero");
    ASSERT_EQ(input.open(), "");
    std::vector<unsigned char> buffer(size_t{1} << 20);
    const uint64_t reads = (uint64_t{1} << 32) / buffer.size() + 1;
    for (uint64_t n = 0; n < reads; ++n)
        ASSERT_EQ(input.read(buffer.data(), buffer.size()), buffer.size());
    EXPECT_EQ(input.bytesRead(), reads * buffer.size());
}

TEST_F(FileInputTest, WhatCannotBeReadIsSaid)
{
    const std::string nowhere = (folder_ / "nowhere").string();
    EXPECT_EQ(FileInput(nowhere).open(), nowhere + ": No such file or directory");
    EXPECT_EQ(FileInput(folder_.string()).open(), folder_.string() + ": is a directory");
}

TEST_F(FileInputTest, ACallReachesAReadThatWaits)
{
    const std::string pipe = (folder_ / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::fstream writer(pipe);  // reading and writing, so that opening waits for nobody
    FileInput input(pipe);
    ASSERT_EQ(input.open(), "");
    EXPECT_FALSE(input.rewind());
    std::thread caller([&input] { input.wake(); });
    EXPECT_EQ(read(input, 9), "woken");
    caller.join();
    writer << "123" << std::flush;
    EXPECT_EQ(read(input, 9), "123");
}

TEST_F(FileInputTest, APipeThatNobodyWritesToCanBeLeft)
{
    const std::string pipe = (folder_ / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    FileInput input(pipe);
    ASSERT_EQ(input.open(), "");  // at once
    input.wake();
    EXPECT_EQ(read(input, 9), "woken");
    {
        std::ofstream writer(pipe);
        writer << "123" << std::flush;
        EXPECT_EQ(read(input, 9), "123");
    }
    EXPECT_EQ(read(input, 9), "");
    EXPECT_EQ(input.error(), "");
}

TEST_F(FileInputTest, ACallBeforeTheReadCountsOnce)
{
    FileInput input(file("a", "12345"));
    ASSERT_EQ(input.open(), "");
    input.wake();
    input.wake();
    EXPECT_EQ(read(input, 9), "woken");
    EXPECT_EQ(read(input, 9), "12345");
}

class FollowedFileTest : public FileInputTest {
protected:
    /// Reads until so much has come, or the file begins anew.
    static std::string readOn(StreamInput& input, size_t wanted)
    {
        std::string text;
        while (text.size() < wanted && !input.takeNewBeginning()) {
            unsigned char buffer[16];
            const std::optional<size_t> count = input.read(buffer, sizeof(buffer));
            EXPECT_NE(count, 0u) << "it has no end";
            text.append(buffer, buffer + count.value_or(0));
        }
        return text;
    }

    static constexpr std::chrono::milliseconds interval{1};
};

TEST_F(FollowedFileTest, WhatIsWrittenLaterIsReadToo)
{
    const std::string path = file("a", "123");
    FileInput input(path, true, interval);
    ASSERT_EQ(input.open(), "");
    EXPECT_TRUE(input.isEndless());
    EXPECT_EQ(input.size(), 0u) << "not known";
    EXPECT_EQ(readOn(input, 3), "123");
    unsigned char buffer[1];
    EXPECT_FALSE(input.read(buffer, 1)) << "nothing for now";
    std::ofstream(path, std::ios::app) << "45";
    EXPECT_EQ(readOn(input, 2), "45");
    EXPECT_TRUE(input.takeRemarks().empty());
    EXPECT_TRUE(input.rewind());
    EXPECT_EQ(readOn(input, 5), "12345");
}

TEST_F(FollowedFileTest, AFileWithoutABeginningIsWaitedFor)
{
    const std::string path = file("a", "");
    FileInput input(path, true, interval);
    ASSERT_EQ(input.open(), "");
    unsigned char buffer[1];
    EXPECT_FALSE(input.read(buffer, 1));
    std::ofstream(path, std::ios::app) << "1";
    EXPECT_EQ(readOn(input, 1), "1");
}

TEST_F(FollowedFileTest, AFileThatGetsShorterBeginsAnew)
{
    const std::string path = file("a", "12345");
    FileInput input(path, true, interval);
    ASSERT_EQ(input.open(), "");
    EXPECT_EQ(readOn(input, 5), "12345");
    std::ofstream(path, std::ios::trunc) << "abc";
    EXPECT_EQ(readOn(input, 1), "");
    const auto remarks = input.takeRemarks();
    ASSERT_EQ(remarks.size(), 1u);
    EXPECT_EQ(remarks[0].text, path + " got shorter: it is read from its beginning again");
    EXPECT_EQ(readOn(input, 3), "abc");
    EXPECT_EQ(input.bytesRead(), 3u);
}

TEST_F(FollowedFileTest, ACallReachesAReadThatWaitsForMore)
{
    FileInput input(file("a", ""), true, std::chrono::hours(1));
    ASSERT_EQ(input.open(), "");
    std::thread caller([&input] { input.wake(); });
    EXPECT_EQ(read(input, 1), "woken");
    caller.join();
}

TEST_F(FollowedFileTest, OnlyAFileCanBeFollowed)
{
    const std::string pipe = (folder_ / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(FileInput(pipe, true).open(), pipe + ": --follow wants a file");
}

}  // namespace
}  // namespace receiver
