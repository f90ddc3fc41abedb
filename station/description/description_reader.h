/// From the text of a description to what it says.
#ifndef VESTA_STATION_DESCRIPTION_DESCRIPTION_READER_H
#define VESTA_STATION_DESCRIPTION_DESCRIPTION_READER_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "station/description/description.h"

namespace station {

/// @param folder that relative folders of the description begin in
/// @param start of the stream in seconds since 1970 (UTC), whatever the description says
/// @return nothing when there is a problem; then the problems are in the order of their lines
std::optional<Description> readDescription(const std::string& text,
                                           const std::filesystem::path& folder, Problems& problems,
                                           std::optional<int64_t> start = std::nullopt);

}  // namespace station

#endif
