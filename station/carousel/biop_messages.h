/// Broadcast Inter-ORB Protocol: the objects inside a carousel's modules (ETSI TR 101 202, 4.7.4).
#ifndef VESTA_STATION_CAROUSEL_BIOP_MESSAGES_H
#define VESTA_STATION_CAROUSEL_BIOP_MESSAGES_H

#include <cstdint>
#include <string>
#include <vector>

#include "station/bytes/byte_writer.h"
#include "station/description/description.h"

namespace station {

/// Kinds of objects, as the messages name them: three letters and a zero.
enum class ObjectKind { ServiceGateway, Directory, File, StreamEvent };

/// Where an object is.
struct ObjectPlace {
    ObjectKind kind = ObjectKind::File;
    unsigned moduleId = 0;
    uint32_t key = 0;
    uint32_t transactionId = 0;  ///< of the DII with the module
};

/// What all objects of a carousel have in common.
struct CarouselIdentity {
    uint32_t carouselId = 0;
    unsigned componentTag = 0;
};

/// IOP::IOR with a BIOP profile: 4.7.3.
Bytes makeObjectReference(const CarouselIdentity& carousel, const ObjectPlace& place);

struct DirectoryEntry {
    std::string name;
    ObjectPlace place;
    uint64_t contentSize = 0;  ///< of a file
    std::string contentType;   ///< of a file; empty: not signalled
};

/// A directory, or the service gateway.
Bytes makeDirectory(ObjectKind kind, uint32_t key, const CarouselIdentity& carousel,
                    const std::vector<DirectoryEntry>& entries);

/// @param contentType empty: not signalled
Bytes makeFile(uint32_t key, const Bytes& content, const std::string& contentType);

Bytes makeStreamEvents(uint32_t key, const StreamEventObject& object);

}  // namespace station

#endif
