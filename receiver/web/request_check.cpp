#include "receiver/web/request_check.h"

#include "receiver/console/words.h"
#include "receiver/web/web_address.h"

namespace receiver {

namespace {

constexpr unsigned forbidden = 403;
constexpr unsigned methodNotAllowed = 405;
constexpr unsigned lengthRequired = 411;
constexpr unsigned tooLarge = 413;
constexpr unsigned misdirected = 421;

std::optional<Refusal> refusalOfBody(const RequestHead& head)
{
    if (head.hasTransferEncoding)
        return Refusal{lengthRequired, "a body wants a Content-Length"};
    if (!head.contentLength)
        return std::nullopt;
    const auto length = wholeNumber(*head.contentLength);
    if (!length || *length > mostBodyBytes)
        return Refusal{tooLarge, "the body is too long"};
    return std::nullopt;
}

}  // namespace

std::optional<Refusal> refusalOf(const RequestHead& head, uint16_t port)
{
    if (!head.host || !isOwnHost(*head.host, port))
        return Refusal{misdirected, "the Host header names neither an IP address nor localhost"};
    if (head.origin && *head.origin != "http://" + *head.host)
        return Refusal{forbidden, "the request comes from another origin"};
    if (head.fetchSite && *head.fetchSite != "same-origin" && *head.fetchSite != "none")
        return Refusal{forbidden, "the request comes from another site"};
    if (head.method != "GET" && head.method != "HEAD" && head.method != "POST")
        return Refusal{methodNotAllowed, "GET, HEAD and POST are answered"};
    return refusalOfBody(head);
}

}  // namespace receiver
