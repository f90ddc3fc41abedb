#include "recorder/boundary/url_query.h"

#include <algorithm>

namespace recorder {

UrlParts partsOf(std::string_view url)
{
    const size_t fragment = std::min(url.find('#'), url.size());
    const size_t mark = url.find('?');
    if (mark >= fragment)
        return {url, {}, {}};
    return {url.substr(0, mark + 1), url.substr(mark + 1, fragment - mark - 1),
            url.substr(fragment)};
}

bool isNumberOfQuery(std::string_view query)
{
    return query.size() > 1 && query.front() == '~' &&
           query.substr(1).find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace recorder
