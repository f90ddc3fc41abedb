/// The URLs of a document, relative ones made absolute: RFC 3986, 5.2.
#ifndef VESTA_KIT_URL_REFERENCE_H
#define VESTA_KIT_URL_REFERENCE_H

#include <optional>
#include <string>
#include <string_view>

namespace VestaHbbTV {

/// A URL in its parts, none of which is decoded; borrowed from its text.
struct URLParts {
    explicit URLParts(std::string_view url);

    /// Of the authority, without user and port.
    std::string_view host() const;

    std::string_view scheme;  ///< without ":"; empty where the URL is relative
    std::string_view authority;
    std::string_view path;
    std::string_view query;     ///< with its "?"
    std::string_view fragment;  ///< with its "#"
    bool hasAuthority = false;  ///< "//" was there
};

/// Whether there are blanks or control characters, which no URL has.
bool hasBlanks(std::string_view url);

/// The absolute URL of a reference. The scheme becomes lower case; otherwise an absolute reference
/// stays as it is.
/// @param base absolute, with scheme and authority; may be empty where it is not known
/// @return nothing where the reference is relative and the base is not as it should be
std::optional<std::string> resolveURL(std::string_view base, std::string_view reference);

}  // namespace VestaHbbTV

#endif
