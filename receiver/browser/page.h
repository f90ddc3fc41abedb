/// What the console browser needs to know of pages and URLs (libxml2).
#ifndef VESTA_RECEIVER_BROWSER_PAGE_H
#define VESTA_RECEIVER_BROWSER_PAGE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace receiver {

/// Makes a URL absolute (RFC 3986, 5.2). Characters that no URL may hold, such as blanks, are
/// escaped where needed. @return empty when it cannot be
std::string resolveURL(const std::string& base, const std::string& url);

/// Longer pages are not looked through: a parsed page takes many times its bytes.
constexpr size_t mostPageBytes = size_t(2) << 20;

/// Nor are pages with twice as many attributes in a tag: the parser compares each with all before
/// it.
constexpr size_t mostAttributes = 100;

/// No URL of a file is longer; what is may be data.
constexpr size_t mostReferenceBytes = size_t(4) << 10;

/// What a page needs to be shown: the `src` of its elements and the `href` of its links to style
/// sheets and the like; links for people (`a`) are not among them.
/// @return the references as they stand in the page, each once, in order, without those that are
///         longer than mostReferenceBytes; nothing of a page that is longer than mostPageBytes, or
///         has a tag with many more than mostAttributes
std::optional<std::vector<std::string>> subresources(const std::string& page);

}  // namespace receiver

#endif
