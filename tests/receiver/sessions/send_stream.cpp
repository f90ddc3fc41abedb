// vesta_send_stream ADDRESS PORT FILE [rtp]
// Sends a stream as datagrams on this machine, again and again, until standard input ends.

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <poll.h>
#include <string>
#include <unistd.h>

#include "tests/receiver/support/datagram_sender.h"

namespace {

using receiver::Bytes;

constexpr size_t datagramSize = size_t(7) * 188;
constexpr unsigned datagramsAtATime = 4;  // a millisecond, some 40 million bits in a second

/// @return false when standard input has ended
bool waitAMillisecond()
{
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    return ::poll(&input, 1, 1) == 0;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 4 || argc > 5) {
        std::cerr << "usage: vesta_send_stream ADDRESS PORT FILE [rtp]\n";
        return 1;
    }
    std::ifstream file(argv[3], std::ios::binary);
    const Bytes stream(std::istreambuf_iterator<char>(file), {});
    if (stream.empty()) {
        std::cerr << argv[3] << ": cannot be read\n";
        return 2;
    }
    const bool isRtp = argc == 5;
    const receiver::DatagramSender sender(argv[1], static_cast<uint16_t>(std::atoi(argv[2])));
    unsigned sequenceNumber = 0;
    size_t at = 0;
    while (waitAMillisecond()) {
        for (unsigned count = 0; count < datagramsAtATime; ++count) {
            const size_t size = std::min(datagramSize, stream.size() - at);
            const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(at);
            const Bytes payload(begin, begin + static_cast<std::ptrdiff_t>(size));
            sender.send(isRtp ? receiver::rtpDatagram(sequenceNumber++ & 0xFFFF, payload)
                              : payload);
            at = (at + size) % stream.size();
        }
    }
    return 0;
}
