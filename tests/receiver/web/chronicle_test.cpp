#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "receiver/web/chronicle.h"

namespace receiver {
namespace {

using Json = nlohmann::json;

class ChronicleTest : public ::testing::Test {
protected:
    std::ostringstream out_;
    EventLog log_{out_, false};
};

std::vector<uint64_t> idsOf(const std::vector<Chronicle::Entry>& entries)
{
    std::vector<uint64_t> ids;
    ids.reserve(entries.size());
    for (const Chronicle::Entry& entry : entries)
        ids.push_back(entry.id);
    return ids;
}

using Ids = std::vector<uint64_t>;

TEST_F(ChronicleTest, KeepsWhatIsReportedTracedAndMentioned)
{
    log_.report(Source::Air, "early", "before it listened");
    const Chronicle chronicle(log_);
    EXPECT_EQ(chronicle.last(), 0u);
    log_.report(Source::Air, "ait", "AIT version 7", {{"version", 7}});
    log_.trace(Source::Decision, "decision", "no", {{"reason", 304}});
    log_.mention(Source::Log, "log", "a line", {{"level", 1}});
    EXPECT_EQ(chronicle.last(), 3u);
    const auto entries = chronicle.after(0);
    ASSERT_EQ(idsOf(entries), (Ids{1, 2, 3}));
    const Json first = Json::parse(entries[0].json);
    EXPECT_EQ(first["id"], 1);
    EXPECT_GE(first["time"], 0);
    EXPECT_EQ(first["source"], "air");
    EXPECT_EQ(first["event"], "ait");
    EXPECT_EQ(first["text"], "AIT version 7");
    EXPECT_EQ(first["details"], Json({{"version", 7}}));
    EXPECT_EQ(Json::parse(entries[1].json)["details"]["reason"], 304);
    EXPECT_EQ(Json::parse(entries[2].json)["source"], "log");
    EXPECT_EQ(out_.str().find("a line"), std::string::npos);
}

TEST_F(ChronicleTest, ListensNoLongerThanItLives)
{
    {
        const Chronicle chronicle(log_);
        log_.report(Source::User, "say", "hello");
        EXPECT_EQ(chronicle.last(), 1u);
    }
    log_.report(Source::User, "say", "nobody");
    const Chronicle next(log_);
    EXPECT_EQ(next.last(), 0u);
}

TEST_F(ChronicleTest, GivesWhatCameAfterAnId)
{
    const Chronicle chronicle(log_);
    for (int count = 0; count < 5; ++count)
        log_.report(count % 2 == 0 ? Source::Air : Source::Log, "event", "text");
    EXPECT_EQ(idsOf(chronicle.after(2)), (Ids{3, 4, 5}));
    EXPECT_EQ(idsOf(chronicle.after(5)), Ids());
    EXPECT_EQ(idsOf(chronicle.after(99)), Ids());
}

TEST_F(ChronicleTest, TheOldestGoAndLogLinesPushOutEachOtherAlone)
{
    const Chronicle chronicle(log_, {3, 2, 1 << 20});
    log_.report(Source::Air, "first", "1");
    for (int count = 0; count < 10; ++count)
        log_.report(Source::Log, "log", "line");
    log_.report(Source::Air, "second", "12");
    EXPECT_EQ(idsOf(chronicle.after(0)), (Ids{1, 10, 11, 12}));
    EXPECT_EQ(chronicle.omitted(), 8u);
    log_.report(Source::Air, "third", "13");
    log_.report(Source::Air, "fourth", "14");
    EXPECT_EQ(idsOf(chronicle.after(0)), (Ids{10, 11, 12, 13, 14}));
    EXPECT_EQ(chronicle.omitted(), 9u);
}

TEST_F(ChronicleTest, StaysWithinItsBytes)
{
    const Chronicle chronicle(log_, {1000, 1000, 10000});
    for (int count = 0; count < 100; ++count)
        log_.report(Source::Air, "event", std::string(1000, 'x'));
    size_t bytes = 0;
    for (const Chronicle::Entry& entry : chronicle.after(0))
        bytes += entry.json.size();
    EXPECT_LE(bytes, 10000u);
    EXPECT_GE(bytes, 8000u);
    EXPECT_EQ(chronicle.after(0).back().id, 100u);
}

TEST_F(ChronicleTest, GivesTheLatestThatFitIntoSoManyBytes)
{
    const Chronicle chronicle(log_);
    for (int count = 0; count < 5; ++count)
        log_.report(Source::Air, "event", "text");
    const size_t one = chronicle.after(4).front().json.size();
    const size_t room = 2 * one + 20;  // times differ in length
    EXPECT_EQ(idsOf(chronicle.after(0, room)), (Ids{4, 5}));
    EXPECT_EQ(idsOf(chronicle.after(0, 1)), Ids());
}

TEST_F(ChronicleTest, ATextOfAMegabyteIsCut)
{
    const Chronicle chronicle(log_);
    log_.report(Source::Script, "debug", std::string(1 << 20, 'x'), {{"more", "y"}});
    const std::string json = chronicle.after(0).front().json;
    EXPECT_LT(json.size(), 5000u);
    const Json cut = Json::parse(json);
    EXPECT_EQ(cut["text"], std::string(4096, 'x') + " (cut)");
    EXPECT_EQ(cut.count("details"), 0u);
}

TEST_F(ChronicleTest, ATextThatIsCutWithinACharacterIsStillJson)
{
    const Chronicle chronicle(log_);
    std::string umlauts = "x";
    for (int count = 0; count < 40000; ++count)
        umlauts += "\xC3\xBC";
    log_.report(Source::Script, "debug", umlauts);
    EXPECT_TRUE(Json::accept(chronicle.after(0).front().json));
}

TEST_F(ChronicleTest, WhatATerminalOrAScriptWouldObeyIsEscaped)
{
    const Chronicle chronicle(log_);
    log_.report(Source::Air, "service", "\x1b[2J\n\xC2\x85\xE2\x80\xAE\xFF");
    const std::string json = chronicle.after(0).front().json;
    for (const char character : json)
        EXPECT_GE(static_cast<unsigned char>(character), 0x20);
    EXPECT_EQ(json.find("\xC2\x85"), std::string::npos);
    EXPECT_EQ(json.find("\xE2\x80\xAE"), std::string::npos);
    EXPECT_EQ(Json::parse(json)["text"], "\x1b[2J\n\xC2\x85\xE2\x80\xAE\xEF\xBF\xBD");
}

TEST_F(ChronicleTest, APlaceOfThisRunIsAnIdAndNoOther)
{
    const Chronicle chronicle(log_);
    const Chronicle other(log_);
    EXPECT_NE(chronicle.run(), other.run());
    for (int count = 0; count < 7; ++count)
        log_.report(Source::Air, "event", "text");
    EXPECT_EQ(chronicle.idIn(chronicle.run() + ".5"), 5u);
    EXPECT_EQ(chronicle.idIn(chronicle.run() + ".99999999999999999999999"), 7u);
    for (const std::string& place :
         {std::string(), other.run() + ".5", std::string("5"), chronicle.run(),
          chronicle.run() + ".", chronicle.run() + ".x"})
        EXPECT_EQ(chronicle.idIn(place), 0u) << place;
}

TEST_F(ChronicleTest, ManyThreadsMayReportWhileItIsRead)
{
    const Chronicle chronicle(log_, {100, 100, 1 << 20});
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([this] {
            for (int count = 0; count < 500; ++count)
                log_.mention(Source::Air, "event", "text");
        });
    for (uint64_t last = 0; last < 2000; last = chronicle.last()) {
        const auto entries = chronicle.after(0);
        EXPECT_LE(entries.size(), 100u);
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(chronicle.after(0).back().id, 2000u);
}

}  // namespace
}  // namespace receiver
