/// DSM-CC download messages: the sections that a carousel is broadcast in (ISO/IEC 13818-6, 7.3).
#ifndef VESTA_STATION_CAROUSEL_DOWNLOAD_SECTIONS_H
#define VESTA_STATION_CAROUSEL_DOWNLOAD_SECTIONS_H

#include <cstdint>
#include <optional>
#include <vector>

#include "station/carousel/biop_messages.h"
#include "station/sections/section.h"

namespace station {

/// Bytes of a module in one section: all that it can hold.
constexpr size_t blockSize = 4066;
/// As many modules as the list of one DII holds with certainty.
constexpr size_t modulesPerList = 100;

/// A module as it is broadcast.
struct Module {
    unsigned id = 0;
    unsigned version = 0;
    Bytes bytes;
    std::optional<uint32_t> originalSize;  ///< of a compressed one
};

/// The DII that announces the modules of this list, counted from 0.
uint32_t listTransactionId(size_t list, unsigned version);

/// DownloadServerInitiate: where the carousel begins.
Bytes makeServerInitiate(const CarouselIdentity& carousel, const ObjectPlace& gateway);

/// DownloadInfoIndication.
Bytes makeInfoIndication(const CarouselIdentity& carousel, uint32_t transactionId,
                         const std::vector<Module>& modules);

/// DownloadDataBlocks: the whole module.
std::vector<Bytes> makeDataBlocks(const CarouselIdentity& carousel, const Module& module);

}  // namespace station

#endif
