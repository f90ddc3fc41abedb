#include "recorder/record_file.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace recorder {

namespace {

const std::string_view fullLine = "{\"full\":true}\n";

int openNew(const std::string& path)
{
    const mode_t everybodyAsMasked = 0666;
    int descriptor;
    do {  // a pipe that nobody reads is none to wait for
        descriptor =
            ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY | O_NONBLOCK,
                   everybodyAsMasked);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0)
        return descriptor;
    // What the program writes to its standard streams is not for the record, even if it closed
    // them.
    const int firstOfNobody = 3;
    if (descriptor < firstOfNobody) {
        const int other = fcntl(descriptor, F_DUPFD_CLOEXEC, firstOfNobody);
        close(descriptor);
        descriptor = other;
    }
    if (descriptor >= 0)
        fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    return descriptor;
}

bool isRegular(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

uint64_t largestFile()
{
    rlimit limit = {};
    const bool isLimited = getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
    return isLimited ? limit.rlim_cur : UINT64_MAX;
}

/// Keeps the signal away that a pipe without a reader would kill the program with.
class BrokenPipeUnheard {
public:
    BrokenPipeUnheard()
    {
        sigemptyset(&pipe_);
        sigaddset(&pipe_, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        wasPending_ = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &pipe_, &former_);
    }
    BrokenPipeUnheard(const BrokenPipeUnheard&) = delete;
    BrokenPipeUnheard& operator=(const BrokenPipeUnheard&) = delete;
    ~BrokenPipeUnheard()
    {
        const int error = errno;
        const timespec atOnce = {};
        while (!wasPending_ && sigtimedwait(&pipe_, nullptr, &atOnce) < 0 && errno == EINTR)
            continue;
        pthread_sigmask(SIG_SETMASK, &former_, nullptr);
        errno = error;
    }

private:
    sigset_t pipe_ = {};
    sigset_t former_ = {};
    bool wasPending_ = false;
};

/// @return whether everything was written; errno says why not
bool writeWhole(int descriptor, std::string_view first, std::string_view second)
{
    iovec parts[] = {{const_cast<char*>(first.data()), first.size()},
                     {const_cast<char*>(second.data()), second.size()}};
    iovec* next = first.empty() ? parts + 1 : parts;
    iovec* const end = parts + 2;
    while (next != end) {
        const ssize_t written = writev(descriptor, next, static_cast<int>(end - next));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        size_t left = static_cast<size_t>(written);
        while (next != end && left >= next->iov_len)
            left -= next++->iov_len;
        if (next != end) {
            next->iov_base = static_cast<char*>(next->iov_base) + left;
            next->iov_len -= left;
        }
    }
    return true;
}

}  // namespace

void complain(std::string_view sentence)
{
    const BrokenPipeUnheard unheard;
    std::fprintf(stderr, "libvesta_hbbtv_recorder: %.*s.\n", static_cast<int>(sentence.size()),
                 sentence.data());
}

RecordFile::~RecordFile()
{
    if (isOpen())
        close(descriptor_);
}

bool RecordFile::open(const std::string& path, uint64_t limit)
{
    path_ = path;
    limit_ = limit;
    descriptor_ = openNew(path);
    if (!isOpen()) {
        complain(path_ + " cannot be written (" + std::strerror(errno) + "), nothing is recorded");
        return false;
    }
    isRegular_ = isRegular(descriptor_);
    if (isRegular_) {
        largestFile_ = largestFile();
        if (limit_ != UINT64_MAX) {  // what an earlier run left is no part of this record
            unlink((path_ + ".before").c_str());
            unlink((path_ + ".part").c_str());
        }
    }
    return true;
}

void RecordFile::write(std::string_view first, std::string_view second)
{
    const uint64_t length = uint64_t{first.size()} + second.size();
    if (!isOpen() || isFull_ || !hasRoomFor(length))
        return;
    std::optional<BrokenPipeUnheard> unheard;
    if (!isRegular_)
        unheard.emplace();
    if (writeWhole(descriptor_, first, second))
        size_ += length;
    else
        fail();
}

/// Room is kept for the line that says that there is none.
bool RecordFile::hasRoomFor(uint64_t bytes)
{
    const uint64_t size = size_ + bytes + fullLine.size();
    if (size + sizeBefore_ > limit_)
        forgetPartBefore();
    if (size > limit_) {
        becomeFull();
        return false;
    }
    if (size_ + bytes > largestFile_) {  // the system would send a deadly signal
        errno = EFBIG;
        fail();
        return false;
    }
    return true;
}

void RecordFile::becomeFull()
{
    isFull_ = true;
    if (size_ + fullLine.size() <= limit_ && writeWhole(descriptor_, fullLine, ""))
        size_ += fullLine.size();
    if (!isRegular_)  // what was written cannot be taken back
        giveUp("the record has its largest size and ends");
    else if (!std::exchange(saidThatItIsFull_, true))
        complain("the record has its largest size; it goes on from the next state that a replay "
                 "can start at");
}

void RecordFile::forgetPartBefore()
{
    if (sizeBefore_ > 0)
        unlink((path_ + ".before").c_str());
    sizeBefore_ = 0;
}

void RecordFile::fail()
{
    const std::string why = std::strerror(errno);
    // A line that is only begun would be none.
    if (isRegular_ && ftruncate(descriptor_, static_cast<off_t>(size_)) != 0) {
        // Then it stays, as after a crash.
    }
    giveUp(path_ + " cannot be written any further (" + why + "), the record ends");
}

void RecordFile::giveUp(std::string_view why)
{
    if (!isOpen())
        return;
    close(descriptor_);
    descriptor_ = -1;
    complain(why);
}

bool RecordFile::beginNewPart(std::string_view lines)
{
    if (!isOpen() || !fitsIntoAPart(lines.size()))
        return false;
    const bool hasRoomForBoth = size_ + lines.size() + fullLine.size() <= limit_;
    if (hasRoomForBoth && beginBeside(lines))
        return true;
    // A part that goes on is worth more than one that begins.
    return (isFull_ || !hasRoomForBoth) && beginInPlace(lines);
}

bool RecordFile::fitsIntoAPart(uint64_t bytes)
{
    const bool fits = bytes + fullLine.size() <= limit_ && bytes <= largestFile_;
    if (!fits && isFull_ && !std::exchange(saidThatNoPartFits_, true))
        complain("the limit is too small for what a part of the record has to begin with");
    return fits;
}

bool RecordFile::beginBeside(std::string_view lines)
{
    const std::string part = path_ + ".part";
    const std::string before = path_ + ".before";
    if (size_ + sizeBefore_ + lines.size() > limit_)
        forgetPartBefore();
    const int descriptor = openNew(part);
    if (descriptor < 0)
        return false;
    if (writeWhole(descriptor, lines, "") && rename(path_.c_str(), before.c_str()) == 0) {
        if (rename(part.c_str(), path_.c_str()) == 0) {
            close(std::exchange(descriptor_, descriptor));
            sizeBefore_ = size_;
            becomeNewest(lines.size());
            return true;
        }
        rename(before.c_str(), path_.c_str());
        sizeBefore_ = 0;
    }
    close(descriptor);
    unlink(part.c_str());
    return false;
}

bool RecordFile::beginInPlace(std::string_view lines)
{
    forgetPartBefore();
    size_ = 0;
    if (ftruncate(descriptor_, 0) != 0 || lseek(descriptor_, 0, SEEK_SET) != 0 ||
        !writeWhole(descriptor_, lines, "")) {
        fail();
        return false;
    }
    becomeNewest(lines.size());
    return true;
}

void RecordFile::becomeNewest(uint64_t bytes)
{
    size_ = bytes;
    isFull_ = false;
}

}  // namespace recorder
