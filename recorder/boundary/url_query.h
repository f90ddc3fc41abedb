/// Where the query of a URL is, and what a record has in its place.
#ifndef VESTA_RECORDER_BOUNDARY_URL_QUERY_H
#define VESTA_RECORDER_BOUNDARY_URL_QUERY_H

#include <string_view>

namespace recorder {

struct UrlParts {
    std::string_view before;  ///< with the '?'; all of a URL without one
    std::string_view query;
    std::string_view fragment;  ///< with the '#'
};
UrlParts partsOf(std::string_view url);

/// Whether it is no query but the number of one that was left out: "~1".
bool isNumberOfQuery(std::string_view query);

}  // namespace recorder

#endif
