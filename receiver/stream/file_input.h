/// A transport stream from a file, a pipe or standard input.
#ifndef VESTA_RECEIVER_STREAM_FILE_INPUT_H
#define VESTA_RECEIVER_STREAM_FILE_INPUT_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "receiver/stream/stream_input.h"

namespace receiver {

/// A file that is followed is one that is still being written: at its end more is waited for. When
/// it gets shorter than what was read, it is read from its beginning again.
class FileInput : public StreamInput {
public:
    using Interval = std::chrono::steady_clock::duration;

    /// @param path a file, or "-" for standard input
    /// @param interval how often a followed file is looked at for more
    explicit FileInput(const std::string& path, bool follow = false,
                       Interval interval = std::chrono::milliseconds(200));
    ~FileInput() override;

    std::string open() override;
    std::optional<size_t> read(unsigned char* buffer, size_t size) override;
    bool rewind() override;
    bool isEndless() const override { return isFollowed_; }

private:
    void waitForMore();
    void beginAnewIfShorter();

    const bool isFollowed_;
    const Interval interval_;
    int file_ = -1;
    bool isFile_ = false;  // and not a pipe or a terminal
};

}  // namespace receiver

#endif
