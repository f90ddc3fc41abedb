#include "replay/shrink.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "replay/player.h"
#include "replay/progress.h"

namespace replay {

namespace {

/// After which a library is taken for one that does not come back.
const unsigned int secondsToWait = 20;

/// Of pieces that go together, as an event and its tick do.
const size_t mostNeighbours = 16;
/// Among which any two are left out together: there are half as many pairs as the square of it.
const size_t fewPieces = 64;

class Shrinking {
public:
    Shrinking(std::vector<Piece> pieces,
              const std::function<bool(const std::vector<Piece>&)>& fails)
        : pieces_(std::move(pieces)), fails_(fails)
    {
    }

    std::vector<Piece> takePieces() { return std::move(pieces_); }

    /// @name Each leaves out what it can, as long as the rest fails all the same
    /// @return whether that was anything
    /// @{

    /// Ever smaller parts.
    bool leaveOutChunks()
    {
        const size_t before = pieces_.size();
        for (size_t chunk = before / 2; chunk > 0; chunk /= 2)
            leaveOut(chunk, chunk);
        return pieces_.size() < before;
    }

    /// Some that stand beside each other, wherever that is.
    bool leaveOutNeighbours()
    {
        const size_t before = pieces_.size();
        for (size_t count = mostNeighbours; count > 1; --count)
            leaveOut(count, 1);
        return pieces_.size() < before;
    }

    /// Any two.
    bool leaveOutPairs()
    {
        if (pieces_.size() > fewPieces)
            return false;
        const size_t before = pieces_.size();
        for (size_t first = 0; first < pieces_.size(); ++first) {
            for (size_t second = first + 1; second < pieces_.size(); ++second) {
                std::vector<Piece> rest = pieces_;
                rest.erase(placeIn(rest, second));
                rest.erase(placeIn(rest, first));
                if (takeIfItFails(std::move(rest)))
                    second = first;
            }
        }
        return pieces_.size() < before;
    }

    /// @}

private:
    static std::vector<Piece>::iterator placeIn(std::vector<Piece>& pieces, size_t place)
    {
        return pieces.begin() + static_cast<std::ptrdiff_t>(std::min(place, pieces.size()));
    }

    void leaveOut(size_t count, size_t stride)
    {
        for (size_t begin = 0; begin < pieces_.size();) {
            std::vector<Piece> rest = pieces_;
            rest.erase(placeIn(rest, begin), placeIn(rest, begin + count));
            if (!takeIfItFails(std::move(rest)))
                begin += stride;
        }
    }

    bool takeIfItFails(std::vector<Piece> rest)
    {
        const bool isTaken = !rest.empty() && fails_(rest);
        if (isTaken)
            pieces_ = std::move(rest);
        return isTaken;
    }

    std::vector<Piece> pieces_;
    const std::function<bool(const std::vector<Piece>&)>& fails_;
};

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
        return std::string("difference inside ") + seen.signature;
    if (seen.code == exitSame && *seen.signature)
        return std::string("the record ends inside ") + seen.signature;
    return "";
}

}  // namespace

std::vector<Piece> shrink(std::vector<Piece> pieces,
                          const std::function<bool(const std::vector<Piece>&)>& fails)
{
    Shrinking shrinking(std::move(pieces), fails);
    while (shrinking.leaveOutChunks() || shrinking.leaveOutNeighbours() ||
           shrinking.leaveOutPairs()) {
    }
    return shrinking.takePieces();
}

Record partOf(Record record, const std::vector<Piece>& pieces)
{
    std::vector<Line> lines;
    for (const Piece& piece : pieces)
        std::move(record.lines.begin() + static_cast<std::ptrdiff_t>(piece.begin),
                  record.lines.begin() + static_cast<std::ptrdiff_t>(piece.end),
                  std::back_inserter(lines));
    record.lines = std::move(lines);
    record.open.clear();
    return record;
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
