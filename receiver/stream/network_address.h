/// Where on the network a stream is listened for.
#ifndef VESTA_RECEIVER_STREAM_NETWORK_ADDRESS_H
#define VESTA_RECEIVER_STREAM_NETWORK_ADDRESS_H

#include <cstdint>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <sys/socket.h>

namespace receiver {

/// An address of this machine, or a multicast group; IPv4 or IPv6.
class NetworkAddress {
public:
    /// @param url udp://[@]ADDRESS:PORT[?interface=INTERFACE], or with rtp: an address in digits,
    ///        IPv6 in brackets; none stands for every IPv4 address of this machine. Port 0 stands
    ///        for any that is free. The interface, of a group, by name or by its IPv4 address.
    /// @param problem receives an error for people @return nothing where there is one
    static std::optional<NetworkAddress> fromUrl(const std::string& url, std::string& problem);

    /// Makes the socket hear what is sent there. @return an error for people; empty for success
    std::string listen(int socket) const;

    int family() const { return address_.ss_family; }
    bool isGroup() const;

    /// "239.1.1.1:1234", "[ff02::1]:1234", for people.
    std::string text() const;

    /// The address that a socket has come to listen to.
    static std::optional<NetworkAddress> ofSocket(int socket);
    uint16_t port() const;

private:
    bool setHost(const std::string& host);
    void setPort(uint16_t port);
    std::string host() const;
    std::string takeInterface(const std::string& query);
    socklen_t size() const;
    bool join(int socket) const;
    void hearOwnGroupsAlone(int socket) const;
    const sockaddr_in& ipv4() const { return reinterpret_cast<const sockaddr_in&>(address_); }
    const sockaddr_in6& ipv6() const { return reinterpret_cast<const sockaddr_in6&>(address_); }

    sockaddr_storage address_ = {};
    unsigned interfaceIndex_ = 0;    // 0: the system chooses
    in_addr interfaceAddress_ = {};  // in place of the index; 0.0.0.0: none
};

}  // namespace receiver

#endif
