#include "foundation/logging.h"

#include <ctime>
#include <iomanip>
#include <iostream>
#include <utility>

namespace VestaHbbTV {

namespace {

/// "%x %X" of the current second; formatted once a second and thread.
const char* dateAndTime()
{
    struct Formatted {
        std::time_t second = -1;
        char text[32] = "";
    };
    thread_local Formatted formatted;

    const std::time_t now = std::time(nullptr);
    if (now != formatted.second) {
        std::tm local = {};
        localtime_r(&now, &local);
        if (std::strftime(formatted.text, sizeof(formatted.text), "%x %X", &local) == 0)
            formatted.text[0] = '\0';
        formatted.second = now;
    }
    return formatted.text;
}

const char* levelTag(LogLevel level)
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

/// Holds a mutex, if it could be initialised at all.
class MutexLock {
public:
    MutexLock(pthread_mutex_t& mutex, bool usable) : mutex_(usable ? &mutex : nullptr)
    {
        if (mutex_)
            pthread_mutex_lock(mutex_);
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    ~MutexLock()
    {
        if (mutex_)
            pthread_mutex_unlock(mutex_);
    }

private:
    pthread_mutex_t* mutex_;
};

}  // namespace

LogEntry::LogEntry(LogLevel level, std::string module) : level_(level), module_(std::move(module))
{
    text_ << dateAndTime() << levelTag(level_);
    if (module_.empty())
        text_ << "[NO MODULE | ";  // Deliberate: this form has no closing bracket.
    else
        text_ << '[' << std::setw(12) << module_ << "] ";
}

LogEntry::~LogEntry()
{
    output();
}

void LogEntry::output()
{
    if (isOutput_)
        return;
    isOutput_ = true;
    text_ << '\n' << std::flush;
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
        std::cout << entry.stream().str() << std::flush;
}

LoggingOutputFile::LoggingOutputFile(LogLevel minimumLevel) : LoggingOutput(minimumLevel)
{
}

bool LoggingOutputFile::openFile(const char* path)
{
    file_ = std::make_unique<std::ofstream>();
    if (path)
        file_->open(path, std::ios::out | std::ios::app);
    return file_->is_open();
}

void LoggingOutputFile::output(LogEntry& entry)
{
    if (file_ && accepts(entry))
        *file_ << entry.stream().str() << std::flush;
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
    hasMutex_ = pthread_mutex_init(&mutex_, nullptr) == 0;
    if (!hasMutex_)
        std::cerr << "HbbTV Logging: failed initiating output mutex\n";
}

Logging::~Logging()
{
    {
        const MutexLock lock(mutex_, hasMutex_);
        outputCount = 0;
        for (LoggingOutput* output : outputs_)
            delete output;
        outputs_.clear();
    }
    if (hasMutex_)
        pthread_mutex_destroy(&mutex_);
    if (instance == this)
        instance = nullptr;
}

void Logging::addOutput(LoggingOutput* output)
{
    const MutexLock lock(mutex_, hasMutex_);
    outputs_.push_back(output);
    outputCount = static_cast<unsigned>(outputs_.size());
}

void Logging::output(LogEntry& entry)
{
    const MutexLock lock(mutex_, hasMutex_);
    for (LoggingOutput* output : outputs_) {
        if (output)
            output->output(entry);
    }
}

}  // namespace VestaHbbTV
