#include "signalling/ait_application_transport.h"

#include <cstdio>
#include <utility>

#include "foundation/descriptor.h"
#include "foundation/url_prefixes.h"

namespace VestaHbbTV {

AITApplicationTransport::AITApplicationTransport(const unsigned char* descriptor)
{
    parseTransportDescriptor(descriptor);
}

AITApplicationTransport::AITApplicationTransport(ByteReader payload)
{
    parsePayload(payload);
}

void AITApplicationTransport::parseTransportDescriptor(const unsigned char* descriptor)
{
    if (descriptor)
        parsePayload(descriptorPayload(descriptor));
}

// transport_protocol_descriptor(): ETSI TS 102 809, 5.3.6.
void AITApplicationTransport::parsePayload(ByteReader payload)
{
    const uint16_t protocolId = payload.u16();
    label_ = payload.u8();
    if (protocolId == OBJECT_CAROUSEL)
        parseObjectCarousel(payload);
    else if (protocolId == HTTP)
        parseHTTP(payload);
}

// Transport via the object carousel: ETSI TS 102 809, 5.3.6.1.
void AITApplicationTransport::parseObjectCarousel(ByteReader selector)
{
    protocol_ = OBJECT_CAROUSEL;
    urlBase_.clear();
    remote_ = (selector.u8() & 0x80) != 0;
    if (remote_) {
        originalNetworkId_ = selector.u16();
        transportStreamId_ = selector.u16();
        serviceId_ = selector.u16();
    }
    componentTag_ = selector.u8();
}

// Transport via HTTP: ETSI TS 102 809, 5.3.6.2. Further URL items and all extensions are skipped.
void AITApplicationTransport::parseHTTP(ByteReader selector)
{
    protocol_ = HTTP;
    const uint8_t baseLength = selector.u8();
    append(urlBase_, selector.take(baseLength));
}

std::string AITApplicationTransport::getURL(std::string location) const
{
    switch (protocol_) {
    case HTTP:
        return urlBase_ + location;
    case OBJECT_CAROUSEL:
        return std::string(absoluteDVBPrefix) + getHostname() + "/" + location;
    }
    return std::string();
}

std::string AITApplicationTransport::getHostname() const
{
    if (protocol_ != OBJECT_CAROUSEL)
        return std::string();
    char host[sizeof("ffff.ffff.ffff.ff")];
    std::snprintf(host, sizeof(host), "%x.%x.%x.%x", unsigned{originalNetworkId_},
                  unsigned{transportStreamId_}, unsigned{serviceId_}, unsigned{componentTag_});
    return host;
}

void AITApplicationTransport::setService(uint16_t originalNetworkId, uint16_t transportStreamId,
                                         uint16_t serviceId)
{
    originalNetworkId_ = originalNetworkId;
    transportStreamId_ = transportStreamId;
    serviceId_ = serviceId;
}

void AITApplicationTransport::setURLBase(std::string urlBase)
{
    urlBase_ = std::move(urlBase);
}

}  // namespace VestaHbbTV
