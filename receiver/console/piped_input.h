/// Commands that another program writes to standard input.
#ifndef VESTA_RECEIVER_CONSOLE_PIPED_INPUT_H
#define VESTA_RECEIVER_CONSOLE_PIPED_INPUT_H

#include <string>
#include <thread>

namespace receiver {

class Session;

/// Reads a file descriptor on a thread of its own and posts its lines to a session as they come.
class PipedInput {
public:
    /// @param session borrowed, must outlive this object @param file borrowed
    PipedInput(Session& session, int file);

    /// Ends the thread; what it has not read by then stays where it is.
    ~PipedInput();
    PipedInput(const PipedInput&) = delete;
    PipedInput& operator=(const PipedInput&) = delete;

private:
    void run();
    bool readMore();

    Session& session_;
    const int file_;
    int stopPipe_[2] = {-1, -1};
    std::string line_;  // as far as it has come
    std::thread thread_;
};

}  // namespace receiver

#endif
