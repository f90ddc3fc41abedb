/// Where a transport stream comes from: a file, a pipe or standard input.
#ifndef VESTA_RECEIVER_STREAM_STREAM_INPUT_H
#define VESTA_RECEIVER_STREAM_STREAM_INPUT_H

#include <cstddef>
#include <optional>
#include <string>

namespace receiver {

/// Reads the input; a pipe that stays silent does not keep its reader from being woken. One thread
/// but for wake().
class StreamInput {
public:
    /// @param path a file, or "-" for standard input
    explicit StreamInput(std::string path);
    ~StreamInput();
    StreamInput(const StreamInput&) = delete;
    StreamInput& operator=(const StreamInput&) = delete;

    /// @return an error for people; empty for success
    std::string open();

    /// Waits for bytes and reads some. Every byte counts in bytesRead().
    /// @return how many; 0 at the end and for a failure (error() says so); nothing when woken,
    ///         or when there is nothing yet after all
    std::optional<size_t> read(unsigned char* buffer, size_t size);

    /// Lets a read() that waits, or else the next one, return. Any thread.
    void wake();

    /// @return false for an input that has no beginning to return to
    bool rewind();

    const std::string& path() const { return path_; }
    const std::string& error() const { return error_; }
    size_t size() const { return size_; }            ///< 0 when it is not known
    size_t bytesRead() const { return bytesRead_; }  ///< since the beginning or the last rewind()

private:
    bool waitForBytes();

    const std::string path_;
    int file_ = -1;
    int wakePipe_[2] = {-1, -1};
    size_t size_ = 0;
    size_t bytesRead_ = 0;
    std::string error_;
};

}  // namespace receiver

#endif
