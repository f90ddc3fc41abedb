#include "receiver/text/mime_type.h"

#include <cstring>
#include <strings.h>

#include "receiver/text/url.h"

namespace receiver {

bool isPage(const std::string& url, const std::string& mimeType)
{
    return (mimeType.empty() ? mimeTypeOf(url) : mimeType).find("html") != std::string::npos;
}

std::string mimeTypeOf(const std::string& path)
{
    static const struct {
        const char* ending;
        const char* type;
    } types[] = {
        {".html", "application/vnd.hbbtv.xhtml+xml"},
        {".htm", "application/vnd.hbbtv.xhtml+xml"},
        {".xhtml", "application/vnd.hbbtv.xhtml+xml"},
        {".css", "text/css"},
        {".js", "application/javascript"},
        {".json", "application/json"},
        {".xml", "text/xml"},
        {".aitx", "application/vnd.dvb.ait+xml"},
        {".txt", "text/plain"},
        {".png", "image/png"},
        {".jpg", "image/jpeg"},
        {".jpeg", "image/jpeg"},
        {".gif", "image/gif"},
    };
    const std::string name = withoutQuery(path);
    for (const auto& [ending, type] : types) {
        const size_t length = std::strlen(ending);
        if (name.size() >= length && ::strcasecmp(name.c_str() + name.size() - length, ending) == 0)
            return type;
    }
    return "";
}

}  // namespace receiver
