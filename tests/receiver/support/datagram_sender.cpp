#include "tests/receiver/support/datagram_sender.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace receiver {

namespace {

void sendThroughLoopback(int socket, int family)
{
    if (family == AF_INET6) {
        const unsigned loopback = ::if_nametoindex("lo");
        ::setsockopt(socket, IPPROTO_IPV6, IPV6_MULTICAST_IF, &loopback, sizeof(loopback));
        return;
    }
    const in_addr loopback = {htonl(INADDR_LOOPBACK)};
    ::setsockopt(socket, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof(loopback));
}

}  // namespace

DatagramSender::DatagramSender(const std::string& host, uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    sockaddr_in6 address6 = {};
    address6.sin6_family = AF_INET6;
    address6.sin6_port = htons(port);
    address6.sin6_scope_id = host.rfind("ff", 0) == 0 ? ::if_nametoindex("lo") : 0;
    const bool isV4 = ::inet_pton(AF_INET, host.c_str(), &address.sin_addr) == 1;
    if (!isV4 && ::inet_pton(AF_INET6, host.c_str(), &address6.sin6_addr) != 1)
        return;
    socket_ = ::socket(isV4 ? AF_INET : AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sendThroughLoopback(socket_, isV4 ? AF_INET : AF_INET6);
    const auto* const target = isV4 ? reinterpret_cast<const sockaddr*>(&address)
                                    : reinterpret_cast<const sockaddr*>(&address6);
    const socklen_t size = isV4 ? sizeof(address) : sizeof(address6);
    if (::connect(socket_, target, size) != 0) {
        ::close(socket_);
        socket_ = -1;
    }
}

DatagramSender::~DatagramSender()
{
    if (socket_ >= 0)
        ::close(socket_);
}

bool DatagramSender::send(const Bytes& datagram) const
{
    return send(datagram.data(), datagram.size());
}

bool DatagramSender::send(const unsigned char* bytes, size_t count) const
{
    return ::send(socket_, bytes, count, 0) == static_cast<ssize_t>(count);
}

Bytes rtpDatagram(unsigned sequenceNumber, const Bytes& payload)
{
    Bytes bytes = {0x80,
                   33,
                   static_cast<unsigned char>(sequenceNumber >> 8),
                   static_cast<unsigned char>(sequenceNumber),
                   0,
                   0,
                   0,
                   0,
                   1,
                   2,
                   3,
                   4};
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

}  // namespace receiver
