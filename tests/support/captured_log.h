/// The log's lines while an object lives.
#ifndef VESTA_TESTS_SUPPORT_CAPTURED_LOG_H
#define VESTA_TESTS_SUPPORT_CAPTURED_LOG_H

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/logging.h"

namespace vesta::test {

class CapturedLog {
public:
    CapturedLog() { VestaHbbTV::Logging::getInstance()->addOutput(new Output(lines_, leveled_)); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;
    ~CapturedLog() { delete VestaHbbTV::Logging::getInstance(); }

    /// Without date and level: "[      Window] text".
    const std::vector<std::string>& lines() const { return lines_; }

    /// With the level and a bare module: "WARN Window: text".
    const std::vector<std::string>& leveledLines() const { return leveled_; }

    /// How often a line was written, given as in leveledLines().
    long count(const std::string& leveledLine) const
    {
        return std::count(leveled_.begin(), leveled_.end(), leveledLine);
    }

    void clear()
    {
        lines_.clear();
        leveled_.clear();
    }

private:
    class Output : public VestaHbbTV::LoggingOutput {
    public:
        Output(std::vector<std::string>& lines, std::vector<std::string>& leveled)
            : LoggingOutput(VestaHbbTV::DEBUG), lines_(lines), leveled_(leveled)
        {
        }

        void output(VestaHbbTV::LogEntry& entry) override
        {
            std::string line = entry.stream().str();
            if (!line.empty() && line.back() == '\n')
                line.pop_back();
            const size_t module = line.find('[');
            lines_.push_back(module == std::string::npos ? line : line.substr(module));
            const size_t text = line.find("] ", module);
            leveled_.push_back(std::string(levelName(entry.getLevel())) + " " + entry.getModule() +
                               ": " + (text == std::string::npos ? line : line.substr(text + 2)));
        }

    private:
        static const char* levelName(VestaHbbTV::LogLevel level)
        {
            const char* const names[] = {"?", "DEBUG", "LOG", "WARN", "ERR"};
            return level >= VestaHbbTV::DEBUG && level <= VestaHbbTV::ERR ? names[level] : names[0];
        }

        std::vector<std::string>& lines_;
        std::vector<std::string>& leveled_;
    };

    std::vector<std::string> lines_;
    std::vector<std::string> leveled_;
};

}  // namespace vesta::test

#endif
