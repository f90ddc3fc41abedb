/// Lines that a person types, with editing and history where a terminal is there (libedit).
#ifndef VESTA_RECEIVER_LINE_INPUT_H
#define VESTA_RECEIVER_LINE_INPUT_H

#include <thread>

namespace receiver {

class Session;

/// Reads standard input on a thread of its own and posts the lines to a session.
class LineInput {
public:
    /// @param session borrowed, must outlive this object
    explicit LineInput(Session& session);

    /// Ends the thread; a line that is being typed is lost.
    ~LineInput();
    LineInput(const LineInput&) = delete;
    LineInput& operator=(const LineInput&) = delete;

private:
    void readTerminal();
    void readLines();

    Session& session_;
    int stopPipe_[2];
    std::thread thread_;
};

}  // namespace receiver

#endif
