/// DSM-CC download messages: the sections that a carousel is broadcast in.
#ifndef VESTA_RECEIVER_CAROUSEL_DSMCC_SECTIONS_H
#define VESTA_RECEIVER_CAROUSEL_DSMCC_SECTIONS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/byte_reader.h"
#include "receiver/carousel/biop_objects.h"

namespace receiver {

enum class DownloadMessageKind { ServerInitiate, InfoIndication, DataBlock };

/// A download message (ISO/IEC 13818-6, 7.3) as it lies in a section, not yet read further.
struct DownloadMessage {
    DownloadMessageKind kind = DownloadMessageKind::DataBlock;
    uint32_t id = 0;  ///< transaction id of control messages, download id of a data block
    VestaHbbTV::ByteReader body;
};

/// @param section borrowed for the life of the result
/// @return nothing when the section holds no whole download message: another table, not current,
///         without section syntax, or with lengths that leave it
std::optional<DownloadMessage> openDownloadSection(const unsigned char* section, size_t size);

/// DownloadServerInitiate (DSI): where the carousel begins.
struct ServerInitiate {
    ObjectReference serviceGateway;
};

/// @return nothing when the message overruns
std::optional<ServerInitiate> readServerInitiate(const DownloadMessage& message);

/// A module as a DII announces it.
struct ModuleAnnouncement {
    uint16_t moduleId = 0;
    uint8_t version = 0;
    uint32_t size = 0;                       ///< in bytes, as broadcast
    std::optional<uint16_t> associationTag;  ///< of the stream with the blocks
    bool compressed = false;
    uint8_t compressionMethod = 0;  ///< as in the first byte of RFC 1950
    uint32_t originalSize = 0;      ///< of a compressed module, in bytes

    bool operator==(const ModuleAnnouncement& other) const;
};

/// DownloadInfoIndication (DII): which modules there are.
struct InfoIndication {
    uint32_t downloadId = 0;
    uint16_t blockSize = 0;
    std::vector<ModuleAnnouncement> modules;
};

/// @return nothing when the message overruns; a module's info that overruns is as good as none
std::optional<InfoIndication> readInfoIndication(const DownloadMessage& message);

/// DownloadDataBlock (DDB): a piece of a module.
struct DataBlock {
    uint32_t downloadId = 0;
    uint16_t moduleId = 0;
    uint8_t moduleVersion = 0;
    uint16_t blockNumber = 0;
    VestaHbbTV::ByteReader data;
};

/// @return nothing when the message overruns
std::optional<DataBlock> readDataBlock(const DownloadMessage& message);

}  // namespace receiver

#endif
