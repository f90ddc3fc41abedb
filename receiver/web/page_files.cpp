#include "receiver/web/page_files.h"

#include <algorithm>

namespace receiver {

std::string_view pageFile(std::string_view name)
{
    const auto found = std::find_if(pageFiles().begin(), pageFiles().end(),
                                    [name](const PageFile& file) { return file.name == name; });
    return found == pageFiles().end() ? std::string_view() : found->content;
}

}  // namespace receiver
