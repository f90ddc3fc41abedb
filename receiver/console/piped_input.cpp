#include "receiver/console/piped_input.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <utility>

#include "receiver/console/commands.h"
#include "receiver/session.h"

namespace receiver {

PipedInput::PipedInput(Session& session, int file) : session_(session), file_(file)
{
    if (::pipe2(stopPipe_, O_CLOEXEC) != 0) {
        session_.endOfInput();
        return;
    }
    thread_ = std::thread([this] { run(); });
}

PipedInput::~PipedInput()
{
    if (!thread_.joinable())
        return;
    ::close(stopPipe_[1]);  // its other end becomes readable
    thread_.join();
    ::close(stopPipe_[0]);
}

void PipedInput::run()
{
    pollfd waiting[] = {{file_, POLLIN, 0}, {stopPipe_[0], POLLIN, 0}};
    for (;;) {
        const int ready = ::poll(waiting, 2, -1);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready < 0 || waiting[1].revents != 0)
            return;
        if (!readMore())
            break;
    }
    if (!line_.empty())
        session_.postLine(std::move(line_));
    session_.endOfInput();
}

/// @return false at the end
bool PipedInput::readMore()
{
    char bytes[4096];
    const ssize_t count = ::read(file_, bytes, sizeof(bytes));
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return true;
    for (ssize_t at = 0; at < count; ++at) {
        if (bytes[at] == '\n')
            session_.postLine(std::exchange(line_, {}));
        else if (line_.size() <= mostLineBytes)  // a byte more, for the session to see
            line_ += bytes[at];
    }
    return count > 0;
}

}  // namespace receiver
