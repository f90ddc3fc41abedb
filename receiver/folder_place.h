/// Names that come from elsewhere, in a folder of ours.
#ifndef VESTA_RECEIVER_FOLDER_PLACE_H
#define VESTA_RECEIVER_FOLDER_PLACE_H

#include <filesystem>
#include <string>

namespace receiver {

/// @param name with "/" between its parts @return its place in the folder; empty when the name is
///        empty, absolute, leads out of the folder or cannot be a file's
std::filesystem::path placeInFolder(const std::filesystem::path& folder, const std::string& name);

}  // namespace receiver

#endif
