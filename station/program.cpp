#include "station/program.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iterator>
#include <optional>
#include <ostream>
#include <sstream>

#include "station/description/description_reader.h"
#include "station/multiplex/multiplexer.h"
#include "station/multiplex/schedule.h"
#include "station/text/dvb_time.h"

#ifndef VESTA_VERSION
#error "the build says which version it is"
#endif

namespace station {

namespace {

constexpr const char* usage = R"(usage: vesta_station make [--start TIME] DESCRIPTION STREAM
       vesta_station check [--start TIME] DESCRIPTION

make    writes the transport stream that a description (station.json) asks for
check   says what is wrong with a description, and writes nothing

  --start TIME   when the stream starts, instead of what the description says: "now", or a
                 time as "2026-03-14T20:15:00Z"
  -h, --help     this text
  --version      the program's version

Exit codes: 0 success, 1 wrong usage or description, 2 a file that cannot be read or written.
docs/station.md explains the description.
)";

using PacketSink = std::function<void(const Packet&)>;

int complain(std::ostream& errors, const std::string& problem, ExitCode code)
{
    errors << "vesta_station: " << problem << "\n";
    return code;
}

std::optional<std::string> readText(const std::string& path)
{
    std::error_code problem;
    if (std::filesystem::is_directory(path, problem))
        return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return file.is_open() && !file.bad() ? std::optional(std::move(text)) : std::nullopt;
}

/// What the arguments say but for the command.
struct Job {
    std::string description;
    std::optional<int64_t> start;  // seconds since 1970 (UTC), instead of the description's
};

/// @param text "now", or a time; nothing for another text
std::optional<int64_t> readStart(const std::string& text)
{
    const auto now = std::chrono::system_clock::now();
    return text == "now" ? std::chrono::system_clock::to_time_t(now) : parseUtc(text);
}

std::string seconds(int64_t ms)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << static_cast<double>(ms) / 1'000 << " s";
    return text.str();
}

/// A stream that ends before a cycle of its carousel does has files that nobody ever gets.
void checkCycles(const StreamReport& stream, Problems& problems)
{
    for (const RotationReport& rotation : stream.rotations) {
        if (!rotation.cycleMs)
            problems.push_back({rotation.place, rotation.title +
                                                    " does not come round once: the stream needs a "
                                                    "longer duration or a higher bitrate"});
    }
}

std::string counted(uint64_t count, const std::string& thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

void summarise(const Description& description, const StreamReport& stream, std::ostream& output)
{
    output << counted(description.services.size(), "service") << ", "
           << seconds(description.duration * 1'000) << ", " << counted(stream.packets, "packet")
           << ", of them " << stream.nullPackets << " null packets\n";
    for (const RotationReport& rotation : stream.rotations)
        output << rotation.title << ": " << counted(rotation.files, "file") << " in "
               << counted(rotation.modules, "module") << ", a cycle takes "
               << seconds(rotation.cycleMs.value_or(0)) << "\n";
}

int report(const Problems& problems, const std::string& path, std::ostream& errors)
{
    for (const Problem& problem : problems)
        errors << textOf(problem, path) << "\n";
    return problems.empty() ? exitSuccess : exitUsage;
}

/// Reads the description and plays it to the sink.
int broadcast(const Job& job, const PacketSink& sink, std::ostream& output, std::ostream& errors)
{
    const std::string& path = job.description;
    const std::optional<std::string> text = readText(path);
    if (!text)
        return complain(errors, path + ": cannot be read", exitUnreadable);
    Problems problems;
    const auto description =
        readDescription(*text, std::filesystem::path(path).parent_path(), problems, job.start);
    if (!description)
        return report(problems, path, errors);
    const auto schedule = makeSchedule(*description, problems);
    if (!schedule)
        return report(problems, path, errors);
    const StreamReport stream = multiplex(*schedule, sink);
    checkCycles(stream, problems);
    if (problems.empty())
        summarise(*description, stream, output);
    return report(problems, path, errors);
}

int check(const Job& job, std::ostream& output, std::ostream& errors)
{
    return broadcast(
        job, [](const Packet&) {}, output, errors);
}

/// A stream that could not be made leaves no file of that name, nor does it take one away.
int make(const Job& job, const std::string& streamPath, std::ostream& output, std::ostream& errors)
{
    const std::string partPath = streamPath + ".part";
    std::ofstream stream(partPath, std::ios::binary | std::ios::trunc);
    if (!stream)
        return complain(errors, partPath + ": cannot be written", exitUnreadable);
    const int code = broadcast(
        job,
        [&stream](const Packet& packet) {
            stream.write(reinterpret_cast<const char*>(packet.data()),
                         static_cast<std::streamsize>(packet.size()));
        },
        output, errors);
    stream.close();
    std::error_code problem;
    if (code == exitSuccess && stream)
        std::filesystem::rename(partPath, streamPath, problem);
    else
        std::filesystem::remove(partPath, problem);
    if (code == exitSuccess && (!stream || problem))
        return complain(errors, streamPath + ": cannot be written", exitUnreadable);
    return code;
}

}  // namespace

int run(const std::vector<std::string>& arguments, std::ostream& output, std::ostream& errors)
{
    std::vector<std::string> words = arguments;
    Job job;
    if (words.size() > 2 && words[1] == "--start") {
        job.start = readStart(words[2]);
        if (!job.start)
            return complain(errors,
                            "--start: expected \"now\" or a time as \"2026-03-14T20:15:00Z\"",
                            exitUsage);
        words.erase(words.begin() + 1, words.begin() + 3);
    }
    const std::string command = words.empty() ? "" : words.front();
    if (arguments.size() == 1 && (command == "--help" || command == "-h")) {
        output << usage;
        return exitSuccess;
    }
    if (arguments.size() == 1 && command == "--version") {
        output << "vesta_station " << VESTA_VERSION << "\n";
        return exitSuccess;
    }
    job.description = words.size() > 1 ? words[1] : "";
    if (words.size() == 3 && command == "make")
        return make(job, words[2], output, errors);
    if (words.size() == 2 && command == "check")
        return check(job, output, errors);
    errors << usage;
    return exitUsage;
}

}  // namespace station
