/// Reads one service of a description.
#ifndef VESTA_STATION_DESCRIPTION_SERVICE_READER_H
#define VESTA_STATION_DESCRIPTION_SERVICE_READER_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

#include "station/description/description.h"
#include "station/description/object_reader.h"

namespace station {

/// What the description says for all of its services.
struct StationFrame {
    std::filesystem::path folder;
    int64_t start = 0;     ///< seconds since 1970 (UTC)
    int64_t duration = 0;  ///< seconds
};

/// Who has which PID.
class PidBook {
public:
    PidBook();

    /// The PID that the key says, or a free one from here on. One that is taken is a problem.
    unsigned claim(ObjectReader& object, const std::string& key, unsigned from);

private:
    std::map<unsigned, std::string> owners_;
};

/// @param index of the service, from 0
Service readService(ObjectReader& object, unsigned index, const StationFrame& frame, PidBook& pids);

}  // namespace station

#endif
