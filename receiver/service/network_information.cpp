#include "receiver/service/network_information.h"

#include <utility>

#include "foundation/descriptor.h"

namespace receiver {

using VestaHbbTV::ByteReader;

namespace {

// ETSI EN 300 468, 6.2.13 and 6.4.
constexpr uint8_t satelliteTag = 0x43;
constexpr uint8_t cableTag = 0x44;
constexpr uint8_t terrestrialTag = 0x5A;
constexpr uint8_t extensionTag = 0x7F;
constexpr uint8_t secondTerrestrialExtension = 0x04;
constexpr uint8_t secondCableExtension = 0x0D;

bool isDeliverySystem(uint8_t tag, ByteReader payload)
{
    if (tag == extensionTag)
        return payload.peek() == secondTerrestrialExtension ||
               payload.peek() == secondCableExtension;
    return tag == satelliteTag || tag == cableTag || tag == terrestrialTag;
}

std::vector<unsigned char> readDeliverySystem(ByteReader descriptors)
{
    std::vector<unsigned char> found;
    VestaHbbTV::forEachDescriptor(
        descriptors, [&found](uint8_t tag, ByteReader payload, ByteReader rest) {
            if (!isDeliverySystem(tag, payload))
                return true;
            const size_t size = VestaHbbTV::descriptorHeaderSize + payload.remaining();
            found.assign(rest.data(), rest.data() + size);
            return false;
        });
    return found;
}

}  // namespace

NetworkInformation readNetworkInformation(const std::vector<SectionBytes>& nit)
{
    NetworkInformation network;
    for (const SectionBytes& section : nit) {
        network.networkId = readSectionHeader(section).tableIdExtension;
        ByteReader body = sectionBody(section);
        body.skip(body.length12());  // the network's own descriptors
        ByteReader transports = body.take(body.length12());
        while (!transports.empty()) {
            NetworkTransport transport;
            transport.transportStreamId = transports.u16();
            transport.originalNetworkId = transports.u16();
            const ByteReader descriptors = transports.take(transports.length12());
            if (!transports.ok())
                break;
            transport.deliverySystem = readDeliverySystem(descriptors);
            network.transports.push_back(std::move(transport));
        }
    }
    return network;
}

}  // namespace receiver
