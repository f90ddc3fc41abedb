#include "signalling/hbbtv_url.h"

#include <cstddef>
#include <cstdio>
#include <limits>
#include <string_view>

#include "vesta_browser.h"

#include "foundation/utilities.h"

namespace VestaHbbTV {

namespace {

constexpr std::string_view dvbScheme = "dvb:";
constexpr std::string_view absoluteDVBPrefix = "dvb://";
constexpr std::string_view currentAITPrefix = "dvb://current.ait/";
constexpr std::string_view hostPrefixes[] = {"http://", "https://", absoluteDVBPrefix};
constexpr size_t escapedDigits = 2;

bool startsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

/// The value of a hexadecimal digit, -1 for any other character.
constexpr int hexadecimalDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

/// Everything that is not two plain digits: sscanf() itself decides what it means.
void appendOddEscape(std::string& decoded, std::string_view digits)
{
    char text[escapedDigits + 1] = {};
    digits.copy(text, escapedDigits);
    unsigned value = 0;
    if (std::sscanf(text, "%x", &value) == 1)
        decoded.push_back(static_cast<char>(value & 0xFF));
}

/// @param digits what follows the "%", at most two characters
void appendEscape(std::string& decoded, std::string_view digits)
{
    if (digits.size() == escapedDigits) {
        const int high = hexadecimalDigit(digits[0]);
        const int low = hexadecimalDigit(digits[1]);
        if (high >= 0 && low >= 0) {
            decoded.push_back(static_cast<char>(high * 16 + low));
            return;
        }
    }
    appendOddEscape(decoded, digits);
}

void assignDecoded(std::string& decoded, std::string_view text)
{
    size_t escape = text.find('%');
    if (escape == std::string_view::npos) {
        decoded.assign(text);
        return;
    }
    decoded.reserve(text.size());  // decoding only shortens
    do {
        decoded.append(text.substr(0, escape));
        text.remove_prefix(escape + 1);
        const std::string_view digits = text.substr(0, escapedDigits);
        appendEscape(decoded, digits);
        text.remove_prefix(digits.size());
        escape = text.find('%');
    } while (escape != std::string_view::npos);
    decoded.append(text);
}

/// Reads hexadecimal digits, and nothing else, into an id; beyond 32 bits the largest one.
uint32_t readId(std::string_view digits)
{
    constexpr uint32_t largest = std::numeric_limits<uint32_t>::max();
    uint32_t id = 0;
    for (const char c : digits) {
        if (id > largest / 16)
            return largest;
        id = id * 16 + static_cast<uint32_t>(hexadecimalDigit(c));
    }
    return id;
}

}  // namespace

HbbTVURL::HbbTVURL(const std::string& url) : HbbTVURL(url, otherURL)
{
    type_ = getURLType(url_);
}

HbbTVURL::HbbTVURL(const std::string& url, int type) : type_(type)
{
    const size_t query = url.find('?');
    const size_t fragment = url.find('#');
    if (query != std::string::npos) {
        // Deliberate: a "#" before the "?" does not end the query.
        const bool ends = fragment != std::string::npos && fragment > query;
        parameters_.assign(url, query + 1, ends ? fragment - query - 1 : std::string::npos);
    }
    if (fragment != std::string::npos)
        anchor_.assign(url, fragment + 1, std::string::npos);
    const size_t addressEnd = query != std::string::npos ? query : fragment;
    assignDecoded(url_, std::string_view(url).substr(0, addressEnd));
}

int HbbTVURL::getURLType(const std::string& url)
{
    if (!startsWith(url, dvbScheme))
        return otherURL;
    return startsWith(url, currentAITPrefix) ? currentAITDVBURL : dvbURL;
}

std::string HbbTVURL::getFullUrl() const
{
    std::string full;
    full.reserve(url_.size() + parameters_.size() + anchor_.size() + 2);
    full = url_;
    if (!parameters_.empty())
        full.append(1, '?').append(parameters_);
    if (!anchor_.empty())
        full.append(1, '#').append(anchor_);
    return full;
}

std::string HbbTVURL::getHostName() const
{
    size_t start = 0;
    for (const std::string_view prefix : hostPrefixes) {
        if (startsWith(url_, prefix))
            start = prefix.size();
    }
    const size_t end = url_.find('/', start);
    return url_.substr(start, end == std::string::npos ? end : end - start);
}

void HbbTVURL::addParameters(const std::string& params)
{
    if (!parameters_.empty() && !params.empty())
        parameters_.push_back('&');
    parameters_.append(params);
}

void HbbTVURL::addAnchor(const std::string& anchor, bool overwrite)
{
    if (anchor.empty() || (!anchor_.empty() && !overwrite))
        return;
    anchor_ = anchor;
}

bool HbbTVURL::resolveRelativeUrl(const HbbTVURL& base)
{
    if (type_ == dvbURL) {
        const size_t lastSlash = base.url_.rfind('/');
        if (url_.find(absoluteDVBPrefix) == std::string::npos && lastSlash != std::string::npos)
            url_.replace(0, dvbScheme.size(), base.url_, 0, lastSlash);
        return true;
    }
    const char* resolved = nullptr;
    if (ve_resolve_relative_url(base.url_.c_str(), url_.c_str(), &resolved) != 0)
        return false;
    if (resolved)
        url_ = resolved;
    return true;
}

std::string HbbTVURL::urlDecode(const std::string& s) const
{
    std::string decoded;
    assignDecoded(decoded, s);
    return decoded;
}

HbbTVDVBURL::HbbTVDVBURL(const std::string& url) : HbbTVURL(url, dvbURL)
{
}

HbbTVCurrentAITDVBURL::HbbTVCurrentAITDVBURL(const std::string& url)
    : HbbTVURL(url, currentAITDVBURL)
{
    if (!startsWith(getURL(), currentAITPrefix))
        return;
    const std::string_view ids = std::string_view(getURL()).substr(currentAITPrefix.size());
    const size_t dot = ids.find('.');
    if (dot == std::string_view::npos)
        return;
    const std::string_view organisation = ids.substr(0, dot);
    const std::string_view application = ids.substr(dot + 1);
    if (!isHexadecimalNumberString(std::string(organisation)) ||
        !isHexadecimalNumberString(std::string(application)))
        return;
    organisationId_ = readId(organisation);
    applicationId_ = readId(application);
    valid_ = true;
}

}  // namespace VestaHbbTV
