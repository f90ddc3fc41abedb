// A program that is compiled with -DDEBUG uses the log.

#include <gtest/gtest.h>
#include <string>

#include "foundation/logging.h"

#ifndef DEBUG
#error "this file is to be compiled with -DDEBUG"
#endif

namespace {

const int macroOfTheProgram = DEBUG;

#undef DEBUG

using namespace VestaHbbTV;

class LevelOutput : public LoggingOutput {
public:
    explicit LevelOutput(std::string& levels) : LoggingOutput(DEBUG), levels_(levels) {}

    void output(LogEntry& entry) override
    {
        if (accepts(entry))
            levels_ += std::to_string(entry.getLevel());
    }

private:
    std::string& levels_;
};

TEST(LoggingDebugMacro, LeavesTheMacroAndLogsAtEveryLevel)
{
    EXPECT_EQ(macroOfTheProgram, 1);
    std::string levels;
    Logging::getInstance()->addOutput(new LevelOutput(levels));
    for (const LogLevel level : {DEBUG, LOG, WARN, ERR})
        LogEntry(level, "Module") << "text";
    log(DEBUG, "Module", "text");
    EXPECT_EQ(levels, "12341");
    delete Logging::getInstance();
}

}  // namespace
