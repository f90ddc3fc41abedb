/// Sends datagrams on this machine alone.
#ifndef VESTA_TESTS_RECEIVER_SUPPORT_DATAGRAM_SENDER_H
#define VESTA_TESTS_RECEIVER_SUPPORT_DATAGRAM_SENDER_H

#include <cstdint>
#include <string>

#include "tests/receiver/support/byte_writer.h"

namespace receiver {

class DatagramSender {
public:
    /// @param host an IP address, of a group too: that is sent to through the loopback alone
    DatagramSender(const std::string& host, uint16_t port);
    ~DatagramSender();
    DatagramSender(const DatagramSender&) = delete;
    DatagramSender& operator=(const DatagramSender&) = delete;

    /// @return whether the system took it
    bool send(const Bytes& datagram) const;
    bool send(const unsigned char* bytes, size_t count) const;

private:
    int socket_ = -1;
};

/// A payload with the header that RTP gives it.
Bytes rtpDatagram(unsigned sequenceNumber, const Bytes& payload);

}  // namespace receiver

#endif
