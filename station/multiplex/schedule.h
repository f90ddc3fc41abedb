/// What is broadcast when.
#ifndef VESTA_STATION_MULTIPLEX_SCHEDULE_H
#define VESTA_STATION_MULTIPLEX_SCHEDULE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "station/bytes/byte_writer.h"
#include "station/description/description.h"
#include "station/description/place.h"

namespace station {

/// Sections that come again and again.
struct RepeatedTable {
    unsigned pid = 0;
    int64_t intervalMs = 0;
    /// @param timeMs since the start of the stream
    std::function<std::vector<Bytes>(int64_t timeMs)> sections;
};

/// A section that comes once.
struct TimedSection {
    unsigned pid = 0;
    int64_t timeMs = 0;
    Bytes section;
};

/// Sections that take turns in what room there is.
struct Rotation {
    unsigned pid = 0;
    int64_t cycleMs = 0;  ///< a cycle takes no less; 0: as short as can be
    std::vector<Bytes> sections;
    Place place;        ///< of the carousel in the description
    std::string title;  ///< for people
    size_t files = 0;
    size_t modules = 0;
};

struct Schedule {
    int64_t bitrate = 0;  ///< bits per second
    int64_t durationMs = 0;
    std::vector<unsigned> clockPids;
    std::vector<RepeatedTable> tables;  ///< the first ones come first where several are due
    std::vector<TimedSection> timed;    ///< in the order of their times
    std::vector<Rotation> rotations;
};

/// @param description borrowed for the schedule's life
/// @return nothing when something does not fit or cannot be read: then there are problems more
std::optional<Schedule> makeSchedule(const Description& description, Problems& problems);

}  // namespace station

#endif
