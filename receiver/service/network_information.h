/// The network information table of the network itself.
#ifndef VESTA_RECEIVER_SERVICE_NETWORK_INFORMATION_H
#define VESTA_RECEIVER_SERVICE_NETWORK_INFORMATION_H

#include <cstdint>
#include <vector>

#include "receiver/stream/section_assembler.h"

namespace receiver {

/// A transport stream of the network.
struct NetworkTransport {
    uint16_t transportStreamId = 0;
    uint16_t originalNetworkId = 0;
    /// The first delivery system descriptor, with tag and length; empty without any.
    std::vector<unsigned char> deliverySystem;
};

struct NetworkInformation {
    uint16_t networkId = 0;
    std::vector<NetworkTransport> transports;
};

/// @param nit sections of a table 0x40 (ETSI EN 300 468, 5.2.1)
/// @return a loop that leaves its section ends the section's list
NetworkInformation readNetworkInformation(const std::vector<SectionBytes>& nit);

}  // namespace receiver

#endif
