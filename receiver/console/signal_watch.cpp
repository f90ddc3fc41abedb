#include "receiver/console/signal_watch.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <utility>

namespace receiver {

namespace {

const struct {
    int number;
    const char* name;
} endings[] = {{SIGINT, "SIGINT"}, {SIGTERM, "SIGTERM"}, {SIGHUP, "SIGHUP"}};

bool isIgnored(int number)
{
    struct sigaction action = {};
    return ::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

std::string nameOf(unsigned number)
{
    for (const auto& ending : endings) {
        if (static_cast<unsigned>(ending.number) == number)
            return ending.name;
    }
    return "signal " + std::to_string(number);
}

}  // namespace

SignalWatch::SignalWatch(std::function<void(const std::string&)> heard) : heard_(std::move(heard))
{
    ::sigemptyset(&watched_);
    for (const auto& ending : endings) {
        if (!isIgnored(ending.number))
            ::sigaddset(&watched_, ending.number);
    }
    // Blocked here, and with that in every thread that is made later, they come to the watch alone.
    ::pthread_sigmask(SIG_BLOCK, &watched_, &before_);
    signals_ = ::signalfd(-1, &watched_, SFD_CLOEXEC);
    if (signals_ < 0 || ::pipe2(stopPipe_, O_CLOEXEC) != 0) {
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);  // they end the process, as ever
        return;
    }
    thread_ = std::thread([this] { run(); });
}

SignalWatch::~SignalWatch()
{
    if (thread_.joinable()) {
        ::close(stopPipe_[1]);  // its other end becomes readable
        thread_.join();
        ::close(stopPipe_[0]);
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    if (signals_ >= 0)
        ::close(signals_);
}

void SignalWatch::run()
{
    pollfd waiting[] = {{stopPipe_[0], POLLIN, 0}, {signals_, POLLIN, 0}};
    nfds_t count = 2;
    for (;;) {
        if (::poll(waiting, count, -1) < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (waiting[0].revents != 0)
            return;
        signalfd_siginfo signal = {};
        const bool isWhole =
            ::read(signals_, &signal, sizeof(signal)) == static_cast<ssize_t>(sizeof(signal));
        // First, as what is called may wait for an output that nobody reads.
        letTheNextOneEnd();
        if (isWhole)
            heard_(nameOf(signal.ssi_signo));
        count = 1;
    }
}

/// Whoever asks twice has waited for too long. The editor of typed lines has handlers of its own.
void SignalWatch::letTheNextOneEnd()
{
    for (const auto& ending : endings) {
        if (::sigismember(&watched_, ending.number) == 1)
            ::signal(ending.number, SIG_DFL);
    }
    ::pthread_sigmask(SIG_UNBLOCK, &watched_, nullptr);
}

}  // namespace receiver
