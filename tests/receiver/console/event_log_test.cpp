#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>
#include <unistd.h>

#include "receiver/console/event_log.h"

namespace receiver {
namespace {

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// A file of its own that goes with the test.
class EventLogFile : public ::testing::Test {
protected:
    ~EventLogFile() override { std::filesystem::remove(path_); }

    std::vector<nlohmann::json> trace() const
    {
        std::ifstream file(path_);
        std::vector<nlohmann::json> objects;
        for (std::string line; std::getline(file, line);)
            objects.push_back(nlohmann::json::parse(line));
        return objects;
    }

    const std::string path_ =
        (std::filesystem::temp_directory_path() / ("vesta-trace-" + std::to_string(::getpid())))
            .string();
    std::ostringstream out_;
};

TEST(EventLog, TextsBeginInTheSameColumnWhoeverCausedThem)
{
    std::ostringstream out;
    EventLog log(out, false);
    for (const Source source : {Source::Air, Source::Library, Source::Browser, Source::Platform,
                                Source::User, Source::Receiver, Source::Log})
        log.report(source, "event", "TEXT");
    const std::vector<std::string> lines = linesOf(out.str());
    ASSERT_EQ(lines.size(), 7u);
    for (const std::string& line : lines) {
        EXPECT_EQ(line.find("TEXT"), 20u) << line;
        EXPECT_EQ(line.find('.'), 4u) << line;  // seconds with three digits after the point
    }
    EXPECT_NE(lines[0].find("air"), std::string::npos);
    EXPECT_NE(lines[3].find("platform"), std::string::npos);
}

TEST(EventLog, ColoursAreThereOnRequestAlone)
{
    std::ostringstream plain, coloured;
    EventLog(plain, false).report(Source::Air, "event", "text");
    EventLog(coloured, true).report(Source::Air, "event", "text");
    EXPECT_EQ(plain.str().find('\033'), std::string::npos);
    EXPECT_NE(coloured.str().find("\033[36mair     \033[0m  text"), std::string::npos);
}

TEST_F(EventLogFile, TraceHoldsAnObjectALine)
{
    EventLog log(out_, false);
    ASSERT_TRUE(log.openTrace(path_));
    log.report(Source::Air, "ait", "AIT version 7", {{"version", 7}});
    log.report(Source::User, "say", "\"quoted\" \n \xFF");
    log.print({"an answer is no happening"});
    const auto objects = trace();
    ASSERT_EQ(objects.size(), 2u);
    EXPECT_EQ(objects[0]["source"], "air");
    EXPECT_EQ(objects[0]["event"], "ait");
    EXPECT_EQ(objects[0]["text"], "AIT version 7");
    EXPECT_EQ(objects[0]["details"]["version"], 7);
    EXPECT_TRUE(objects[0]["time"].is_number());
    EXPECT_LE(objects[0]["time"].get<double>(), objects[1]["time"].get<double>());
    EXPECT_EQ(objects[1]["text"], "\"quoted\" \n \xEF\xBF\xBD");  // no UTF-8 becomes a sign for it
    EXPECT_FALSE(objects[1].contains("details"));
}

TEST_F(EventLogFile, LinesOfSeveralThreadsStayWhole)
{
    EventLog log(out_, false);
    ASSERT_TRUE(log.openTrace(path_));
    const int each = 100;
    auto write = [&log] {
        for (int count = 0; count < each; ++count)
            log.report(Source::Air, "event", "a text of some length");
    };
    std::thread other(write);
    write();
    other.join();
    EXPECT_EQ(trace().size(), 2u * each);
    for (const std::string& line : linesOf(out_.str()))
        EXPECT_EQ(line.find("a text of some length"), 20u);
}

TEST(EventLog, ATraceThatCannotBeWrittenIsSaid)
{
    std::ostringstream out;
    EventLog log(out, false);
    EXPECT_FALSE(log.openTrace("/nowhere/at/all"));
}

TEST(EventLog, OutputThatCannotBeWrittenIsKnown)
{
    std::ostringstream good;
    EventLog well(good, false);
    well.report(Source::Air, "event", "text");
    EXPECT_EQ(well.problem(), "");

    EventLog log(good, false);
    ASSERT_TRUE(log.openTrace("/dev/full"));
    log.report(Source::Air, "event", "text");
    EXPECT_EQ(log.problem(), "/dev/full: No space left on device");
    log.report(Source::Air, "event", "the first reason stays");
    EXPECT_EQ(log.problem(), "/dev/full: No space left on device");

    std::ofstream full("/dev/full");
    EventLog screen(full, false);
    screen.print({"text"});
    EXPECT_EQ(screen.problem(), "standard output: No space left on device");
}

TEST(EventLog, ALineTakesThePlaceOfAProgressLine)
{
    std::ostringstream out;
    EventLog log(out, false);
    log.progress("1 MiB");
    log.progress("2 MiB");
    log.print({"done"});
    log.print({"next"});
    EXPECT_EQ(out.str(), "1 MiB\r\033[K2 MiB\r\033[Kdone\nnext\n");
}

TEST(EventLog, ATypedLineIsHiddenWhileOthersAreWritten)
{
    struct Line : TypedLine {
        explicit Line(std::ostringstream& stream) : out(stream) {}
        void hide() override { out << "<"; }
        void show() override { out << ">"; }
        std::ostringstream& out;
    };
    std::ostringstream out;
    EventLog log(out, false);
    Line line(out);
    log.setTypedLine(&line);
    log.print({"text"});
    log.setTypedLine(nullptr);
    log.print({"text"});
    EXPECT_EQ(out.str(), "<text\n>text\n");
}

TEST_F(EventLogFile, NothingThatATerminalObeysIsWritten)
{
    EventLog log(out_, false);
    ASSERT_TRUE(log.openTrace(path_));
    const std::string evil = "name\x1B[2J\n   0.001  user      forged\x7F\xC2\x9B";
    log.report(Source::Air, "event", evil, {{"name", evil}});
    log.print({evil, "second"});
    log.progress(evil);
    const auto isObeyed = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
    for (const std::string& line : linesOf(out_.str())) {
        EXPECT_TRUE(std::none_of(line.begin(), line.end(), isObeyed)) << line;
        EXPECT_EQ(line.find("\xC2\x9B"), std::string::npos) << line;
    }
    EXPECT_EQ(linesOf(out_.str()).size(), 4u);
    std::ifstream file(path_);
    const std::string written{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(written.find_first_of("\x1B\x7F"), std::string::npos);
    EXPECT_EQ(written.find("\xC2\x9B"), std::string::npos);
    EXPECT_EQ(trace()[0]["text"], evil);  // the same text, in escapes
    EXPECT_EQ(trace()[0]["details"]["name"], evil);
}

TEST(EventLog, LargeNumbersAreReadInGroups)
{
    const std::pair<size_t, const char*> cases[] = {{0, "0"},
                                                    {999, "999"},
                                                    {1000, "1,000"},
                                                    {300000, "300,000"},
                                                    {1234567890, "1,234,567,890"}};
    for (const auto& [number, text] : cases)
        EXPECT_EQ(withSeparators(number), text);
}

/// Keeps the names of what it hears.
struct Hearer : Witness {
    void see(const Happening& happening) override
    {
        heard.push_back(happening.event);
        last = jsonOf(happening);
    }
    std::vector<std::string> heard;
    std::string last;
};

TEST(EventLog, EachWitnessHearsOfEverythingUntilItIsRemoved)
{
    std::ostringstream out;
    EventLog log(out, false);
    Hearer one;
    Hearer other;
    log.addWitness(&one);
    log.addWitness(&other);
    log.report(Source::Air, "reported", "text");
    log.removeWitness(&one);
    log.trace(Source::Air, "traced", "text", nullptr);
    log.mention(Source::Air, "mentioned", "text", {{"more", 1}});
    EXPECT_EQ(one.heard, (std::vector<std::string>{"reported"}));
    EXPECT_EQ(other.heard, (std::vector<std::string>{"reported", "traced", "mentioned"}));
    EXPECT_EQ(nlohmann::json::parse(other.last)["details"]["more"], 1);
    EXPECT_EQ(linesOf(out.str()).size(), 1u);
}

TEST(EventLog, AnswersGoToWhoeverAsked)
{
    std::ostringstream out;
    EventLog log(out, false);
    std::vector<std::string> answers;
    log.setAnswers(&answers);
    log.print({"one", "two"});
    log.setAnswers(nullptr);
    log.print({"three"});
    EXPECT_EQ(answers, (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(out.str(), "three\n");
}

}  // namespace
}  // namespace receiver
