#include "receiver/stream/file_input.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace receiver {

FileInput::FileInput(const std::string& path, bool follow, Interval interval)
    : StreamInput(path), isFollowed_(follow), interval_(interval)
{
}

FileInput::~FileInput()
{
    if (file_ > STDIN_FILENO)
        ::close(file_);
}

std::string FileInput::open()
{
    struct stat status = {};
    // A named pipe without a writer would keep the caller until one comes; poll() waits for it,
    // too.
    const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    file_ = path_ == "-" ? STDIN_FILENO : ::open(path_.c_str(), flags);
    if (file_ < 0 || ::fstat(file_, &status) != 0 || !wait_.open())
        return path_ + ": " + std::strerror(errno);
    if (S_ISDIR(status.st_mode))
        return path_ + ": is a directory";
    isFile_ = S_ISREG(status.st_mode);
    if (isFollowed_ && !isFile_)
        return path_ + ": --follow wants a file";
    if (isFile_ && !isFollowed_)
        size_ = static_cast<uint64_t>(status.st_size);
    return "";
}

std::optional<size_t> FileInput::read(unsigned char* buffer, size_t size)
{
    if (wait_.wait(file_) == ByteWait::End::Called)
        return std::nullopt;
    const ssize_t count = ::read(file_, buffer, size);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return std::nullopt;
    if (count < 0) {
        error_ = path_ + ": " + std::strerror(errno);
        return 0;
    }
    if (count == 0 && isFollowed_) {
        waitForMore();
        return std::nullopt;
    }
    bytesRead_ += static_cast<size_t>(count);
    return static_cast<size_t>(count);
}

/// At the end of a file poll() does not wait.
void FileInput::waitForMore()
{
    beginAnewIfShorter();
    if (!hasBegunAnew_)
        wait_.wait(-1, interval_);
}

void FileInput::beginAnewIfShorter()
{
    struct stat status = {};
    if (::fstat(file_, &status) != 0 || static_cast<uint64_t>(status.st_size) >= bytesRead_ ||
        !rewind())
        return;
    hasBegunAnew_ = true;
    remarks_.push_back({"begun-anew", path_ + " got shorter: it is read from its beginning again"});
}

bool FileInput::rewind()
{
    if (!isFile_ || ::lseek(file_, 0, SEEK_SET) != 0)
        return false;
    bytesRead_ = 0;
    return true;
}

}  // namespace receiver
