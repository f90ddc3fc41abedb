#include "signalling/hbbtv_url.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <string_view>

#include "vesta_browser.h"

#include "foundation/text.h"
#include "foundation/url_prefixes.h"
#include "foundation/utilities.h"

namespace VestaHbbTV {

namespace {

constexpr std::string_view currentAITPrefix = "dvb://current.ait/";
constexpr std::string_view hostPrefixes[] = {httpPrefix, httpsPrefix, absoluteDVBPrefix};
constexpr size_t escapedDigits = 2;
constexpr int noByte = -1;

/// The byte that an escape stands for, or noByte. Two plain digits need no further look; for
/// everything else sscanf() itself decides what it means.
/// @param digits what follows the "%", at most two characters
int escapedByte(std::string_view digits)
{
    if (digits.size() == escapedDigits) {
        const int high = hexadecimalDigit(digits[0]);
        const int low = hexadecimalDigit(digits[1]);
        if (high >= 0 && low >= 0)
            return high * 16 + low;
    }
    char text[escapedDigits + 1] = {};
    digits.copy(text, escapedDigits);
    unsigned value = 0;
    return std::sscanf(text, "%x", &value) == 1 ? static_cast<int>(value & 0xFF) : noByte;
}

void assignDecoded(std::string& decoded, std::string_view text)
{
    decoded.assign(text);
    size_t end = std::min(text.find('%'), text.size());  // of what is decoded already
    for (size_t at = end; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded[end++] = text[at];
            continue;
        }
        const std::string_view digits = text.substr(at + 1, escapedDigits);
        const int byte = escapedByte(digits);
        if (byte != noByte)
            decoded[end++] = static_cast<char>(byte);
        at += digits.size();
    }
    decoded.resize(end);
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

std::ostream& operator<<(std::ostream& stream, const HbbTVURL& url)
{
    return stream << url.getFullUrl();
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
    if (parameters_.empty())
        parameters_ = params;
    else if (!params.empty())
        parameters_ = parameters_ + '&' + params;  // in one go: both may be the same string
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
