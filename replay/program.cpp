#include "replay/program.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

#include "receiver/integration/decision_sentence.h"
#include "replay/library.h"
#include "replay/options.h"
#include "replay/player.h"
#include "replay/progress.h"
#include "replay/record.h"
#include "replay/record_writer.h"
#include "replay/shrink.h"

#ifndef VESTA_VERSION
#error "the build says which version it is"
#endif

namespace replay {

namespace {

int complain(const std::string& problem, ExitCode code)
{
    std::cout.flush();
    std::cerr << "vesta_replay: " << problem << std::endl;
    return code;
}

std::optional<Record> readFile(const std::string& path, std::string& problem)
{
    std::ifstream input(path, std::ios::binary);
    if (!input) {
        problem = std::strerror(errno);
        return std::nullopt;
    }
    return readRecord(input, problem);
}

bool isFolder(const std::string& path)
{
    struct stat found = {};
    return stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

/// The folder in which this repository keeps its records, here or in a folder above; empty where
/// there is none.
std::string recordsFolder()
{
    std::string above;
    for (int levels = 0; levels < 16; ++levels, above += "../") {
        if (isFolder(above + "tests/records"))
            return above + "tests/records";
    }
    return "";
}

int write(const std::string& path, const Record& record, const std::vector<Piece>& pieces)
{
    std::ofstream output(path, std::ios::binary);
    writeRecord(output, record, pieces);
    output.flush();
    if (!output)
        return complain(path + ": " + std::strerror(errno), exitUnreadable);
    return exitSame;
}

size_t callsIn(const Record& record, const std::vector<Piece>& pieces)
{
    size_t count = 0;
    for (const Piece& piece : pieces)
        count += record.lines[piece.begin].kind == Line::Kind::In;
    return count;
}

/// Where the record is cut off; empty for one that is whole.
std::string whereCutOff(const Record& record)
{
    if (record.open.empty())
        return "";
    const Line& line = record.lines[record.open.back()];
    return "it ends inside " + line.name + ", step " + std::to_string(line.step) + " (line " +
           std::to_string(line.number) + ")";
}

/// Whether a record is whole, where it has to be.
int judgeWhole(const Options& options, const Record& record)
{
    const std::string cutOff = record.remark.empty() ? whereCutOff(record) : record.remark;
    if (!options.whole || cutOff.empty() || (record.isOfACrash && record.remark.empty()))
        return exitSame;
    return complain(options.file + ": it is not whole: " + cutOff, exitCannotGoOn);
}

/// Makes what is to be kept as a test of a record.
int prepareTest(Options& options, Record& record)
{
    if (options.until != Options().until) {
        const std::vector<Piece> pieces = piecesBefore(record, options.until);
        record = partOf(std::move(record), pieces);
        if (record.lines.empty())
            return complain("no call of the library ends before step " +
                                std::to_string(options.until),
                            exitUsage);
        options.until = Options().until;
    }
    const std::string cutOff = whereCutOff(record);
    if (options.crash && (cutOff.empty() || record.isFull))
        return complain(record.isFull ? "this record ends since it is full, and not by a crash"
                                      : "this record does not end inside a call, as that of a "
                                        "crash does",
                        exitUsage);
    record.isOfACrash = record.isOfACrash || options.crash;
    if (cutOff.empty() || record.isOfACrash)
        return exitSame;
    return complain("a test has to be whole: " + cutOff + "; --until " +
                        std::to_string(record.lines[record.open.front()].step) +
                        " keeps what is before that, --crash a record of a crash",
                    exitCannotGoOn);
}

int writeTest(const Options& options, const Record& record)
{
    const std::string folder = options.into.empty() ? recordsFolder() : options.into;
    if (folder.empty() || !isFolder(folder))
        return complain(folder.empty()
                            ? "there is no tests/records, here or above: --into says where to"
                            : folder + ": there is no such folder",
                        exitUsage);
    const std::string path = folder + "/" + options.test + ".vesta";
    const std::vector<Piece> pieces = piecesOf(record);
    const int code = write(path, record, pieces);
    if (code == exitSame)
        std::cout << "written: " << path << ", " << callsIn(record, pieces) << " calls\n";
    return code;
}

void show(const Outcome& outcome)
{
    const bool isProblem = outcome.code == exitUnreadable || outcome.code == exitCannotGoOn ||
                           outcome.code == exitSkipped;
    std::cout.flush();
    (isProblem ? std::cerr << "vesta_replay: " : std::cout) << outcome.text << std::flush;
}

int finish(const Options& options, const Record& record, const Outcome& outcome)
{
    show(outcome);
    if (outcome.code != exitSame || options.test.empty())
        return outcome.code;
    return writeTest(options, record);
}

PlayerOptions playerOptions(const Options& options)
{
    PlayerOptions result;
    result.until = options.until;
    result.steps = options.steps;
    if (options.decisions)
        result.decided = [](uint64_t step, const HBBTV_Decision& decision, const char* reason) {
            std::cout << "step " << step << ": " << receiver::sentenceOf(decision, reason)
                      << std::endl;
        };
    return result;
}

int play(const Options& options, const Record& record)
{
    std::string problem;
    std::optional<Library> library = Library::open(options.library, options.kit, problem);
    if (!library)
        return complain(problem, exitUnreadable);
    noteCrashes(options.steps);
    Player player(record, *library, playerOptions(options), [&](const Outcome& outcome) {
        const int code = finish(options, record, outcome);
        std::cout.flush();
        _exit(code);  // the library is not to go on
    });
    return finish(options, record, player.play());
}

/// Replays a record in this process, which is there for nothing else.
void playForAnother(const Options& options, const Record& record)
{
    const auto tell = [](const Outcome& outcome) {
        progress->code = outcome.code;
        progress->line = outcome.line;
        std::strncpy(progress->signature, outcome.signature.c_str(),
                     sizeof(progress->signature) - 1);
        _exit(outcome.code);
    };
    std::string problem;
    std::optional<Library> library = Library::open(options.library, options.kit, problem);
    if (!library)
        tell({exitUnreadable, problem, "", 0});
    Player player(record, *library, {}, tell);
    tell(player.play());
}

int shrinkTo(const Options& options, Record& record)
{
    const auto tryPart = [&](const std::vector<Piece>& pieces) {
        // The record is the other process's own, of which it needs no more than that part.
        return tryInAnotherProcess(
            [&] { playForAnother(options, partOf(std::move(record), pieces)); });
    };
    std::vector<Piece> pieces = piecesOf(record);
    const size_t all = callsIn(record, pieces);
    const Trial whole = tryPart(pieces);
    if (whole.failure.empty())
        return complain(
            "there is nothing to shrink: the replay neither differs nor crashes, and the "
            "record is not cut off",
            exitUsage);
    std::cout << whole.failure << "\n";
    const bool isWatched = isatty(STDERR_FILENO) == 1;
    const auto failsLikewise = [&](const std::vector<Piece>& part) {
        const bool isLikewise = tryPart(part).failure == whole.failure;
        if (isLikewise && isWatched)
            std::cerr << "so far: " << callsIn(record, part) << " of " << all << " calls\r";
        return isLikewise;
    };
    // What comes after the failure has no part in it.
    std::vector<Piece> before = pieces;
    before.erase(std::find_if(before.begin(), before.end(),
                              [&](const Piece& piece) { return piece.begin > whole.line; }),
                 before.end());
    if (failsLikewise(before))
        pieces = std::move(before);
    pieces = shrink(std::move(pieces), failsLikewise);
    const int code = write(options.shrunk, record, pieces);
    if (code == exitSame)
        std::cout << "written: " << options.shrunk << ", " << callsIn(record, pieces) << " of "
                  << all << " calls\n";
    return code;
}

}  // namespace

int run(const std::vector<std::string>& arguments)
{
    std::string problem;
    std::optional<Options> options = parseOptions(arguments, problem);
    if (!options)
        return complain(problem, exitUsage);
    if (options->command == Command::Help) {
        std::cout << usage;
        return exitSame;
    }
    if (options->command == Command::Version) {
        std::cout << "vesta_replay " << VESTA_VERSION << "\n";
        return exitSame;
    }
    std::optional<Record> record = readFile(options->file, problem);
    if (!record)
        return complain(options->file + ": " + problem, exitUnreadable);
    int code = judgeWhole(*options, *record);
    if (code == exitSame && !record->remark.empty())
        complain(options->file + ": " + record->remark + ": it is left out", exitSame);
    if (code == exitSame && !options->test.empty())
        code = prepareTest(*options, *record);
    if (code != exitSame)
        return code;
    return options->shrunk.empty() ? play(*options, *record) : shrinkTo(*options, *record);
}

}  // namespace replay
