#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "receiver/stream/stream_input.h"

namespace receiver {
namespace {

class StreamInputTest : public ::testing::Test {
protected:
    StreamInputTest() { std::filesystem::create_directory(folder_); }
    ~StreamInputTest() override { std::filesystem::remove_all(folder_); }

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

TEST_F(StreamInputTest, AFileIsReadToItsEndAndAgain)
{
    StreamInput input(file("a", "12345"));
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

TEST_F(StreamInputTest, WhatCannotBeReadIsSaid)
{
    const std::string nowhere = (folder_ / "nowhere").string();
    EXPECT_EQ(StreamInput(nowhere).open(), nowhere + ": No such file or directory");
    EXPECT_EQ(StreamInput(folder_.string()).open(), folder_.string() + ": is a directory");
}

TEST_F(StreamInputTest, ACallReachesAReadThatWaits)
{
    const std::string pipe = (folder_ / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::fstream writer(pipe);  // reading and writing, so that opening waits for nobody
    StreamInput input(pipe);
    ASSERT_EQ(input.open(), "");
    EXPECT_FALSE(input.rewind());
    std::thread caller([&input] { input.wake(); });
    EXPECT_EQ(read(input, 9), "woken");
    caller.join();
    writer << "123" << std::flush;
    EXPECT_EQ(read(input, 9), "123");
}

TEST_F(StreamInputTest, APipeThatNobodyWritesToCanBeLeft)
{
    const std::string pipe = (folder_ / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    StreamInput input(pipe);
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

TEST_F(StreamInputTest, ACallBeforeTheReadCountsOnce)
{
    StreamInput input(file("a", "12345"));
    ASSERT_EQ(input.open(), "");
    input.wake();
    input.wake();
    EXPECT_EQ(read(input, 9), "woken");
    EXPECT_EQ(read(input, 9), "12345");
}

}  // namespace
}  // namespace receiver
