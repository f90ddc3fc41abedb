#include "receiver/text/url.h"

#include <cctype>

namespace receiver {

std::string withoutQuery(const std::string& url)
{
    return url.substr(0, url.find_first_of("?#"));
}

std::string withoutEscapes(const std::string& text)
{
    std::string decoded;
    for (size_t at = 0; at < text.size(); ++at) {
        const bool isEscape = text[at] == '%' && at + 2 < text.size() &&
                              std::isxdigit(static_cast<unsigned char>(text[at + 1])) &&
                              std::isxdigit(static_cast<unsigned char>(text[at + 2]));
        if (isEscape) {
            decoded += static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16));
            at += 2;
        } else {
            decoded += text[at];
        }
    }
    return decoded;
}

}  // namespace receiver
