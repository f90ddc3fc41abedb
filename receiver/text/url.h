/// What URLs and the paths in them are made of.
#ifndef VESTA_RECEIVER_TEXT_URL_H
#define VESTA_RECEIVER_TEXT_URL_H

#include <string>

namespace receiver {

/// What stands before the first "?" or "#" of a URL, or of a path from one.
std::string withoutQuery(const std::string& url);

/// Decodes escapes such as %20.
std::string withoutEscapes(const std::string& text);

}  // namespace receiver

#endif
