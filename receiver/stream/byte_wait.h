/// Waits for bytes to read, until called away.
#ifndef VESTA_RECEIVER_STREAM_BYTE_WAIT_H
#define VESTA_RECEIVER_STREAM_BYTE_WAIT_H

#include <chrono>
#include <optional>

namespace receiver {

/// One thread but for call().
class ByteWait {
public:
    ByteWait() = default;
    ~ByteWait();
    ByteWait(const ByteWait&) = delete;
    ByteWait& operator=(const ByteWait&) = delete;

    /// To be called first. @return false, and errno says why
    bool open();

    enum class End {
        Ready,   ///< there is something to read, its end or an error included
        Called,  ///< call() was called since the last wait
        Late     ///< the time is up
    };

    /// @param file none (-1): only a call is waited for
    /// @param most how long; nothing: for ever. Rounded up to milliseconds.
    End wait(int file, std::optional<std::chrono::steady_clock::duration> most = std::nullopt);

    /// Ends the wait that is under way, or else the next one. Any thread.
    void call();

private:
    int pipe_[2] = {-1, -1};
};

}  // namespace receiver

#endif
