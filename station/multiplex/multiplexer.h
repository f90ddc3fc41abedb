/// From sections to a transport stream of constant bitrate.
#ifndef VESTA_STATION_MULTIPLEX_MULTIPLEXER_H
#define VESTA_STATION_MULTIPLEX_MULTIPLEXER_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "station/multiplex/packets.h"
#include "station/multiplex/schedule.h"

namespace station {

struct RotationReport {
    std::string title;
    Place place;
    size_t files = 0;
    size_t modules = 0;
    std::optional<int64_t> cycleMs;  ///< of the first cycle; nothing when it did not end
};

struct StreamReport {
    uint64_t packets = 0;
    uint64_t nullPackets = 0;
    std::vector<RotationReport> rotations;
};

/// Hands over one packet after the other. The same schedule gives the same packets. No section is
/// begun that would not end with the stream.
StreamReport multiplex(const Schedule& schedule, const std::function<void(const Packet&)>& write);

}  // namespace station

#endif
