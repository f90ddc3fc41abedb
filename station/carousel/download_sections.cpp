#include "station/carousel/download_sections.h"

#include <algorithm>

namespace station {

namespace {

constexpr unsigned controlTable = 0x3B;
constexpr unsigned dataTable = 0x3C;
constexpr unsigned infoIndication = 0x1002;
constexpr unsigned dataBlock = 0x1003;
constexpr unsigned serverInitiate = 0x1006;
constexpr unsigned objectUse = 0x0017;  // BIOP_OBJECT_USE
constexpr size_t serverIdSize = 20;
constexpr size_t sectionsPerTable = 256;
constexpr size_t mostBlocks = 0x10000;

// dsmccMessageHeader and dsmccDownloadDataHeader: 7.2.2.1 and 7.3.1.
Bytes makeMessage(unsigned messageId, uint32_t id, const Bytes& payload)
{
    return ByteWriter().u8(0x11).u8(0x03).u16(messageId).u32(id).u8(0xFF).u8(0).with16(payload);
}

Bytes makeControlSection(unsigned messageId, uint32_t transactionId, const Bytes& payload)
{
    SectionFields fields;
    fields.tableId = controlTable;
    fields.tableIdExtension = transactionId & 0xFFFF;
    return makeSection(fields, makeMessage(messageId, transactionId, payload), longSection);
}

// BIOP::ModuleInfo: ETSI TR 101 202, 4.7.5.2; compressed_module_descriptor: EN 301 192, 10.2.8.
Bytes makeModuleInfo(const CarouselIdentity& carousel, const Module& module)
{
    constexpr uint32_t noTimeout = 0xFFFFFFFF;
    constexpr unsigned deflateMethod = 0x78;  // RFC 1950, with a window of 32 KiB
    ByteWriter userInfo;
    if (module.originalSize)
        userInfo.u8(0x09).with8(ByteWriter().u8(deflateMethod).u32(*module.originalSize).bytes());
    ByteWriter info;
    info.u32(noTimeout).u32(noTimeout).u32(0);
    info.u8(1).u16(0).u16(objectUse).u16(carousel.componentTag).u8(0);
    return info.with8(userInfo.bytes());
}

/// The blocks of a module are numbered through, 256 sections a table.
unsigned lastSectionNumber(size_t block, size_t blocks)
{
    const size_t tableBegin = block - block % sectionsPerTable;
    return static_cast<unsigned>(std::min(blocks - tableBegin, sectionsPerTable) - 1);
}

}  // namespace

// Bit 31: made by the network; bits 29 to 16 count up when the list changes, bit 0 toggles with
// them; bits 15 to 1 identify the list: ETSI TR 101 202, 4.7.9.
uint32_t listTransactionId(size_t list, unsigned version)
{
    return 0x80000000U | (version << 16) | static_cast<uint32_t>((list + 1) << 1) | (version & 1U);
}

Bytes makeServerInitiate(const CarouselIdentity& carousel, const ObjectPlace& gateway)
{
    constexpr uint32_t transactionId = 0x80000000;  // its identification is 0
    ByteWriter gatewayInfo;
    gatewayInfo.add(makeObjectReference(carousel, gateway));
    gatewayInfo.u8(0).u8(0).u16(0);  // no taps, contexts or user info
    ByteWriter body;
    body.fill(serverIdSize, 0xFF).u16(0).with16(gatewayInfo);
    return makeControlSection(serverInitiate, transactionId, body);
}

Bytes makeInfoIndication(const CarouselIdentity& carousel, uint32_t transactionId,
                         const std::vector<Module>& modules)
{
    ByteWriter body;
    body.u32(carousel.carouselId).u16(blockSize).fill(10, 0);  // no window, no times
    body.u16(0);                                               // no compatibilityDescriptor
    body.u16(static_cast<unsigned>(modules.size()));
    for (const Module& module : modules) {
        body.u16(module.id).u32(static_cast<uint32_t>(module.bytes.size())).u8(module.version);
        body.with8(makeModuleInfo(carousel, module));
    }
    body.u16(0);  // no private data
    return makeControlSection(infoIndication, transactionId, body);
}

std::vector<Bytes> makeDataBlocks(const CarouselIdentity& carousel, const Module& module)
{
    const size_t blocks = (module.bytes.size() + blockSize - 1) / blockSize;
    checkedSize(blocks, mostBlocks);
    std::vector<Bytes> sections;
    for (size_t block = 0; block < blocks; ++block) {
        const auto begin = module.bytes.begin() + std::ptrdiff_t(block * blockSize);
        const size_t size = std::min(blockSize, module.bytes.size() - block * blockSize);
        ByteWriter body;
        body.u16(module.id).u8(module.version).u8(0xFF).u16(static_cast<unsigned>(block));
        body.add(Bytes(begin, begin + std::ptrdiff_t(size)));
        SectionFields fields;
        fields.tableId = dataTable;
        fields.tableIdExtension = module.id;
        fields.version = module.version;
        fields.sectionNumber = static_cast<unsigned>(block % sectionsPerTable);
        fields.lastSectionNumber = lastSectionNumber(block, blocks);
        sections.push_back(
            makeSection(fields, makeMessage(dataBlock, carousel.carouselId, body), longSection));
    }
    return sections;
}

}  // namespace station
