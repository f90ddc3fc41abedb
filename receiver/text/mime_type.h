/// What kind of file it is.
#ifndef VESTA_RECEIVER_TEXT_MIME_TYPE_H
#define VESTA_RECEIVER_TEXT_MIME_TYPE_H

#include <string>

namespace receiver {

/// Whether a file is a page by its name or type, so that its subresources are of interest.
bool isPage(const std::string& url, const std::string& mimeType);

/// A MIME type by a file's name; empty for an unknown ending.
std::string mimeTypeOf(const std::string& path);

}  // namespace receiver

#endif
