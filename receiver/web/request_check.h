/// Which requests the receiver's web server answers at all.
#ifndef VESTA_RECEIVER_WEB_REQUEST_CHECK_H
#define VESTA_RECEIVER_WEB_REQUEST_CHECK_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace receiver {

/// What a request's head says; nothing where a header is missing.
struct RequestHead {
    std::string method;
    std::optional<std::string> host;
    std::optional<std::string> origin;
    std::optional<std::string> fetchSite;  ///< Sec-Fetch-Site
    std::optional<std::string> contentLength;
    bool hasTransferEncoding = false;
};

struct Refusal {
    unsigned status;  ///< of HTTP
    std::string reason;
};

/// Nobody needs a longer body than a command.
constexpr size_t mostBodyBytes = size_t(64) << 10;

/// A page of another origin must neither command the receiver nor read what it says, be it by a
/// form, by a script, or under a name of its own that leads here.
/// @param port of the server @return nothing where the request is to be answered
std::optional<Refusal> refusalOf(const RequestHead& head, uint16_t port);

}  // namespace receiver

#endif
