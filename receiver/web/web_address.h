/// Where the receiver's page is served.
#ifndef VESTA_RECEIVER_WEB_WEB_ADDRESS_H
#define VESTA_RECEIVER_WEB_WEB_ADDRESS_H

#include <cstdint>
#include <optional>
#include <string>

namespace receiver {

struct WebAddress {
    std::string host = "127.0.0.1";  ///< an IP address; of IPv6 without brackets
    uint16_t port = 0;               ///< 0: any that is free
};

/// @param text "PORT" for this machine alone, "ADDRESS:PORT" or "[ADDRESS]:PORT"; "localhost" is
///        127.0.0.1
/// @return nothing for anything else
std::optional<WebAddress> webAddressFrom(const std::string& text);

/// "http://127.0.0.1:8080/"
std::string urlOf(const WebAddress& address);

/// Whether a request's Host header can be meant for an address with this port: an IP address or
/// "localhost". Any other name may be somebody's who lets it lead here (DNS rebinding).
bool isOwnHost(const std::string& host, uint16_t port);

}  // namespace receiver

#endif
