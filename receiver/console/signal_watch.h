/// The signals that ask the program to end.
#ifndef VESTA_RECEIVER_CONSOLE_SIGNAL_WATCH_H
#define VESTA_RECEIVER_CONSOLE_SIGNAL_WATCH_H

#include <csignal>
#include <functional>
#include <string>
#include <thread>

namespace receiver {

/// While one lives, the first SIGINT, SIGTERM or SIGHUP is reported instead of ending the process;
/// the next one ends it on the spot. Signals that whoever started the program wants ignored (nohup)
/// stay so. To be made before any other thread, and to outlive them.
class SignalWatch {
public:
    /// @param heard called once at most, on a thread of its own, with the signal's name
    explicit SignalWatch(std::function<void(const std::string& name)> heard);
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

private:
    void run();
    void letTheNextOneEnd();

    const std::function<void(const std::string&)> heard_;
    sigset_t watched_ = {};
    sigset_t before_ = {};
    int stopPipe_[2] = {-1, -1};
    int signals_ = -1;
    std::thread thread_;
};

}  // namespace receiver

#endif
