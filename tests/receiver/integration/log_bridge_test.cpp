#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "receiver/integration/log_bridge.h"

namespace receiver {
namespace {

using namespace VestaHbbTV;

struct Hearer : Witness {
    void see(const Happening& happening) override { heard.push_back(happening.text); }
    std::vector<std::string> heard;
};

class LogBridgeTest : public ::testing::Test {
protected:
    LogBridgeTest() { log_.addWitness(&hearer_); }

    /// A line of each level.
    void write(LogBridge bridge)
    {
        for (const LogLevel level : {DEBUG, LOG, WARN, ERR}) {
            LogEntry entry(level, "Module");
            entry.stream() << "text";
            bridge.output(entry);
        }
    }

    size_t linesShown() const
    {
        const std::string text = out_.str();
        return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    }

    std::ostringstream out_;
    EventLog log_{out_, false};
    Hearer hearer_;
};

TEST_F(LogBridgeTest, ShowsLinesFromALevelOn)
{
    write(LogBridge(WARN, false, log_));
    EXPECT_EQ(linesShown(), 2u);
    EXPECT_EQ(hearer_.heard.size(), 2u);
    EXPECT_EQ(hearer_.heard[0].substr(0, 6), "warn  ");
    EXPECT_EQ(hearer_.heard[1].substr(0, 6), "err   ");
}

TEST_F(LogBridgeTest, WitnessesHearOfAllLevelsWhateverIsShown)
{
    write(LogBridge(ERR, true, log_));
    EXPECT_EQ(linesShown(), 1u);
    ASSERT_EQ(hearer_.heard.size(), 4u);
    EXPECT_EQ(hearer_.heard[0].substr(0, 6), "debug ");
}

TEST_F(LogBridgeTest, WithoutALevelNothingIsShown)
{
    write(LogBridge(std::nullopt, true, log_));
    EXPECT_EQ(linesShown(), 0u);
    EXPECT_EQ(hearer_.heard.size(), 4u);
}

}  // namespace
}  // namespace receiver
