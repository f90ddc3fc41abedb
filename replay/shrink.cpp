#include "replay/shrink.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "replay/player.h"
#include "replay/progress.h"

namespace replay {

namespace {

/// After which a library is taken for one that does not come back.
const unsigned int secondsToWait = 20;

/// All pieces but those of one chunk of `count`.
std::vector<Piece> without(const std::vector<Piece>& pieces, size_t begin, size_t count)
{
    std::vector<Piece> rest(pieces.begin(), pieces.begin() + static_cast<std::ptrdiff_t>(begin));
    const size_t end = std::min(begin + count, pieces.size());
    rest.insert(rest.end(), pieces.begin() + static_cast<std::ptrdiff_t>(end), pieces.end());
    return rest;
}

void beQuiet()
{
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
}

Failure failureOf(int status, const Progress& seen)
{
    if (WIFSIGNALED(status))
        return "signal " + std::to_string(WTERMSIG(status)) + " inside " + seen.function();
    if (seen.code == exitDifferent)
        return std::string("difference ") + seen.signature;
    return "";
}

}  // namespace

std::vector<Piece> shrink(std::vector<Piece> pieces,
                          const std::function<bool(const std::vector<Piece>&)>& fails)
{
    // Ever smaller chunks are left out, as long as the rest fails all the same.
    for (size_t chunk = std::max<size_t>(pieces.size() / 2, 1);;
         chunk = std::max<size_t>(chunk / 2, 1)) {
        bool isSmaller = false;
        for (size_t begin = 0; begin < pieces.size();) {
            std::vector<Piece> rest = without(pieces, begin, chunk);
            if (!rest.empty() && fails(rest)) {
                pieces = std::move(rest);
                isSmaller = true;
            } else {
                begin += chunk;
            }
        }
        if (chunk == 1 && !isSmaller)
            return pieces;
    }
}

Record partOf(const Record& record, const std::vector<Piece>& pieces)
{
    Record part;
    part.head = record.head;
    part.bodies = record.bodies;
    part.leavesOutQueries = record.leavesOutQueries;
    part.isOfACrash = record.isOfACrash;
    for (const Piece& piece : pieces) {
        for (size_t place = piece.begin; place < piece.end; ++place)
            part.lines.push_back(record.lines[place]);
    }
    return part;
}

Trial tryInAnotherProcess(const std::function<void()>& play)
{
    void* const memory =
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return {};
    auto* const seen = new (memory) Progress();
    const pid_t child = fork();
    if (child == 0) {
        progress = seen;
        beQuiet();
        alarm(secondsToWait);
        play();
        _exit(exitSame);
    }
    int status = 0;
    if (child > 0)
        waitpid(child, &status, 0);
    Trial trial;
    if (child > 0)
        trial = {failureOf(status, *seen), seen->line};
    munmap(memory, sizeof(Progress));
    return trial;
}

}  // namespace replay
