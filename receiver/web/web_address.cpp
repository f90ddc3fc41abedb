#include "receiver/web/web_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>

#include "receiver/console/words.h"

namespace receiver {

namespace {

constexpr char loopback[] = "127.0.0.1";

bool isAddress(int family, const std::string& text)
{
    unsigned char bytes[sizeof(in6_addr)];
    return ::inet_pton(family, text.c_str(), bytes) == 1;
}

struct HostAndPort {
    std::string host;  // with its brackets
    std::string port;  // empty: none
};

HostAndPort splitHost(const std::string& text)
{
    const size_t bracket = text.rfind(']');
    const size_t colon = text.find(':', bracket == std::string::npos ? 0 : bracket);
    if (colon == std::string::npos)
        return {text, ""};
    return {text.substr(0, colon), text.substr(colon + 1)};
}

/// @param host with brackets where it has some @return the IP address that it is; empty: none
std::string addressIn(const std::string& host)
{
    const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    const std::string inner = isBracketed ? host.substr(1, host.size() - 2) : host;
    return isAddress(isBracketed ? AF_INET6 : AF_INET, inner) ? inner : "";
}

bool isLocalhost(const std::string& host)
{
    return ::strcasecmp(host.c_str(), "localhost") == 0;
}

}  // namespace

std::optional<WebAddress> webAddressFrom(const std::string& text)
{
    WebAddress address;
    std::string port = text;
    if (text.find(':') != std::string::npos) {
        const HostAndPort parts = splitHost(text);
        address.host = isLocalhost(parts.host) ? loopback : addressIn(parts.host);
        port = parts.port;
    }
    const std::optional<uint32_t> number = wholeNumber(port, 0xFFFF);
    if (!number || address.host.empty())
        return std::nullopt;
    address.port = static_cast<uint16_t>(*number);
    return address;
}

std::string urlOf(const WebAddress& address)
{
    const bool isLong = address.host.find(':') != std::string::npos;
    return "http://" + (isLong ? "[" + address.host + "]" : address.host) + ":" +
           std::to_string(address.port) + "/";
}

bool isOwnHost(const std::string& host, uint16_t port)
{
    const HostAndPort parts = splitHost(host);
    const std::string usual = "80";
    const std::string asked = parts.port.empty() ? usual : parts.port;
    return wholeNumber(asked, 0xFFFF) == port &&
           (isLocalhost(parts.host) || !addressIn(parts.host).empty());
}

}  // namespace receiver
