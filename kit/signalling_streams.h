/// Which streams of a service carry AITs.
#ifndef VESTA_KIT_SIGNALLING_STREAMS_H
#define VESTA_KIT_SIGNALLING_STREAMS_H

#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/byte_reader.h"

namespace VestaHbbTV {

/// An elementary stream that may carry the AIT.
struct SignallingStream {
    uint16_t pid = 0;
    bool isNamed = false;            ///< a descriptor says that it does
    std::optional<uint8_t> version;  ///< of the AIT, where the descriptor tells
};

/// At most eight that are named and eight that are not: streams of type 0x05 but for those whose
/// application_signalling_descriptor names other types of applications only (ETSI TS 102
/// 809, 5.3.5.1), in the order of the PMT.
/// @param section a program_map_section, whole; what leaves it is not looked at
/// @param type the application_type that counts; anyApplicationType for every one
/// @return nothing where it is no PMT that is valid now
std::optional<std::vector<SignallingStream>> signallingStreams(ByteReader section, uint16_t type);

}  // namespace VestaHbbTV

#endif
