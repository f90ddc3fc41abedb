#include "foundation/logging.h"

#include <algorithm>
#include <iostream>
#include <new>
#include <string_view>
#include <utility>

namespace VestaHbbTV {

namespace {

/// A line longer than this is not kept for the next entry, so that its memory is not either.
const std::streamoff keptLineLength = 1024;

/// Makes a used stream like a new one.
void renew(std::ostringstream& text)
{
    text.exceptions(std::ios::goodbit);
    static_cast<std::ios&>(text).rdbuf(text.rdbuf());  // also forgets errors
    text.str(std::string());
    text.tie(nullptr);
    text.flags(std::ios::skipws | std::ios::dec);
    text.precision(6);
    text.width(0);
    text.fill(' ');
    const std::locale global;
    if (text.getloc() != global)
        text.imbue(global);
}

std::string_view levelTag(LogLevel level)
{
    switch (level) {
    case DEBUG:
        return " DEBUG ";
    case LOG:
        return "   LOG ";
    case WARN:
        return "  WARN ";
    case ERR:
        return "   ERR ";
    }
    return "";
}

void writeLine(std::ostream& sink, LogEntry& entry)
{
    const std::string line = entry.stream().str();
    sink.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
}

}  // namespace

std::atomic<LogEntry::Line*> LogEntry::spareLine{nullptr};

LogEntry::LogEntry(LogLevel level, std::string module)
    : level_(level), module_(std::move(module)), line_(takeLine())
{
    writePrefix();
}

LogEntry::~LogEntry()
{
    try {
        output();
    } catch (const std::bad_alloc&) {  // the line is lost
    }
    giveBack(std::move(line_));
}

std::unique_ptr<LogEntry::Line> LogEntry::takeLine()
{
    std::unique_ptr<Line> line(spareLine.exchange(nullptr));
    if (!line)
        return std::make_unique<Line>();
    renew(line->text);
    return line;
}

void LogEntry::giveBack(std::unique_ptr<Line> line)
{
    const std::streamoff length = line->text.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::out);
    if (length <= keptLineLength)
        delete spareLine.exchange(line.release());
}

/// "%x %X" of the current second, formatted once a second and once a time zone. The names of the
/// zone are only compared, by their addresses: tzset() may free what it replaces.
std::string_view LogEntry::Line::dateAndTime()
{
    const std::time_t now = std::time(nullptr);
    const Zone current(tzname[0], tzname[1], timezone, daylight);
    if (now != second || zone != current) {
        std::tm local = {};
        localtime_r(&now, &local);
        dateLength = std::strftime(date, sizeof(date), "%x %X", &local);
        second = now;
        zone = current;
    }
    return {date, dateLength};
}

void LogEntry::writePrefix()
{
    // Straight into the buffer: nothing here needs what the stream's formatting does for a caller.
    const auto write = [&text = *stream().rdbuf()](std::string_view piece) {
        text.sputn(piece.data(), static_cast<std::streamsize>(piece.size()));
    };
    write(line_->dateAndTime());
    write(levelTag(level_));
    write("[");
    if (module_.empty()) {
        write("NO MODULE | ");  // Deliberate: this form has no closing bracket.
        return;
    }
    const std::string_view blanks = "            ";
    write(blanks.substr(std::min(module_.size(), blanks.size())));
    write(module_);
    write("] ");
}

void LogEntry::output()
{
    if (isOutput_)
        return;
    isOutput_ = true;
    stream() << std::endl;
    Logging::getInstance()->output(*this);
}

LoggingOutput::LoggingOutput(LogLevel minimumLevel) : minimumLevel_(minimumLevel)
{
}

LoggingOutput::~LoggingOutput() = default;

LoggingOutputStdout::LoggingOutputStdout(LogLevel minimumLevel) : LoggingOutput(minimumLevel)
{
}

void LoggingOutputStdout::output(LogEntry& entry)
{
    if (accepts(entry))
        writeLine(std::cout, entry);
}

LoggingOutputFile::LoggingOutputFile(LogLevel minimumLevel) : LoggingOutput(minimumLevel)
{
}

bool LoggingOutputFile::openFile(const char* path)
{
    file_ = std::make_unique<std::ofstream>();
    // Without a buffer nothing of a line that could not be written turns up before the next one.
    file_->rdbuf()->pubsetbuf(nullptr, 0);
    if (path)
        file_->open(path, std::ios::out | std::ios::app);
    return file_->is_open();
}

void LoggingOutputFile::output(LogEntry& entry)
{
    if (!file_ || !file_->is_open() || !accepts(entry))
        return;
    file_->clear();  // a line that could not be written is lost, but not those after it
    writeLine(*file_, entry);
}

Logging* Logging::instance = nullptr;
std::atomic<unsigned> Logging::outputCount{0};

Logging* Logging::getInstance()
{
    if (!instance)
        instance = new Logging;
    return instance;
}

Logging::Logging()
{
    if (!mutex_.isSetUp())
        std::cerr << "HbbTV Logging: failed initiating output mutex\n";
}

Logging::~Logging()
{
    {
        const MutexLock lock(mutex_);
        outputCount = 0;
        for (LoggingOutput* output : outputs_)
            delete output;
        outputs_.clear();
    }
    delete LogEntry::spareLine.exchange(nullptr);
    if (instance == this)
        instance = nullptr;
}

void Logging::addOutput(LoggingOutput* output)
{
    const MutexLock lock(mutex_);
    outputs_.push_back(output);
    outputCount = static_cast<unsigned>(outputs_.size());
}

void Logging::output(LogEntry& entry)
{
    const MutexLock lock(mutex_);
    for (LoggingOutput* output : outputs_) {
        if (output)
            output->output(entry);
    }
}

void logLine(LogLevel level, const char* module,
             void (*write)(std::ostream& line, const void* parts), const void* parts)
{
    try {
        LogEntry entry(level, module);
        write(entry.stream(), parts);
    } catch (const std::bad_alloc&) {
        return;
    }
}

}  // namespace VestaHbbTV
