/// A transport stream from the network.
#ifndef VESTA_RECEIVER_STREAM_NETWORK_INPUT_H
#define VESTA_RECEIVER_STREAM_NETWORK_INPUT_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "receiver/stream/rtp_reorder.h"
#include "receiver/stream/stream_input.h"

struct msghdr;

namespace receiver {

/// Datagrams of UDP, with RTP or without: each tells by itself. RTP packets are put back in order;
/// everything else is handed on as it came, whatever it is.
class NetworkInput : public StreamInput {
public:
    using Clock = std::chrono::steady_clock;

    /// @param url see NetworkAddress
    /// @param patience how long there may be nothing until it is said
    explicit NetworkInput(const std::string& url,
                          Clock::duration patience = std::chrono::seconds(5));
    ~NetworkInput() override;

    std::string open() override;
    std::optional<size_t> read(unsigned char* buffer, size_t size) override;
    bool isEndless() const override { return true; }
    std::optional<NetworkStatistics> networkStatistics() const override;

    /// The one that is listened to, when open.
    uint16_t port() const { return port_; }

private:
    std::string openSocket();
    void collect(size_t enough);
    bool receive(Clock::time_point now);
    void noteOverflows(msghdr& message);
    void takeDatagram(size_t size, Clock::time_point now);
    void append(const unsigned char* bytes, size_t count);
    void noteSilence(Clock::time_point now);
    void noteSound(Clock::time_point now);
    std::optional<Clock::duration> longestWait(Clock::time_point now) const;
    size_t takeReady(unsigned char* buffer, size_t size);

    const Clock::duration patience_;
    int socket_ = -1;
    uint16_t port_ = 0;
    std::vector<unsigned char> datagram_;
    std::vector<unsigned char> ready_;  // in order, and not read yet from readyAt_ on
    size_t readyAt_ = 0;
    RtpReorder reorder_;
    NetworkStatistics statistics_;    // but for what reorder_ counts
    uint32_t overflowsOfSocket_ = 0;  // wraps around
    Clock::time_point heardAt_;
    bool isSilent_ = false;
};

}  // namespace receiver

#endif
