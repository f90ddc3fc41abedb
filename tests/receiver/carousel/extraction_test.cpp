#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <unistd.h>

#include "receiver/carousel/extraction.h"
#include "receiver/carousel/service_carousels.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

const uint16_t pid = 0x200;
const char* const sha256OfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
const char* const sha256OfNothing =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

Bytes fileIor(const std::string& key, unsigned moduleId)
{
    return makeIor({"fil", moduleId, key});
}

class ExtractionTest : public ::testing::Test {
protected:
    ExtractionTest()
    {
        fs::remove_all(folder_);
        StreamDescription stream;
        stream.streamType = 0x0B;
        stream.pid = pid;
        stream.componentTag = 0x2A;
        stream.carouselId = 42;
        carousels_.join({}, {stream});
    }
    ~ExtractionTest() override { fs::remove_all(folder_); }

    /// A carousel with this gateway in module 1, "abc" and "" in module 2 and half of module 3.
    void broadcast(const Bytes& gateway)
    {
        const Bytes files = makeFile("abc", "abc") + makeFile("empty", "");
        const Bytes big = makeFile("big", std::string(150, 'x'));
        carousels_.feed(pid, makeDsi(makeIor({"srg", 1, "g"})));
        carousels_.feed(pid, makeDii(0x80000002, {{1, uint32_t(gateway.size())},
                                                  {2, uint32_t(files.size()), 7},
                                                  {3, uint32_t(big.size()), 9}}));
        feed(makeDdbs(1, 0, gateway));
        feed(makeDdbs(2, 7, files));
        carousels_.feed(pid, makeDdbs(3, 9, big).front());
    }

    void feed(const std::vector<Bytes>& sections)
    {
        for (const Bytes& section : sections)
            carousels_.feed(pid, section);
    }

    std::string read(const std::string& name) const
    {
        std::ifstream file(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    bool says(const std::string& text) const { return out_.str().find(text) != std::string::npos; }

    const fs::path folder_ =
        fs::path(::testing::TempDir()) /
        ("extraction-" + std::to_string(::getpid()) + "-" +
         std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::ostringstream out_;
    EventLog log_{out_, false};
    CarouselLimits limits_ = [] {
        CarouselLimits limits;
        limits.listedFiles = 100;
        limits.memory = 128 * 1024;
        return limits;
    }();
    ServiceCarousels carousels_{limits_, log_};
};

TEST_F(ExtractionTest, TheIndexListsWhatIsThereAndWhatIsNot)
{
    broadcast(makeGateway("g", {{"a.txt", fileIor("abc", 2)},
                                {"empty", fileIor("empty", 2)},
                                {"big", fileIor("big", 3)},
                                {"gone", fileIor("gone", 4)}}));
    EXPECT_TRUE(extractFiles(carousels_, folder_, log_));
    EXPECT_EQ(read("2a/a.txt"), "abc");
    EXPECT_TRUE(fs::exists(folder_ / "2a/empty"));
    EXPECT_FALSE(fs::exists(folder_ / "2a/big"));
    const Json wanted = {{{"path", "2a/a.txt"},
                          {"size", 3},
                          {"sha256", sha256OfAbc},
                          {"module", 2},
                          {"version", 7},
                          {"complete", true}},
                         {{"path", "2a/empty"},
                          {"size", 0},
                          {"sha256", sha256OfNothing},
                          {"module", 2},
                          {"version", 7},
                          {"complete", true}},
                         {{"path", "2a/big"},
                          {"size", nullptr},
                          {"sha256", nullptr},
                          {"module", 3},
                          {"version", 9},
                          {"complete", false},
                          {"reason", "module 3 has 1 of 2 blocks"}},
                         {{"path", "2a/gone"},
                          {"size", nullptr},
                          {"sha256", nullptr},
                          {"module", 4},
                          {"version", nullptr},
                          {"complete", false},
                          {"reason", "module 4 is not announced"}}};
    EXPECT_EQ(Json::parse(read("index.json")), wanted);
    EXPECT_TRUE(says("2 files written"));
    EXPECT_TRUE(says("carousel 0x2a: 2 of 3 modules are complete, 0 were refused"));
    EXPECT_TRUE(says("carousel 0x2a: big is not whole: module 3 has 1 of 2 blocks"));
    EXPECT_TRUE(says("carousel 0x2a: gone is not whole: module 4 is not announced"));
}

TEST_F(ExtractionTest, ADirectoryBoundTwiceIsSaid)
{
    const Bytes directory = makeIor({"dir", 1, "d"});
    broadcast(makeGateway("g", {{"one", directory}, {"two", directory}}) +
              makeDirectory("d", {{"a.txt", fileIor("abc", 2)}}));
    EXPECT_TRUE(extractFiles(carousels_, folder_, log_));
    EXPECT_EQ(read("2a/one/a.txt"), "abc");
    EXPECT_TRUE(says("carousel 0x2a: two is a directory that is written under another name"));
}

TEST_F(ExtractionTest, WhatALimitCutsIsSaid)
{
    std::vector<DirectoryEntry> entries;
    for (unsigned number = 0; number < 130; ++number)
        entries.push_back({std::to_string(number), fileIor("abc", 2)});
    broadcast(makeGateway("g", entries));
    EXPECT_TRUE(extractFiles(carousels_, folder_, log_));
    EXPECT_TRUE(says("100 files written"));
    EXPECT_TRUE(says("carousel 0x2a: 30 names are left out: too many, too long or too deep"));
}

TEST_F(ExtractionTest, BlocksThatDidNotFitAreSaid)
{
    for (unsigned module = 10; module < 30; ++module)
        carousels_.feed(pid, makeDdb(module, 0, 0, Bytes(4000, 1)));
    EXPECT_TRUE(extractFiles(carousels_, folder_, log_));
    EXPECT_TRUE(says(" blocks that nothing had announced did not fit into the memory"));
}

TEST_F(ExtractionTest, OfManyMissingFilesAFewAreNamed)
{
    std::vector<DirectoryEntry> entries;
    for (unsigned number = 0; number < 50; ++number)
        entries.push_back({std::to_string(number), fileIor("gone", 4)});
    broadcast(makeGateway("g", entries));
    EXPECT_TRUE(extractFiles(carousels_, folder_, log_));
    EXPECT_TRUE(says("carousel 0x2a: 19 is not whole"));
    EXPECT_FALSE(says("carousel 0x2a: 20 is not whole"));
    EXPECT_TRUE(says("30 more are not whole, index.json names them"));
    EXPECT_EQ(Json::parse(read("index.json")).size(), 50u);
}

TEST_F(ExtractionTest, ACarouselWithoutItsGatewayIsSaid)
{
    EXPECT_TRUE(extractFiles(carousels_, folder_, log_));
    EXPECT_TRUE(says("carousel 0x2a: its gateway has not come"));
    EXPECT_EQ(Json::parse(read("index.json")), Json::array());
}

TEST_F(ExtractionTest, AFileThatCannotBeWrittenIsInTheIndexWithTheReason)
{
    broadcast(makeGateway("g", {{"a.txt", fileIor("abc", 2)}}));
    fs::create_directories(folder_ / "2a/a.txt");
    EXPECT_FALSE(extractFiles(carousels_, folder_, log_));
    const Json wanted = {{{"path", "2a/a.txt"},
                          {"size", nullptr},
                          {"sha256", nullptr},
                          {"module", 2},
                          {"version", 7},
                          {"complete", false},
                          {"reason", "it could not be written"}}};
    EXPECT_EQ(Json::parse(read("index.json")), wanted);
}

TEST_F(ExtractionTest, TheIndexHasNothingThatATerminalObeys)
{
    const std::string name = "a\xE2\x80\xAE\xC2\x9B\x1B.txt";  // right-to-left, CSI, ESC
    broadcast(makeGateway("g", {{name, fileIor("gone", 4)}}));
    EXPECT_TRUE(extractFiles(carousels_, folder_, log_));
    const std::string index = read("index.json");
    EXPECT_NE(index.find("a\\u202e\\u009b\\u001b.txt"), std::string::npos) << index;
    EXPECT_EQ(Json::parse(index).at(0).at("path"), "2a/" + name);
    EXPECT_NE(index.find("\n  {\n"), std::string::npos) << "it stays a page to read";
}

TEST_F(ExtractionTest, AnIndexThatCannotBeWrittenIsAFailure)
{
    std::ofstream(folder_) << "a file, not a folder";
    EXPECT_FALSE(extractFiles(carousels_, folder_, log_));
    EXPECT_TRUE(says("index.json: could not be written"));
}

}  // namespace
}  // namespace receiver
