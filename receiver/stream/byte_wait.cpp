#include "receiver/stream/byte_wait.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace receiver {

namespace {

using Milliseconds = std::chrono::milliseconds;

int pollTime(std::optional<std::chrono::steady_clock::duration> most)
{
    if (!most)
        return -1;
    const Milliseconds longest = std::chrono::hours(1);
    const Milliseconds rounded = std::chrono::ceil<Milliseconds>(*most);
    return static_cast<int>(std::clamp(rounded, Milliseconds(0), longest).count());
}

}  // namespace

ByteWait::~ByteWait()
{
    for (const int end : pipe_) {
        if (end >= 0)
            ::close(end);
    }
}

bool ByteWait::open()
{
    return ::pipe2(pipe_, O_CLOEXEC | O_NONBLOCK) == 0;
}

ByteWait::End ByteWait::wait(int file, std::optional<std::chrono::steady_clock::duration> most)
{
    const auto end = std::chrono::steady_clock::now() + most.value_or(Milliseconds(0));
    pollfd waiting[] = {{file, POLLIN, 0}, {pipe_[0], POLLIN, 0}};
    while (::poll(waiting, 2, pollTime(most)) < 0 && errno == EINTR) {
        if (most)
            most = end - std::chrono::steady_clock::now();
    }
    if (waiting[1].revents == 0)
        return waiting[0].revents == 0 ? End::Late : End::Ready;
    char calls[64];
    while (::read(pipe_[0], calls, sizeof(calls)) > 0) {
    }
    return End::Called;
}

void ByteWait::call()
{
    // A pipe that is full has not been looked at yet: one call more makes no difference.
    const char call = 'w';
    if (::write(pipe_[1], &call, 1) != 1)
        return;
}

}  // namespace receiver
