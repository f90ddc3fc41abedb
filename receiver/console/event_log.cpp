#include "receiver/console/event_log.h"

#include <cerrno>
#include <cstring>
#include <iomanip>
#include <ostream>
#include <sstream>

#include "receiver/text/printable.h"

namespace receiver {

using VestaHbbTV::MutexLock;

namespace {

struct SourceLook {
    const char* name;
    const char* colour;
};

SourceLook lookOf(Source source)
{
    switch (source) {
    case Source::Air:
        return {"air", "\033[36m"};
    case Source::Library:
        return {"library", "\033[32m"};
    case Source::Browser:
        return {"browser", "\033[33m"};
    case Source::Platform:
        return {"platform", "\033[35m"};
    case Source::Script:
        return {"script", "\033[95m"};
    case Source::User:
        return {"user", "\033[1m"};
    case Source::Receiver:
        return {"receiver", "\033[34m"};
    case Source::Decision:
        return {"decision", "\033[96m"};
    case Source::Log:
        return {"log", "\033[2m"};
    }
    return {"?", ""};
}

const char colourOff[] = "\033[0m";
const char clearLine[] = "\r\033[K";

}  // namespace

EventLog::EventLog(std::ostream& out, bool colour) : out_(out), colour_(colour)
{
}

bool EventLog::openTrace(const std::string& path)
{
    const MutexLock lock(mutex_);
    trace_.open(path);
    tracePath_ = path;
    return trace_.is_open();
}

void EventLog::report(Source source, const std::string& event, const std::string& text,
                      const Details& details)
{
    const MutexLock lock(mutex_);
    const Happening happening = {secondsSinceStart(), source, event, text, details};
    const SourceLook look = lookOf(source);
    std::ostringstream line;
    line << std::fixed << std::setprecision(3) << std::setw(8) << happening.time << "  "
         << (colour_ ? look.colour : "") << std::left << std::setw(8) << look.name
         << (colour_ ? colourOff : "") << "  " << printable(text) << '\n';
    write(line.str());
    writeTrace(happening);
    tellWitnesses(happening);
}

void EventLog::trace(Source source, const std::string& event, const std::string& text,
                     const Details& details)
{
    const MutexLock lock(mutex_);
    const Happening happening = {secondsSinceStart(), source, event, text, details};
    writeTrace(happening);
    tellWitnesses(happening);
}

void EventLog::mention(Source source, const std::string& event, const std::string& text,
                       const Details& details)
{
    const MutexLock lock(mutex_);
    tellWitnesses({secondsSinceStart(), source, event, text, details});
}

double EventLog::secondsSinceStart() const
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

std::string jsonOf(const Happening& happening)
{
    EventLog::Details object = {{"time", happening.time},
                                {"source", lookOf(happening.source).name},
                                {"event", happening.event},
                                {"text", happening.text}};
    if (!happening.details.is_null())
        object["details"] = happening.details;
    return printableJson(object.dump(-1, ' ', false, EventLog::Details::error_handler_t::replace));
}

void EventLog::writeTrace(const Happening& happening)
{
    if (!trace_.is_open())
        return;
    trace_ << jsonOf(happening) << '\n' << std::flush;
    check(trace_, tracePath_);
}

void EventLog::tellWitnesses(const Happening& happening)
{
    for (Witness* const witness : witnesses_)
        witness->see(happening);
}

void EventLog::progress(const std::string& text)
{
    const MutexLock lock(mutex_);
    write(printable(text));
    hasProgress_ = true;
}

void EventLog::print(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += printable(line) + '\n';
    const MutexLock lock(mutex_);
    if (answers_)
        answers_->insert(answers_->end(), lines.begin(), lines.end());
    else
        write(text);
}

void EventLog::setAnswers(std::vector<std::string>* lines)
{
    const MutexLock lock(mutex_);
    answers_ = lines;
}

void EventLog::setTypedLine(TypedLine* line)
{
    const MutexLock lock(mutex_);
    typedLine_ = line;
}

void EventLog::addWitness(Witness* witness)
{
    const MutexLock lock(mutex_);
    witnesses_.insert(witness);
}

void EventLog::removeWitness(Witness* witness)
{
    const MutexLock lock(mutex_);
    witnesses_.erase(witness);
}

/// Writes below the last line, in the place of a progress line.
void EventLog::write(const std::string& text)
{
    if (typedLine_)
        typedLine_->hide();
    out_ << (hasProgress_ ? clearLine : "") << text << std::flush;
    check(out_, "standard output");
    hasProgress_ = false;
    if (typedLine_)
        typedLine_->show();
}

/// To be called right after a write, while errno tells of it.
void EventLog::check(const std::ostream& stream, const std::string& name)
{
    if (!stream && problem_.empty())
        problem_ = name + ": " + std::strerror(errno);
}

std::string EventLog::problem() const
{
    const MutexLock lock(mutex_);
    return problem_;
}

std::string withSeparators(size_t number)
{
    std::string digits = std::to_string(number);
    for (size_t place = digits.size(); place > 3; place -= 3)
        digits.insert(place - 3, ",");
    return digits;
}

}  // namespace receiver
