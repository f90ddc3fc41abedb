#include "receiver/folder_place.h"

namespace receiver {

namespace fs = std::filesystem;

fs::path placeInFolder(const fs::path& folder, const std::string& name)
{
    const fs::path relative = fs::path(name).lexically_normal();
    if (name.find('\0') != std::string::npos || relative.empty() || relative.is_absolute() ||
        *relative.begin() == "..")
        return {};
    return folder / relative;
}

}  // namespace receiver
