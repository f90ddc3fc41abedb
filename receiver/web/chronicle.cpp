#include "receiver/web/chronicle.h"

#include <algorithm>
#include <cstdlib>
#include <random>
#include <sstream>

namespace receiver {

using VestaHbbTV::MutexLock;

namespace {

// Nobody reads a longer one, and it would push out all others.
constexpr size_t mostBytesOfOne = size_t(64) << 10;
constexpr size_t mostBytesOfText = size_t(4) << 10;

std::string randomName()
{
    std::random_device source;
    std::ostringstream name;
    name << std::hex << source() << source();
    return name.str();
}

std::string entryOf(uint64_t id, const Happening& happening)
{
    std::string json = jsonOf(happening);
    if (json.size() > mostBytesOfOne) {
        const std::string beginning = happening.text.substr(0, mostBytesOfText) + " (cut)";
        json = jsonOf({happening.time, happening.source, happening.event, beginning, nullptr});
    }
    return "{\"id\":" + std::to_string(id) + "," + json.substr(1);
}

}  // namespace

Chronicle::Chronicle(EventLog& log, Limits limits)
    : log_(log), mostBytes_(limits.bytes),
      run_(randomName()), happenings_{limits.happenings, {}, 0}, logLines_{limits.logLines, {}, 0}
{
    log_.addWitness(this);
}

Chronicle::~Chronicle()
{
    log_.removeWitness(this);
}

void Chronicle::see(const Happening& happening)
{
    const MutexLock lock(mutex_);
    const uint64_t id = ++last_;
    Line& line = happening.source == Source::Log ? logLines_ : happenings_;
    line.entries.push_back({id, entryOf(id, happening)});
    line.bytes += line.entries.back().json.size();
    shorten(line);
}

void Chronicle::shorten(Line& line)
{
    while (line.entries.size() > line.most || line.bytes > mostBytes_) {
        line.bytes -= line.entries.front().json.size();
        line.entries.pop_front();
        ++omitted_;
    }
}

uint64_t Chronicle::last() const
{
    const MutexLock lock(mutex_);
    return last_;
}

uint64_t Chronicle::idIn(const std::string& place) const
{
    const size_t dot = place.rfind('.');
    if (dot == std::string::npos || place.substr(0, dot) != run_)
        return 0;
    const uint64_t id = std::strtoull(place.c_str() + dot + 1, nullptr, 10);
    return std::min(id, last());
}

uint64_t Chronicle::omitted() const
{
    const MutexLock lock(mutex_);
    return omitted_;
}

/// From the latest backwards: no more is copied while others wait to report than is asked for.
std::vector<Chronicle::Entry> Chronicle::after(uint64_t id, size_t mostBytes) const
{
    using Place = std::deque<Entry>::const_reverse_iterator;
    const auto idAt = [](const Place& place, const Line& line) {
        return place == line.entries.rend() ? 0 : place->id;
    };
    std::vector<Entry> entries;
    const MutexLock lock(mutex_);
    Place happening = happenings_.entries.rbegin();
    Place logLine = logLines_.entries.rbegin();
    for (size_t bytes = 0;;) {
        const uint64_t happeningId = idAt(happening, happenings_);
        const uint64_t logLineId = idAt(logLine, logLines_);
        if (std::max(happeningId, logLineId) <= id)
            break;
        Place& latest = logLineId > happeningId ? logLine : happening;
        bytes += latest->json.size();
        if (bytes > mostBytes)
            break;
        entries.push_back(*latest++);
    }
    std::reverse(entries.begin(), entries.end());
    return entries;
}

}  // namespace receiver
