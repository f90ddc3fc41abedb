// The line's layout, its dispatch, and what a caller may do to an entry's stream.

#include <ctime>
#include <functional>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>
#include <locale>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "foundation/logging.h"
#include "tests/foundation/local_time_zone.h"
#include "tests/foundation/time_functions.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

// The program is linked with --wrap for the functions below.
bool mutexesFail = false;
std::optional<std::time_t> clockStandsAt;

}  // namespace

extern "C" {

int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes)
{
    return mutexesFail ? 11 : __real_pthread_mutex_init(mutex, attributes);
}

std::time_t VESTA_TIME_FUNCTION(__real_, time)(std::time_t* seconds);

std::time_t VESTA_TIME_FUNCTION(__wrap_, time)(std::time_t* seconds)
{
    return clockStandsAt ? *clockStandsAt : VESTA_TIME_FUNCTION(__real_, time)(seconds);
}

}  // extern "C"

namespace {

using Texts = std::vector<std::string>;

/// Keeps whole lines as sinks see them.
class TextOutput : public LoggingOutput {
public:
    explicit TextOutput(Texts& texts, LogLevel minimumLevel = DEBUG,
                        std::function<void()> atEnd = {})
        : LoggingOutput(minimumLevel), texts_(texts), atEnd_(std::move(atEnd))
    {
    }

    ~TextOutput() override
    {
        if (atEnd_)
            atEnd_();
    }

    void output(LogEntry& entry) override { texts_.push_back(entry.stream().str()); }

private:
    Texts& texts_;
    std::function<void()> atEnd_;
};

std::string dateAndTime(std::time_t moment)
{
    std::tm local = {};
    localtime_r(&moment, &local);
    char text[32] = "";
    std::strftime(text, sizeof(text), "%x %X", &local);
    return text;
}

class LoggingTest : public ::testing::Test {
protected:
    LoggingTest() { Logging::getInstance()->addOutput(new TextOutput(texts_)); }

    ~LoggingTest() override
    {
        delete Logging::getInstance();
        clockStandsAt.reset();
    }

    /// Stops the clock, so that prefixes are known.
    std::string date_ = dateAndTime(*(clockStandsAt = 1700000000));
    Texts texts_;
};

TEST_F(LoggingTest, WritesDateLevelModuleTextAndLineFeed)
{
    LogEntry(LOG, "Window") << "text " << 5;
    EXPECT_EQ(texts_, Texts({date_ + "   LOG [      Window] text 5\n"}));
}

TEST_F(LoggingTest, DateIsTheOneOfTheEntrysConstruction)
{
    {
        LogEntry entry(LOG, "Window");
        *clockStandsAt += 3600;
        entry << "text";
    }
    EXPECT_EQ(texts_, Texts({date_ + "   LOG [      Window] text\n"}));
}

TEST_F(LoggingTest, DateIsTheLocalOne)
{
    const LocalTimeZone zone("XXX-05:45");
    clockStandsAt = 1000000000;  // 2001-09-09, 01:46:40 UTC
    LogEntry(LOG, "Window") << "text";
    EXPECT_EQ(texts_, Texts({"09/09/01 07:31:40   LOG [      Window] text\n"}));
}

TEST_F(LoggingTest, DateFollowsTheClock)
{
    std::string expected;
    for (const std::time_t moment : {1700000000, 1700000001, 1700003600, 1600000000}) {
        clockStandsAt = moment;
        LogEntry entry(ERR, "M");
        clockStandsAt = 0;
        expected = dateAndTime(moment) + "   ERR [           M] ";
        EXPECT_EQ(entry.stream().str(), expected);
    }
}

TEST_F(LoggingTest, DateFollowsTheTimeZoneWithinTheSameSecond)
{
    clockStandsAt = 1000000000;  // 2001-09-09, 01:46:40 UTC
    const std::pair<const char*, const char*> zones[] = {
        {"UTC0", "01:46:40"},
        {"XXX-05:45", "07:31:40"},
        {"XXX-06:45", "08:31:40"},
        {"YYY-06:45", "08:31:40"},
        {"XXX-1XXS,M3.1.0,M10.1.0", "03:46:40"},
        {"XXX-1", "02:46:40"},
        {"UTC0", "01:46:40"},
    };
    for (const auto& [zone, time] : zones) {
        texts_.clear();
        const LocalTimeZone set(zone);
        LogEntry(LOG, "Window") << "text";
        EXPECT_EQ(texts_, Texts({"09/09/01 " + std::string(time) + "   LOG [      Window] text\n"}))
            << zone;
    }
}

TEST_F(LoggingTest, EveryLevelHasItsTagAndOtherValuesHaveNone)
{
    const std::pair<int, const char*> cases[] = {
        {1, " DEBUG "}, {2, "   LOG "}, {3, "  WARN "}, {4, "   ERR "},
        {0, ""},        {5, ""},        {-1, ""},       {1 << 30, ""},
    };
    for (const auto& [level, tag] : cases) {
        texts_.clear();
        LogEntry(static_cast<LogLevel>(level), "Window") << "x";
        EXPECT_EQ(texts_, Texts({date_ + tag + "[      Window] x\n"})) << level;
    }
}

TEST_F(LoggingTest, ModuleIsRightAlignedInTwelveColumns)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", "[NO MODULE | "},
        {"A", "[           A] "},
        {"elevenchars", "[ elevenchars] "},
        {"twelve_chars", "[twelve_chars] "},
        {"thirteenchars", "[thirteenchars] "},
        {"ApplicationManager", "[ApplicationManager] "},
    };
    for (const auto& [module, written] : cases) {
        texts_.clear();
        LogEntry(WARN, module) << "x";
        EXPECT_EQ(texts_, Texts({date_ + "  WARN " + written + "x\n"})) << module;
    }
}

TEST_F(LoggingTest, PrefixIsThereAtOnce)
{
    LogEntry entry(DEBUG, "Window");
    EXPECT_EQ(entry.stream().str(), date_ + " DEBUG [      Window] ");
    EXPECT_TRUE(texts_.empty());
    EXPECT_EQ(entry.getLevel(), DEBUG);
    EXPECT_EQ(entry.getModule(), "Window");
}

TEST_F(LoggingTest, OutputDispatchesTheLineOnce)
{
    {
        LogEntry entry(LOG, "Window");
        entry.stream() << "first";
        entry.output();
        EXPECT_EQ(texts_, Texts({date_ + "   LOG [      Window] first\n"}));
        entry << "late";
        entry.output();
    }
    EXPECT_EQ(texts_.size(), 1u);
}

TEST_F(LoggingTest, LineFeedIsWrittenUnformatted)
{
    LogEntry(LOG, "Window").stream() << "x" << std::setw(8) << std::setfill('*');
    EXPECT_EQ(texts_, Texts({date_ + "   LOG [      Window] x\n"}));
}

TEST_F(LoggingTest, AFailedStreamTakesNothingMore)
{
    LogEntry(LOG, "Window").stream().setstate(std::ios::badbit);
    LogEntry(LOG, "Window") << "next";
    EXPECT_EQ(texts_,
              Texts({date_ + "   LOG [      Window] ", date_ + "   LOG [      Window] next\n"}));
}

TEST_F(LoggingTest, TextMayHoldAnything)
{
    const std::string text("a\0b\nc", 5);
    LogEntry(LOG, std::string("m\0n", 3)) << text;
    EXPECT_EQ(texts_,
              Texts({date_ + "   LOG [         " + std::string("m\0n", 3) + "] " + text + "\n"}));
}

TEST_F(LoggingTest, FormattingOfOneLineDoesNotReachTheNext)
{
    std::ostringstream other;
    struct Commas : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    const std::function<void(std::ostringstream&)> changes[] = {
        [](std::ostringstream& text) { text << std::hex << std::showbase << std::uppercase; },
        [](std::ostringstream& text) { text << std::setprecision(2) << std::scientific; },
        [](std::ostringstream& text) { text << std::setfill('*') << std::left << std::setw(20); },
        [](std::ostringstream& text) { text << std::boolalpha << std::unitbuf << std::showpos; },
        [](std::ostringstream& text) { text.setstate(std::ios::failbit | std::ios::eofbit); },
        [](std::ostringstream& text) { text.exceptions(std::ios::failbit | std::ios::badbit); },
        [](std::ostringstream& text) { text.imbue(std::locale(text.getloc(), new Commas)); },
        [&other](std::ostringstream& text) { text.tie(&other); },
        [&other](std::ostringstream& text) { static_cast<std::ios&>(text).rdbuf(other.rdbuf()); },
        [](std::ostringstream& text) { text.seekp(0); },
        [](std::ostringstream& text) { text.str("replaced"); },
    };
    const std::ostringstream fresh;
    for (const auto& change : changes) {
        change(LogEntry(LOG, "Window").stream());
        texts_.clear();
        {
            LogEntry entry(LOG, "Window");
            std::ostringstream& text = entry.stream();
            EXPECT_EQ(text.flags(), fresh.flags());
            EXPECT_EQ(text.precision(), fresh.precision());
            EXPECT_EQ(text.width(), fresh.width());
            EXPECT_EQ(text.fill(), fresh.fill());
            EXPECT_EQ(text.rdstate(), fresh.rdstate());
            EXPECT_EQ(text.exceptions(), fresh.exceptions());
            EXPECT_EQ(text.tie(), nullptr);
            EXPECT_TRUE(text.getloc() == fresh.getloc());
            EXPECT_EQ(static_cast<std::ios&>(text).rdbuf(), text.rdbuf());
            text << 255 << ' ' << 1234.5678 << ' ' << true;
        }
        EXPECT_EQ(texts_, Texts({date_ + "   LOG [      Window] 255 1234.57 1\n"}));
    }
}

TEST_F(LoggingTest, EntriesUseTheGlobalLocaleOfTheirTime)
{
    struct Commas : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    const std::locale former = std::locale::global(std::locale(std::locale(), new Commas));
    LogEntry(LOG, "M") << 1.5;
    std::locale::global(former);
    LogEntry(LOG, "M") << 1.5;
    EXPECT_EQ(texts_, Texts({date_ + "   LOG [           M] 1,5\n",
                             date_ + "   LOG [           M] 1.5\n"}));
}

TEST_F(LoggingTest, EntriesMayLiveAtTheSameTime)
{
    {
        LogEntry outer(LOG, "Outer");
        outer << "begin ";
        {
            LogEntry first(WARN, "First");
            LogEntry(ERR, "Second") << "in between";
            first << "inner";
        }
        outer << "end";
    }
    EXPECT_EQ(texts_, Texts({date_ + "   ERR [      Second] in between\n",
                             date_ + "  WARN [       First] inner\n",
                             date_ + "   LOG [       Outer] begin end\n"}));
}

TEST_F(LoggingTest, LongLinesAreWrittenWholeAndLeaveNothingBehind)
{
    const std::string text(100000, 'x');
    LogEntry(LOG, "M") << text;
    LogEntry(LOG, "M") << "short";
    EXPECT_EQ(texts_, Texts({date_ + "   LOG [           M] " + text + "\n",
                             date_ + "   LOG [           M] short\n"}));
}

TEST_F(LoggingTest, TheLibrarysOwnLinesAreMadeOfTheirParts)
{
    log(ERR, "Window", "value ", 7, ' ', std::string("end"));
    log(DEBUG, "Window");
    EXPECT_EQ(texts_, Texts({date_ + "   ERR [      Window] value 7 end\n",
                             date_ + " DEBUG [      Window] \n"}));
}

TEST_F(LoggingTest, ALineIsWhatTheGivenFunctionWritesOfItsParts)
{
    const int part = 7;
    logLine(
        LOG, "Window",
        [](std::ostream& line, const void* parts) {
            line << "value " << *static_cast<const int*>(parts);
        },
        &part);
    EXPECT_EQ(texts_, Texts({date_ + "   LOG [      Window] value 7\n"}));
}

TEST_F(LoggingTest, ALineWhosePartsFindNoMemoryEndsBeforeThemAndNothingIsThrown)
{
    EXPECT_NO_THROW(logLine(
        ERR, "Window",
        [](std::ostream& line, const void*) {
            line << "begun";
            throw std::bad_alloc();
        },
        nullptr));
    EXPECT_EQ(texts_, Texts({date_ + "   ERR [      Window] begun\n"}));
}

TEST_F(LoggingTest, PartsOfALineAreWrittenAsAStreamWritesThem)
{
    const char text[16] = "array";
    const char* const pointer = "pointer";
    const unsigned char letter = 'c';
    const bool truth = true;
    log(LOG, "M", text, ' ', pointer, ' ', letter, ' ', truth, ' ', std::hex, 255u, ' ',
        LogLevel(4));
    std::ostringstream expected;
    expected << text << ' ' << pointer << ' ' << letter << ' ' << truth << ' ' << std::hex << 255u
             << ' ' << LogLevel(4);
    EXPECT_EQ(texts_, Texts({date_ + "   LOG [           M] " + expected.str() + "\n"}));
}

TEST_F(LoggingTest, SinksGetEveryEntryInTheOrderOfTheirAddition)
{
    class Numbered : public LoggingOutput {
    public:
        Numbered(Texts& order, std::string name)
            : LoggingOutput(ERR), order_(order), name_(std::move(name))
        {
        }
        void output(LogEntry&) override { order_.push_back(name_); }

    private:
        Texts& order_;
        std::string name_;
    };
    Texts order;
    Logging::getInstance()->addOutput(new Numbered(order, "first"));
    Logging::getInstance()->addOutput(nullptr);
    Logging::getInstance()->addOutput(new Numbered(order, "second"));
    LogEntry(DEBUG, "M") << "below the sinks' minimum, which they judge themselves";
    EXPECT_EQ(order, Texts({"first", "second"}));
    EXPECT_EQ(texts_.size(), 1u);
}

TEST_F(LoggingTest, ALineThatASinkHasNoMemoryForIsLostAndTheNextIsWritten)
{
    class Forgetful : public TextOutput {
    public:
        using TextOutput::TextOutput;
        void output(LogEntry& entry) override
        {
            if (std::exchange(isFirst_, false))
                throw std::bad_alloc();
            TextOutput::output(entry);
        }

    private:
        bool isFirst_ = true;
    };
    Texts texts;
    Logging::getInstance()->addOutput(new Forgetful(texts));
    LogEntry(LOG, "M") << "lost";
    LogEntry(LOG, "M") << "written";
    EXPECT_EQ(texts, Texts({date_ + "   LOG [           M] written\n"}));
}

/// Cannot be written.
struct Failing {};

std::ostream& operator<<(std::ostream&, const Failing&)
{
    throw std::runtime_error("not written");
}

TEST_F(LoggingTest, WhatAPartThrowsPassesAndTheLineEndsBeforeIt)
{
    EXPECT_THROW(log(ERR, "Window", "begun ", Failing()), std::runtime_error);
    EXPECT_EQ(texts_, Texts({date_ + "   ERR [      Window] begun \n"}));
}

TEST_F(LoggingTest, DeletingTheLogDeletesItsSinksAndANewOneHasNone)
{
    int deleted = 0;
    Texts texts;
    for (int n = 0; n < 2; ++n)
        Logging::getInstance()->addOutput(new TextOutput(texts, DEBUG, [&deleted] { ++deleted; }));
    Logging::getInstance()->addOutput(nullptr);
    EXPECT_TRUE(Logging::hasOutputs());
    delete Logging::getInstance();
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(Logging::instance, nullptr);
    EXPECT_FALSE(Logging::hasOutputs());

    LogEntry(ERR, "M") << "unheard";
    EXPECT_TRUE(texts.empty());
    EXPECT_TRUE(texts_.empty());
    Logging::getInstance()->addOutput(new TextOutput(texts));
    LogEntry(ERR, "M") << "heard";
    EXPECT_EQ(texts.size(), 1u);
}

TEST(LoggingInstance, TheEndOfAFormerOneLeavesItsSuccessorAlone)
{
    delete Logging::instance;  // another test's
    const Logging* const former = Logging::getInstance();
    Logging::instance = nullptr;
    const Logging* const successor = Logging::getInstance();
    delete former;
    EXPECT_EQ(Logging::instance, successor);
    delete successor;
    EXPECT_EQ(Logging::instance, nullptr);
}

TEST(LoggingWithoutSinks, LinesHaveNoVisibleEffect)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Logging::hasOutputs());
    LogEntry(ERR, "Window") << "text";
    LogEntry entry(LOG, "");
    entry.output();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    delete Logging::getInstance();
}

/// Tells whether it was formatted.
struct Formatted {
    bool* isFormatted;
};

std::ostream& operator<<(std::ostream& text, const Formatted& part)
{
    *part.isFormatted = true;
    return text;
}

TEST(LoggingWithoutSinks, TheLibrarysOwnLinesAreNotEvenFormatted)
{
    delete Logging::instance;  // another test's
    bool isFormatted = false;
    log(ERR, "Window", Formatted{&isFormatted});
    EXPECT_FALSE(isFormatted);
    EXPECT_EQ(Logging::instance, nullptr);
}

TEST(LoggingWithoutMutex, SaysSoAndCarriesOn)
{
    delete Logging::instance;  // another test's
    mutexesFail = true;
    testing::internal::CaptureStderr();
    Texts texts;
    Logging::getInstance()->addOutput(new TextOutput(texts));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "HbbTV Logging: failed initiating output mutex\n");
    LogEntry(LOG, "Window") << "text";
    EXPECT_EQ(texts.size(), 1u);
    delete Logging::getInstance();
    EXPECT_EQ(Logging::instance, nullptr);
    mutexesFail = false;
}

}  // namespace
