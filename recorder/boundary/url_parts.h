/// The parts of URLs that may be somebody's secret, and what a record has in their place.
#ifndef VESTA_RECORDER_BOUNDARY_URL_PARTS_H
#define VESTA_RECORDER_BOUNDARY_URL_PARTS_H

#include <string_view>
#include <vector>

namespace recorder {

struct UrlPart {
    std::string_view text;
    bool isPrivate;
};

/// All of it, part for part.
using PartsOf = std::vector<UrlPart> (*)(std::string_view text);

/// Private are the name and the password before the host (and whatever a path has that looks like
/// them), the query, and the fragment: without the marks that set them off.
std::vector<UrlPart> partsOfUrl(std::string_view url);

/// Likewise for each URL in a text: from one blank, quote or angle bracket to the next, with "://"
/// in between.
std::vector<UrlPart> partsOfText(std::string_view text);

/// Whether it is no part but the number of one that was left out: "~1".
bool isNumberOfPart(std::string_view part);

}  // namespace recorder

#endif
