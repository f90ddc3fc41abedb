/// Hand-made service information: EIT and NIT, and what stands in them.
#ifndef VESTA_TESTS_RECEIVER_SUPPORT_INFORMATION_BUILDER_H
#define VESTA_TESTS_RECEIVER_SUPPORT_INFORMATION_BUILDER_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/receiver/support/byte_writer.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {

/// The default begins at 1993-10-13, 12:45:00 UTC, and takes 1:45:30.
struct EventFields {
    unsigned id = 1;
    Bytes descriptors;
    Bytes start = {0xC0, 0x79, 0x12, 0x45, 0x00};
    Bytes duration = {0x01, 0x45, 0x30};
};
constexpr int64_t defaultStart = 750516300;

struct EitFields {
    unsigned tableId = 0x4E;
    unsigned serviceId = 1;
    unsigned version = 0;
    unsigned sectionNumber = 0;
    unsigned lastSectionNumber = 1;
    unsigned segmentLastSection = 1;
    unsigned lastTable = 0x4E;
};
Bytes makeEit(const EitFields& fields, const std::vector<EventFields>& events);

/// The present event of a service (section 0), or the following one (section 1).
Bytes makePresentFollowing(unsigned serviceId, unsigned sectionNumber, const EventFields& event,
                           unsigned version = 0);

Bytes makeShortEvent(const std::string& name, const std::string& text = "",
                     const std::string& language = "deu");
Bytes makeExtendedEvent(unsigned number, const std::string& text,
                        const std::string& language = "deu");
Bytes makeComponentDescriptor(unsigned content, unsigned type, unsigned tag);

struct TransportFields {
    unsigned transportStreamId = 0;
    unsigned originalNetworkId = 0;
    Bytes descriptors;
};
Bytes makeNit(unsigned networkId, const std::vector<TransportFields>& transports,
              unsigned tableId = 0x40);

}  // namespace receiver

#endif
