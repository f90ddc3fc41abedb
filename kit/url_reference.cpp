#include "kit/url_reference.h"

#include <algorithm>
#include <cstddef>

#include "foundation/text.h"

namespace VestaHbbTV {

namespace {

constexpr std::string_view authorityMark = "//";

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isSchemeCharacter(char c)
{
    return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

char lowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// How long the scheme at the front is; 0 where there is none.
size_t schemeLength(std::string_view url)
{
    size_t length = 0;
    while (length < url.size() && isSchemeCharacter(url[length]))
        ++length;
    const bool isScheme = length > 0 && length < url.size() && url[length] == ':';
    return isScheme && isLetter(url.front()) ? length : 0;
}

/// Takes the part up to the first of the marks off the front of `rest`.
std::string_view takeUntil(std::string_view& rest, std::string_view marks)
{
    const std::string_view part = rest.substr(0, rest.find_first_of(marks));
    rest.remove_prefix(part.size());
    return part;
}

/// A path that begins with "/", without its "." and "..": RFC 3986, 5.2.4.
std::string withoutDots(std::string_view path)
{
    std::string result;
    while (!path.empty()) {
        path.remove_prefix(1);  // the "/"
        const std::string_view segment = takeUntil(path, "/");
        const bool isLast = path.empty();
        if (segment == "..")
            result.resize(std::min(result.rfind('/'), result.size()));
        if (segment != "." && segment != "..")
            result.append(1, '/').append(segment);
        else if (isLast)
            result += '/';
    }
    return result;
}

/// RFC 3986, 5.2.3.
std::string mergedPath(std::string_view base, std::string_view relative)
{
    const size_t lastSlash = base.rfind('/');
    std::string merged = "/";
    if (lastSlash != std::string_view::npos)
        merged = base.substr(0, lastSlash + 1);
    return merged.append(relative);
}

std::string resolvedPath(const URLParts& base, const URLParts& relative)
{
    if (relative.path.empty())
        return std::string(base.path);
    if (relative.path.front() == '/')
        return withoutDots(relative.path);
    return withoutDots(mergedPath(base.path, relative.path));
}

std::string lowerCase(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return lowerCase(c); });
    return result;
}

}  // namespace

URLParts::URLParts(std::string_view url)
{
    scheme = url.substr(0, schemeLength(url));
    if (!scheme.empty())
        url.remove_prefix(scheme.size() + 1);
    hasAuthority = startsWith(url, authorityMark);
    if (hasAuthority) {
        url.remove_prefix(authorityMark.size());
        authority = takeUntil(url, "/?#");
    }
    path = takeUntil(url, "?#");
    query = takeUntil(url, "#");
    fragment = url;
}

// The colons of an address in brackets are its own: RFC 3986, 3.2.2.
std::string_view URLParts::host() const
{
    const std::string_view hostAndPort = authority.substr(authority.rfind('@') + 1);
    const size_t bracket = hostAndPort.find(']');
    const size_t from = bracket == std::string_view::npos ? 0 : bracket;
    return hostAndPort.substr(0, hostAndPort.find(':', from));
}

bool hasBlanks(std::string_view url)
{
    return std::any_of(url.begin(), url.end(),
                       [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == '\x7F'; });
}

std::optional<std::string> resolveURL(std::string_view base, std::string_view reference)
{
    const URLParts relative(reference);
    if (!relative.scheme.empty())
        return lowerCase(relative.scheme).append(reference.substr(relative.scheme.size()));
    const URLParts from(base);
    if (from.scheme.empty() || from.authority.empty())
        return std::nullopt;
    std::string resolved = lowerCase(from.scheme) + ':';
    if (relative.hasAuthority)
        return resolved.append(reference);
    resolved.append(authorityMark).append(from.authority).append(resolvedPath(from, relative));
    const bool keepsQuery = relative.path.empty() && relative.query.empty();
    return resolved.append(keepsQuery ? from.query : relative.query).append(relative.fragment);
}

}  // namespace VestaHbbTV
