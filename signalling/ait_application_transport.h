/// @file
/// One way to reach an application's files: the object carousel of a service, or HTTP.
#ifndef VESTA_SIGNALLING_AIT_APPLICATION_TRANSPORT_H
#define VESTA_SIGNALLING_AIT_APPLICATION_TRANSPORT_H

#include <cstdint>
#include <string>

#include "foundation/byte_reader.h"
#include "foundation/ref_ptr.h"
#include "foundation/visibility.h"

namespace VestaHbbTV {

/// transport_protocol_descriptor(): ETSI TS 102 809, 5.3.6. It stands in both loops of an AIT.
/// @since 1.0
constexpr uint8_t transportProtocolTag = 0x02;

/// A transport protocol descriptor of an AIT. Shared by reference count between a table's common
/// transports, its applications and whoever loads through it.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED AITApplicationTransport : public RefCounted<AITApplicationTransport> {
public:
    /// The protocol_id of the descriptor. 0 stands for every protocol other than these two.
    enum ProtocolId : int {
        OBJECT_CAROUSEL = 1,  ///< files in the broadcast
        HTTP = 3              ///< files by broadband
    };

    /// An empty transport: no protocol, label 0, no URL base.
    AITApplicationTransport() = default;

    /// Reads a descriptor, as parseTransportDescriptor() does.
    /// @param descriptor points at the tag of a transport protocol descriptor; its own length byte
    ///        bounds what is read; null gives an empty transport
    explicit AITApplicationTransport(const unsigned char* descriptor);

    /// Reads the rest of a descriptor, likewise.
    /// @param payload the descriptor without its tag and length
    explicit AITApplicationTransport(ByteReader payload);

    ~AITApplicationTransport() override = default;

    /// Reads a descriptor into this transport. Never fails: a field of the label or of the carousel
    /// that does not fit into the descriptor's own length becomes 0. In a transport that is used
    /// again an unknown protocol keeps the one before, HTTP adds to the URL base that is there
    /// (none where it does not fit), a carousel clears it, and what else the descriptor does not
    /// speak of stays.
    /// @param descriptor points at the tag, borrowed for the call; null changes nothing
    void parseTransportDescriptor(const unsigned char* descriptor);

    /// The address of an initial page on this transport: the URL base followed by the location, or
    /// a `dvb:` URL; empty for an unknown protocol.
    /// @param location path of the page; nothing is added to it nor removed from it
    std::string getURL(std::string location) const;

    /// The carousel's four identifiers as they stand in the host part of its `dvb:` URLs: network,
    /// transport stream, service and component tag in hexadecimal. Empty for every other protocol.
    std::string getHostname() const;

    /// How files are fetched.
    ProtocolId getProtocol() const { return protocol_; }

    /// Whether it can be used: HTTP where that is available, anything else always.
    /// @param httpAvailable whether HTTP transports can be used
    bool isAvailable(bool httpAvailable) const { return httpAvailable || protocol_ != HTTP; }

    /// The transport_protocol_label, by which application descriptors choose it.
    uint8_t getLabel() const { return label_; }

    /// What precedes locations in HTTP addresses, as signalled. Borrowed while the transport lives.
    const std::string& getURLBase() const { return urlBase_; }

    /// Whether the carousel is in another service than the one that carries the table.
    bool isRemote() const { return remote_; }

    /// The network of the service that setService() or the carousel names; 0 before.
    uint16_t getOriginalNetworkId() const { return originalNetworkId_; }

    /// The transport stream of this service; 0 before.
    uint16_t getTransportStreamId() const { return transportStreamId_; }

    /// The service in this transport stream; 0 before.
    uint16_t getServiceId() const { return serviceId_; }

    /// The stream of this service that has the carousel; 0 before.
    uint8_t getComponentTag() const { return componentTag_; }

    /// The service whose carousel or application this is: its own where the descriptor names none.
    void setService(uint16_t originalNetworkId, uint16_t transportStreamId, uint16_t serviceId);

    /// @name For tables that do not come from sections
    /// @{

    /// Says how files are fetched; everything else stays.
    void setProtocol(ProtocolId protocol) { protocol_ = protocol; }

    /// Says what AIT::insertCommonTransport() and AIT::getCommonTransport() know it by.
    void setLabel(uint8_t label) { label_ = label; }

    /// Replaces what precedes locations in HTTP addresses; nothing is put between them.
    void setURLBase(std::string urlBase);

    /// Says whether the carousel is in another service; which one, setService() tells.
    void setRemote(bool remote) { remote_ = remote; }

    /// Names the stream that has the carousel.
    void setComponentTag(uint8_t componentTag) { componentTag_ = componentTag; }
    /// @}

private:
    VESTA_HIDDEN void parsePayload(ByteReader payload);
    VESTA_HIDDEN void parseObjectCarousel(ByteReader selector);
    VESTA_HIDDEN void parseHTTP(ByteReader selector);

    ProtocolId protocol_ = ProtocolId(0);
    std::string urlBase_;
    uint16_t originalNetworkId_ = 0;
    uint16_t transportStreamId_ = 0;
    uint16_t serviceId_ = 0;
    uint8_t label_ = 0;
    uint8_t componentTag_ = 0;
    bool remote_ = false;
};

}  // namespace VestaHbbTV

#endif
