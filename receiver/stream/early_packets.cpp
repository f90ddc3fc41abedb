#include "receiver/stream/early_packets.h"

#include <utility>

#include "receiver/stream/packet_framer.h"

namespace receiver {

void EarlyPackets::add(const unsigned char* packet)
{
    if (!isKeeping_)
        return;
    // Half of them at once, so that moving the rest costs little for each.
    const size_t half = mostBytes / 2 / PacketFramer::packetSize * PacketFramer::packetSize;
    if (bytes_.size() + PacketFramer::packetSize > mostBytes)
        bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(half));
    bytes_.insert(bytes_.end(), packet, packet + PacketFramer::packetSize);
}

std::vector<unsigned char> EarlyPackets::takeAll()
{
    isKeeping_ = false;
    return std::exchange(bytes_, {});
}

}  // namespace receiver
