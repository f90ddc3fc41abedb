/// Folders that stand for web sites.
#ifndef VESTA_RECEIVER_BROWSER_SITES_H
#define VESTA_RECEIVER_BROWSER_SITES_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace receiver {

/// A folder that answers for URLs with a certain beginning.
struct Site {
    std::string prefix;
    std::string folder;
};

/// The file that answers for a URL: of the site with the longest beginning, "index.html" in a
/// folder. No path leads out of its site's folder.
/// @return nothing when no site answers; an empty path when there can be no such file
std::optional<std::filesystem::path> fileOfURL(const std::vector<Site>& sites,
                                               const std::string& url);

/// @return what is wrong with the folder of a site, and what there is instead, for people; empty
///         when it is a folder
std::string problemOf(const Site& site);

}  // namespace receiver

#endif
