/// What the library logs during a test.
#ifndef VESTA_TESTS_SECURITY_LOG_LINES_H
#define VESTA_TESTS_SECURITY_LOG_LINES_H

#include <string>
#include <vector>

#include "foundation/logging.h"

namespace VestaHbbTV {

/// Collects the log lines while it lives: the level's number, then the line from its module on.
class LogLines {
public:
    LogLines() { Logging::getInstance()->addOutput(new Sink(lines_)); }
    ~LogLines() { delete Logging::instance; }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    const std::vector<std::string>& get() const { return lines_; }

private:
    class Sink : public LoggingOutput {
    public:
        explicit Sink(std::vector<std::string>& lines) : LoggingOutput(DEBUG), lines_(lines) {}

        void output(LogEntry& entry) override
        {
            const std::string line = entry.stream().str();
            lines_.push_back(std::to_string(entry.getLevel()) + line.substr(line.find('[')));
        }

    private:
        std::vector<std::string>& lines_;
    };

    std::vector<std::string> lines_;
};

}  // namespace VestaHbbTV

#endif
