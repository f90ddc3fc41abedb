/// The files of the receiver's page (receiver/web/page/).
#ifndef VESTA_RECEIVER_WEB_PAGE_FILES_H
#define VESTA_RECEIVER_WEB_PAGE_FILES_H

#include <string_view>
#include <vector>

namespace receiver {

struct PageFile {
    std::string_view name;  ///< "index.html"
    std::string_view content;
};

/// Made by the build.
const std::vector<PageFile>& pageFiles();

/// @return empty where there is none of this name
std::string_view pageFile(std::string_view name);

}  // namespace receiver

#endif
