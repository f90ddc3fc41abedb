/// A folder as an object carousel (ISO/IEC 13818-6, ETSI TR 101 202, TS 102 809 annex B).
#ifndef VESTA_STATION_CAROUSEL_OBJECT_CAROUSEL_H
#define VESTA_STATION_CAROUSEL_OBJECT_CAROUSEL_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "station/bytes/byte_writer.h"
#include "station/description/description.h"

namespace station {

struct CarouselSections {
    std::vector<Bytes> control;  ///< DSI and DIIs, which a receiver needs first
    std::vector<Bytes> blocks;   ///< one cycle of all modules
    size_t files = 0;
    size_t modules = 0;
};

/// Module 1 has the directories and the stream events, the files follow in the order of their
/// paths: each joins the module before it while that stays within the module size.
/// @throws TooLong for what the format has no room for
CarouselSections makeCarousel(const Carousel& carousel, const std::map<std::string, Bytes>& files);

/// @return packed as in RFC 1950
Bytes deflated(const Bytes& bytes);

}  // namespace station

#endif
