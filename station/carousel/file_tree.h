/// The files that go into a carousel.
#ifndef VESTA_STATION_CAROUSEL_FILE_TREE_H
#define VESTA_STATION_CAROUSEL_FILE_TREE_H

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>

#include "station/bytes/byte_writer.h"

namespace station {

/// A file, or a folder of a description, that cannot be read.
class Unreadable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The files of a folder and all folders in it, by their paths from there ("css/style.css"), in the
/// order of the paths' bytes. What begins with a dot is left out. @throws Unreadable, also for what
/// is neither a file nor a folder, and for links to folders, which may lead round in circles
std::map<std::string, Bytes> readFiles(const std::filesystem::path& folder);

/// A MIME type by a file's ending; empty for an unknown one.
std::string contentTypeOf(const std::string& path);

}  // namespace station

#endif
