#include "receiver/stream/network_address.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <net/if.h>

#include "receiver/console/words.h"

namespace receiver {

namespace {

bool turnOn(int socket, int level, int option)
{
    const int on = 1;
    return ::setsockopt(socket, level, option, &on, sizeof(on)) == 0;
}

void turnOff(int socket, int level, int option)
{
    const int off = 0;
    ::setsockopt(socket, level, option, &off, sizeof(off));
}

}  // namespace

std::optional<NetworkAddress> NetworkAddress::fromUrl(const std::string& url, std::string& problem)
{
    const size_t begin = url.find("://") + 3;
    const size_t question = url.find('?', begin);
    std::string authority = url.substr(begin, question - begin);
    if (!authority.empty() && authority.front() == '@')
        authority.erase(0, 1);
    const size_t colon = authority.rfind(':');
    NetworkAddress address;
    if (colon == std::string::npos || !address.setHost(authority.substr(0, colon))) {
        problem = url + ": expected udp://[@]ADDRESS:PORT, with an IP address (IPv6 in brackets)";
        return std::nullopt;
    }
    const std::optional<uint32_t> port = wholeNumber(authority.substr(colon + 1), 0xFFFF);
    if (!port) {
        problem = url + ": expected a port from 0 to 65535 after the address";
        return std::nullopt;
    }
    address.setPort(static_cast<uint16_t>(*port));
    if (question != std::string::npos)
        problem = address.takeInterface(url.substr(question + 1));
    if (problem.empty())
        return address;
    problem = url + ": " + problem;
    return std::nullopt;
}

bool NetworkAddress::setHost(const std::string& host)
{
    const bool hasBrackets = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (hasBrackets) {
        auto& address = reinterpret_cast<sockaddr_in6&>(address_);
        address.sin6_family = AF_INET6;
        return ::inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &address.sin6_addr) ==
               1;
    }
    auto& address = reinterpret_cast<sockaddr_in&>(address_);
    address.sin_family = AF_INET;
    return host.empty() || ::inet_pton(AF_INET, host.c_str(), &address.sin_addr) == 1;
}

void NetworkAddress::setPort(uint16_t port)
{
    if (family() == AF_INET6)
        reinterpret_cast<sockaddr_in6&>(address_).sin6_port = htons(port);
    else
        reinterpret_cast<sockaddr_in&>(address_).sin_port = htons(port);
}

/// @return an error for people; empty for success
std::string NetworkAddress::takeInterface(const std::string& query)
{
    const std::string parameter = "interface=";
    if (query.rfind(parameter, 0) != 0 || query.size() == parameter.size())
        return "expected interface=NAME after the question mark, not " + query;
    if (!isGroup())
        return "interface= is for multicast groups";
    const std::string name = query.substr(parameter.size());
    if (family() == AF_INET && ::inet_pton(AF_INET, name.c_str(), &interfaceAddress_) == 1)
        return "";
    interfaceIndex_ = ::if_nametoindex(name.c_str());
    if (interfaceIndex_ == 0)
        return "no such interface: " + name;
    if (family() == AF_INET6)
        reinterpret_cast<sockaddr_in6&>(address_).sin6_scope_id = interfaceIndex_;
    return "";
}

bool NetworkAddress::isGroup() const
{
    return family() == AF_INET6 ? IN6_IS_ADDR_MULTICAST(&ipv6().sin6_addr) != 0
                                : IN_MULTICAST(ntohl(ipv4().sin_addr.s_addr));
}

std::string NetworkAddress::listen(int socket) const
{
    // Several receivers may hear a group; a port of this machine is one receiver's.
    if (isGroup() && !turnOn(socket, SOL_SOCKET, SO_REUSEADDR))
        return std::strerror(errno);
    if (family() == AF_INET6)
        turnOn(socket, IPPROTO_IPV6, IPV6_V6ONLY);
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address_), size()) != 0)
        return std::strerror(errno);
    if (!isGroup())
        return "";
    hearOwnGroupsAlone(socket);
    return join(socket) ? "" : std::string("cannot join the group: ") + std::strerror(errno);
}

/// And not through interfaces where only others have joined the group.
void NetworkAddress::hearOwnGroupsAlone(int socket) const
{
    if (family() == AF_INET)
        turnOff(socket, IPPROTO_IP, IP_MULTICAST_ALL);
#ifdef IPV6_MULTICAST_ALL
    else
        turnOff(socket, IPPROTO_IPV6, IPV6_MULTICAST_ALL);
#endif
}

bool NetworkAddress::join(int socket) const
{
    if (family() == AF_INET6) {
        const ipv6_mreq group = {ipv6().sin6_addr, interfaceIndex_};
        return ::setsockopt(socket, IPPROTO_IPV6, IPV6_JOIN_GROUP, &group, sizeof(group)) == 0;
    }
    const ip_mreqn group = {ipv4().sin_addr, interfaceAddress_, static_cast<int>(interfaceIndex_)};
    return ::setsockopt(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof(group)) == 0;
}

std::optional<NetworkAddress> NetworkAddress::ofSocket(int socket)
{
    NetworkAddress address;
    socklen_t size = sizeof(address.address_);
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address.address_), &size) != 0)
        return std::nullopt;
    return address;
}

uint16_t NetworkAddress::port() const
{
    return ntohs(family() == AF_INET6 ? ipv6().sin6_port : ipv4().sin_port);
}

std::string NetworkAddress::host() const
{
    char text[INET6_ADDRSTRLEN] = "";
    if (family() == AF_INET6)
        return "[" + std::string(::inet_ntop(AF_INET6, &ipv6().sin6_addr, text, sizeof(text))) +
               "]";
    return ::inet_ntop(AF_INET, &ipv4().sin_addr, text, sizeof(text));
}

std::string NetworkAddress::text() const
{
    return host() + ":" + std::to_string(port());
}

socklen_t NetworkAddress::size() const
{
    return family() == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
}

}  // namespace receiver
