#include "security/application_domain.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>

#include "foundation/byte_reader.h"
#include "foundation/descriptor.h"
#include "foundation/logging.h"
#include "foundation/text.h"
#include "foundation/url_prefixes.h"

namespace VestaHbbTV {

namespace {

struct Scheme {
    int protocol;
    std::string_view text;
};

constexpr int dvbProtocol = 3;
constexpr Scheme noScheme = {0, ""};
constexpr Scheme schemes[] = {{1, httpPrefix}, {2, httpsPrefix}, {dvbProtocol, absoluteDVBPrefix}};

// Deliberate: a scheme counts wherever it stands, and the order of the schemes decides.
const Scheme& schemeOf(std::string_view url)
{
    const auto found = std::find_if(std::begin(schemes), std::end(schemes), [url](const Scheme& s) {
        return url.find(s.text) != std::string_view::npos;
    });
    return found == std::end(schemes) ? noScheme : *found;
}

std::string_view hostFrom(std::string_view url, size_t begin)
{
    url.remove_prefix(begin);
    const std::string_view hostAndPort = url.substr(0, url.find('/'));
    return hostAndPort.substr(0, hostAndPort.find(':'));
}

// Deliberate: the host starts where it would if the scheme stood at the front. A URL in which a
// scheme occurs is at least as long as the scheme, so the start is never past the end.
std::string_view hostOf(std::string_view url, const Scheme& scheme)
{
    return hostFrom(url, scheme.text.size());
}

/// How many characters of the URL its origin has.
size_t originLength(std::string_view url, const Scheme& scheme)
{
    if (scheme.protocol == noScheme.protocol)
        return url.size();
    return std::min(url.find('/', scheme.text.size()), url.size());
}

}  // namespace

// The published signature takes the URL by value.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool ApplicationDomain::isWithinBoundaries(std::string url) const
{
    return std::any_of(entries_.begin(), entries_.end(),
                       [&url](const std::string& entry) { return startsWith(url, entry); });
}

int ApplicationDomain::extractProtocol(std::string& url) const
{
    return schemeOf(url).protocol;
}

std::string ApplicationDomain::extractHostName(std::string& url) const
{
    return std::string(hostOf(url, schemeOf(url)));
}

std::string ApplicationDomain::removePath(std::string& url) const
{
    return url.substr(0, originLength(url, schemeOf(url)));
}

bool ApplicationDomain::addBoundaryExtension(std::string url)
{
    const Scheme* scheme = &schemeOf(url);
    if (!startsWith(url, dvbScheme) && !admits(hostOf(url, *scheme)))
        return false;
    url.resize(originLength(url, *scheme));
    if (!startsWith(url, scheme->text))
        scheme = &schemeOf(url);  // it may have gone with the path
    entries_.push_back(std::move(url));
    if (scheme->protocol != dvbProtocol)
        rememberHost(scheme->text.size());
    return true;
}

/// Whether every entry has this host or is a dvb:// origin.
bool ApplicationDomain::admits(std::string_view host) const
{
    return hosts_ == Hosts::NONE || (hosts_ == Hosts::ONE && host == sharedHost());
}

std::string_view ApplicationDomain::sharedHost() const
{
    return std::string_view(entries_[hostEntry_]).substr(hostBegin_, hostLength_);
}

/// @param begin where the host of the last entry begins
void ApplicationDomain::rememberHost(size_t begin)
{
    const std::string_view host = hostFrom(entries_.back(), begin);
    if (hosts_ != Hosts::NONE) {
        if (!admits(host))
            hosts_ = Hosts::SEVERAL;
        return;
    }
    hosts_ = Hosts::ONE;
    hostEntry_ = static_cast<uint32_t>(entries_.size() - 1);
    hostBegin_ = static_cast<uint32_t>(begin);
    hostLength_ = static_cast<uint32_t>(host.size());
}

bool ApplicationDomain::extendDomain(ApplicationDomain& other)
{
    if (&other == this)
        return false;
    bool extended = false;
    for (const std::string& entry : other.entries_) {
        log(DEBUG, "HBBTV", "Trying to extend with domain: ", entry);
        if (!addBoundaryExtension(entry))
            continue;
        log(DEBUG, "HBBTV", " - Extended with domain: ", entry);
        extended = true;
    }
    return extended;
}

void ApplicationDomain::parseSimpleApplicationBoundaryExtensionDescriptor(
    const unsigned char* descriptor)
{
    if (descriptor)
        parseSimpleApplicationBoundaryExtensionDescriptor(
            descriptor, descriptorHeaderSize + descriptor[1] + size_t{1});
}

// simple_application_boundary_descriptor(): ETSI TS 102 809, 5.3.8.
void ApplicationDomain::parseSimpleApplicationBoundaryExtensionDescriptor(
    const unsigned char* descriptor, size_t available)
{
    if (!descriptor || available < descriptorHeaderSize)
        return;
    // Deliberate: an extension may end on the byte just past the descriptor.
    const size_t readable = std::min<size_t>(available, descriptorHeaderSize + descriptor[1] + 1);
    ByteReader reader(descriptor, readable);
    reader.skip(descriptorHeaderSize);
    const uint8_t count = reader.u8();
    // Deliberate: the message stays although all extensions are read.
    if (count > 1)
        log(WARN, "ApplicationDomain",
            "Boundary extension descriptor contains more than one extension. We'll just read the "
            "first one.");
    for (unsigned n = count; n > 0; --n) {
        const uint8_t length = reader.u8();
        std::string extension = reader.text(length);
        if (!reader.ok())
            return;
        addBoundaryExtension(std::move(extension));
    }
}

}  // namespace VestaHbbTV
