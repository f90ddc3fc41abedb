/// @file
/// The boundary of an HbbTV application.
#ifndef VESTA_SECURITY_APPLICATION_DOMAIN_H
#define VESTA_SECURITY_APPLICATION_DOMAIN_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/visibility.h"

namespace VestaHbbTV {

/// The origins (scheme, host and port, without path) inside which an application's pages and
/// requests count as its own, in the order in which they were added.
///
/// Entries are never removed, and an origin may stand there twice. Any number of dvb: origins may
/// be added, but only one web host (ETSI TS 102 796, 6.3). Nothing here fails on any text, NUL
/// bytes included.
///
/// All functions look for "http://", then "https://", then "dvb://" anywhere in a URL; the first
/// one that occurs decides its scheme. Case counts everywhere. Parameters are never changed.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED ApplicationDomain {
public:
    /// Whether `url` begins with one of the entries; false while there are none.
    ///
    /// Deliberate: a plain comparison of text. "http://host.example" also admits
    /// "http://host.example.other/" and "http://host.example:8080/", and an empty entry admits all.
    bool isWithinBoundaries(std::string url) const;

    /// Which scheme decides.
    /// @return 1 for "http://", 2 for "https://", 3 for "dvb://", 0 where none occurs
    int extractProtocol(std::string& url) const;

    /// The host without its port: what stands from the length of the scheme's text (0 without a
    /// scheme) to the next "/" or the end, cut at its first ":". The scheme is expected at the
    /// front; further on it leaves the start where it would be then.
    std::string extractHostName(std::string& url) const;

    /// The origin: `url` up to the first "/" after the scheme's length; all of it where there is
    /// no such "/" or no scheme. Port and user part stay.
    std::string removePath(std::string& url) const;

    /// Adds the origin of `url` unless it would bring in a second web host: a URL that begins with
    /// "dvb:" is always added, any other only if every entry has its host or is a dvb:// origin.
    /// An entry without a scheme counts by its text before the first "/" (and ":") as its host.
    /// @return whether the entry was added
    bool addBoundaryExtension(std::string url);

    /// Adds each of another domain's entries as addBoundaryExtension() does.
    /// @param other not changed; this very domain adds nothing
    /// @return whether at least one entry was added
    bool extendDomain(ApplicationDomain& other);

    /// Adds the extensions of a simple application boundary descriptor whose surroundings are not
    /// known: same as the other overload with `available` = 2 + descriptor_length + 1. So while
    /// extensions are missing, the byte just past the descriptor is read; no byte after that one.
    /// @param descriptor at its tag, which is not checked; borrowed for the call; null adds nothing
    void parseSimpleApplicationBoundaryExtensionDescriptor(const unsigned char* descriptor);

    /// Adds the extensions of a simple application boundary descriptor (ETSI TS 102 809, 5.3.8)
    /// that stands in a section, each as addBoundaryExtension() does. Ends without a word at the
    /// first extension that does not fit, and keeps what came before. Logs a warning if there is
    /// more than one.
    ///
    /// An extension fits if its last byte is at most the byte just past the descriptor and is
    /// within `available`.
    /// @param descriptor at its tag, which is not checked; borrowed for the call; null adds nothing
    /// @param available bytes from the tag to the end of the section; none after them is touched
    void parseSimpleApplicationBoundaryExtensionDescriptor(const unsigned char* descriptor,
                                                           size_t available);

    /// The entries in the order in which they were added; valid until the next one is added.
    const std::vector<std::string>& getEntries() const { return entries_; }

    /// Gives back the memory that is kept for further entries.
    void releaseSpareMemory() { entries_.shrink_to_fit(); }

private:
    /// What the entries that are no dvb:// origins have as their hosts. More than one comes about
    /// where a path decided on the host of a URL and is not part of its origin.
    enum class Hosts : uint8_t { NONE, ONE, SEVERAL };

    VESTA_HIDDEN bool admits(std::string_view host) const;
    VESTA_HIDDEN std::string_view sharedHost() const;
    VESTA_HIDDEN void rememberHost(size_t begin);

    std::vector<std::string> entries_;
    /// Where the one host stands: an entry, and a part of it. No view, since entries move.
    uint32_t hostEntry_ = 0;
    uint32_t hostBegin_ = 0;
    uint32_t hostLength_ = 0;
    Hosts hosts_ = Hosts::NONE;
};

}  // namespace VestaHbbTV

#endif
