#include "receiver/stream/stream_input.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace receiver {

StreamInput::StreamInput(std::string path) : path_(std::move(path))
{
}

StreamInput::~StreamInput()
{
    if (file_ > STDIN_FILENO)
        ::close(file_);
    for (const int end : wakePipe_) {
        if (end >= 0)
            ::close(end);
    }
}

std::string StreamInput::open()
{
    struct stat status = {};
    // A named pipe without a writer would keep the caller until one comes; poll() waits for it,
    // too.
    const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    file_ = path_ == "-" ? STDIN_FILENO : ::open(path_.c_str(), flags);
    if (file_ < 0 || ::fstat(file_, &status) != 0 ||
        ::pipe2(wakePipe_, O_CLOEXEC | O_NONBLOCK) != 0)
        return path_ + ": " + std::strerror(errno);
    if (S_ISDIR(status.st_mode))
        return path_ + ": is a directory";
    if (S_ISREG(status.st_mode))
        size_ = static_cast<size_t>(status.st_size);
    return "";
}

std::optional<size_t> StreamInput::read(unsigned char* buffer, size_t size)
{
    if (!waitForBytes())
        return std::nullopt;
    const ssize_t count = ::read(file_, buffer, size);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return std::nullopt;
    if (count < 0) {
        error_ = path_ + ": " + std::strerror(errno);
        return 0;
    }
    bytesRead_ += static_cast<size_t>(count);
    return static_cast<size_t>(count);
}

/// @return false when wake() was called meanwhile
bool StreamInput::waitForBytes()
{
    pollfd waiting[] = {{file_, POLLIN, 0}, {wakePipe_[0], POLLIN, 0}};
    while (::poll(waiting, 2, -1) < 0 && errno == EINTR) {
    }
    if (waiting[1].revents == 0)
        return true;
    char calls[64];
    while (::read(wakePipe_[0], calls, sizeof(calls)) > 0) {
    }
    return false;
}

void StreamInput::wake()
{
    // A pipe that is full has not been looked at yet: one call more makes no difference.
    const char call = 'w';
    if (::write(wakePipe_[1], &call, 1) != 1)
        return;
}

bool StreamInput::rewind()
{
    if (size_ == 0 || ::lseek(file_, 0, SEEK_SET) != 0)
        return false;
    bytesRead_ = 0;
    return true;
}

}  // namespace receiver
