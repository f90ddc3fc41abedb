#include "recorder/settings.h"

#include <charconv>
#include <limits>
#include <string_view>
#include <unistd.h>

namespace recorder {

namespace {

std::string_view textOf(const char* value)
{
    return value ? value : "";
}

/// "%p" stands for the process's number.
std::string pathOf(std::string_view pattern)
{
    std::string path(pattern);
    const std::string number = std::to_string(getpid());
    for (size_t place = path.find("%p"); place != std::string::npos;
         place = path.find("%p", place + number.size()))
        path.replace(place, 2, number);
    return path;
}

/// What a unit multiplies with; 0 for what is none.
uint64_t factorOf(std::string_view unit)
{
    const uint64_t kilo = 1024;
    if (unit.empty())
        return 1;
    if (unit == "K")
        return kilo;
    if (unit == "M")
        return kilo * kilo;
    return unit == "G" ? kilo * kilo * kilo : 0;
}

bool readLimit(std::string_view text, uint64_t& limit)
{
    uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, number);
    if (read.ec != std::errc())
        return false;
    const uint64_t factor =
        factorOf(std::string_view(read.ptr, static_cast<size_t>(end - read.ptr)));
    if (number == 0 || factor == 0 || number > std::numeric_limits<uint64_t>::max() / factor)
        return false;
    limit = number * factor;
    return true;
}

bool readLeaveOut(std::string_view words, Settings& settings)
{
    if (words.empty())
        return true;
    const size_t comma = words.find(',');
    const std::string_view word = words.substr(0, comma);
    if (word == "bodies")
        settings.leavesOutBodies = true;
    else if (word == "queries")
        settings.leavesOutQueries = true;
    else
        return false;
    if (comma == std::string_view::npos)
        return true;
    const std::string_view rest = words.substr(comma + 1);
    return !rest.empty() && readLeaveOut(rest, settings);
}

}  // namespace

std::variant<Settings, std::string> readSettings(const char* record, const char* limit,
                                                 const char* leaveOut)
{
    Settings settings;
    settings.path = pathOf(textOf(record));
    if (settings.path.empty())
        return settings;
    if (!textOf(limit).empty() && !readLimit(limit, settings.limit))
        return "VESTA_RECORD_LIMIT is \"" + std::string(limit) +
               "\", where a number of bytes is expected, with K, M or G after it or without";
    if (!readLeaveOut(textOf(leaveOut), settings))
        return "VESTA_RECORD_LEAVE_OUT is \"" + std::string(leaveOut) +
               "\", where bodies, queries, or both with a comma are expected";
    return settings;
}

}  // namespace recorder
