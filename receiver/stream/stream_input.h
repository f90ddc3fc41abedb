/// Where a transport stream comes from: a file, a pipe, standard input or the network.
#ifndef VESTA_RECEIVER_STREAM_STREAM_INPUT_H
#define VESTA_RECEIVER_STREAM_STREAM_INPUT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "receiver/stream/byte_wait.h"

namespace receiver {

/// What came from the network, and what was missing. Counts from the beginning.
struct NetworkStatistics {
    uint64_t datagrams = 0;
    uint64_t overflows = 0;   ///< datagrams that the system dropped, as nobody took them in time
    uint64_t rtpPackets = 0;  ///< of the datagrams; the rest counts these alone
    uint64_t damaged = 0;     ///< whose header does not fit; left out
    uint64_t lost = 0;        ///< those that came too late included
    uint64_t reordered = 0;   ///< put back in order
    uint64_t duplicates = 0;  ///< left out
    uint64_t late = 0;        ///< too late, or of no sequence; left out
};

/// Reads an input; one that stays silent does not keep its reader from being woken. One thread but
/// for wake().
class StreamInput {
public:
    virtual ~StreamInput() = default;
    StreamInput(const StreamInput&) = delete;
    StreamInput& operator=(const StreamInput&) = delete;

    /// @return an error for people; empty for success
    virtual std::string open() = 0;

    /// Waits for bytes and reads some. Every byte counts in bytesRead().
    /// @return how many; 0 at the end and for a failure (error() says so); nothing when woken,
    ///         or when there is nothing yet after all, which the network says once a second
    virtual std::optional<size_t> read(unsigned char* buffer, size_t size) = 0;

    /// @return false for an input that has no beginning to return to
    virtual bool rewind() { return false; }

    /// Whether there is always more to come.
    virtual bool isEndless() const { return false; }

    /// Nothing where the input is not the network.
    virtual std::optional<NetworkStatistics> networkStatistics() const { return std::nullopt; }

    /// Lets a read() that waits, or else the next one, return. Any thread.
    void wake() { wait_.call(); }

    /// Something about the input that a person would like to know.
    struct Remark {
        const char* event;  ///< a short name that does not change
        std::string text;
    };
    /// @return what there was since the last call
    std::vector<Remark> takeRemarks() { return std::exchange(remarks_, {}); }

    /// @return whether the input began anew since the last call, other than by rewind(): what was
    ///         read before the last bytes does not go on in them
    bool takeNewBeginning() { return std::exchange(hasBegunAnew_, false); }

    const std::string& path() const { return path_; }
    const std::string& error() const { return error_; }
    uint64_t size() const { return size_; }            ///< 0 when it is not known
    uint64_t bytesRead() const { return bytesRead_; }  ///< since the beginning or the last rewind()

protected:
    explicit StreamInput(std::string path) : path_(std::move(path)) {}

    const std::string path_;
    ByteWait wait_;  // for open() to open
    uint64_t size_ = 0;
    uint64_t bytesRead_ = 0;
    std::string error_;
    std::vector<Remark> remarks_;
    bool hasBegunAnew_ = false;
};

/// Whether an input is the network's: udp://ADDRESS:PORT or rtp://ADDRESS:PORT.
bool isNetworkInput(const std::string& path);

/// @param path a file, "-" for standard input, or an address
/// @param follow whether the end of a file is waited at for more
std::unique_ptr<StreamInput> makeStreamInput(const std::string& path, bool follow);

}  // namespace receiver

#endif
