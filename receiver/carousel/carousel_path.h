/// The name by which the library asks for a file of a carousel.
#ifndef VESTA_RECEIVER_CAROUSEL_CAROUSEL_PATH_H
#define VESTA_RECEIVER_CAROUSEL_CAROUSEL_PATH_H

#include <cstdint>
#include <optional>
#include <string>

namespace receiver {

/// "originalNetworkId.[transportStreamId].serviceId.componentTag/path", the ids in hexadecimal.
struct CarouselPath {
    uint16_t originalNetworkId = 0;
    std::optional<uint16_t> transportStreamId;  ///< may be left out: the dots stay
    uint16_t serviceId = 0;
    uint8_t componentTag = 0;
    std::string path;  ///< without a leading "/", else as it stands, a query and a fragment with it
};

/// @param text what follows "dvb://" in a URL, as dsmcc_get_file() gets it
/// @return nothing when the ids are not there, are no hexadecimal numbers or too large
std::optional<CarouselPath> parseCarouselPath(const std::string& text);

}  // namespace receiver

#endif
