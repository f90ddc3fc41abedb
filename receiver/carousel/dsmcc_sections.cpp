#include "receiver/carousel/dsmcc_sections.h"

#include <tuple>
#include <utility>

#include "foundation/descriptor.h"

namespace receiver {

using VestaHbbTV::ByteReader;

namespace {

constexpr uint8_t controlMessagesTable = 0x3B;
constexpr uint8_t dataMessagesTable = 0x3C;
constexpr size_t crcSize = 4;
constexpr uint8_t protocolDiscriminator = 0x11;
constexpr uint8_t downloadMessageType = 0x03;
constexpr uint16_t infoIndicationId = 0x1002;
constexpr uint16_t dataBlockId = 0x1003;
constexpr uint16_t serverInitiateId = 0x1006;
constexpr size_t serverIdSize = 20;
constexpr uint8_t compressedModuleTag = 0x09;

// What lies between a section's common header and its CRC_32.
std::optional<ByteReader> openSection(const unsigned char* section, size_t size, uint8_t& tableId)
{
    ByteReader reader(section, size);
    tableId = reader.u8();
    const bool hasSyntax = (reader.peek() & 0x80) != 0;
    ByteReader rest = reader.take(reader.length12());
    rest.skip(2);  // table_id_extension
    const bool current = (rest.u8() & 1) != 0;
    rest.skip(2);  // section numbers
    if (!reader.ok() || !rest.ok() || !hasSyntax || !current || rest.remaining() < crcSize)
        return std::nullopt;
    return rest.take(rest.remaining() - crcSize);
}

std::optional<DownloadMessageKind> kindOf(uint8_t tableId, uint16_t messageId)
{
    if (tableId == controlMessagesTable && messageId == serverInitiateId)
        return DownloadMessageKind::ServerInitiate;
    if (tableId == controlMessagesTable && messageId == infoIndicationId)
        return DownloadMessageKind::InfoIndication;
    if (tableId == dataMessagesTable && messageId == dataBlockId)
        return DownloadMessageKind::DataBlock;
    return std::nullopt;
}

void readUserInfo(ByteReader descriptors, ModuleAnnouncement& module)
{
    const auto read = [&module](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
        if (tag != compressedModuleTag || payload.remaining() < 5)
            return true;
        module.compressed = true;
        module.compressionMethod = payload.u8();
        module.originalSize = payload.u32();
        return true;
    };
    VestaHbbTV::forEachDescriptor(descriptors, read);
}

// BIOP::ModuleInfo: ETSI TR 101 202, 4.7.5.2.
void readModuleInfo(ByteReader info, ModuleAnnouncement& module)
{
    info.skip(12);  // three times
    const std::vector<Tap> taps = readTaps(info);
    const ByteReader userInfo = info.take(info.u8());
    if (!info.ok())
        return;
    for (const Tap& tap : taps) {
        if (tap.use == objectUse && !module.associationTag)
            module.associationTag = tap.associationTag;
    }
    readUserInfo(userInfo, module);
}

}  // namespace

std::optional<DownloadMessage> openDownloadSection(const unsigned char* section, size_t size)
{
    uint8_t tableId = 0;
    std::optional<ByteReader> reader = openSection(section, size, tableId);
    if (!reader)
        return std::nullopt;
    const uint8_t discriminator = reader->u8();
    const uint8_t type = reader->u8();
    const std::optional<DownloadMessageKind> kind = kindOf(tableId, reader->u16());
    DownloadMessage message;
    message.id = reader->u32();
    reader->skip(1);
    const uint8_t adaptationLength = reader->u8();
    message.body = reader->take(reader->u16());  // adaptation header and payload
    message.body.skip(adaptationLength);
    if (!kind || discriminator != protocolDiscriminator || type != downloadMessageType ||
        !reader->ok() || !message.body.ok())
        return std::nullopt;
    message.kind = *kind;
    return message;
}

std::optional<ServerInitiate> readServerInitiate(const DownloadMessage& message)
{
    ByteReader body = message.body;
    body.skip(serverIdSize);
    body.skip(body.u16());  // compatibilityDescriptor
    ByteReader gatewayInfo = body.take(body.u16());
    ServerInitiate result;
    result.serviceGateway = readObjectReference(gatewayInfo);
    // Deliberate: the taps, contexts and user info after the reference are not looked at.
    if (!body.ok() || !gatewayInfo.ok())
        return std::nullopt;
    return result;
}

bool ModuleAnnouncement::operator==(const ModuleAnnouncement& other) const
{
    return std::tie(moduleId, version, size, associationTag, compressed, compressionMethod,
                    originalSize) == std::tie(other.moduleId, other.version, other.size,
                                              other.associationTag, other.compressed,
                                              other.compressionMethod, other.originalSize);
}

std::optional<InfoIndication> readInfoIndication(const DownloadMessage& message)
{
    InfoIndication result;
    ByteReader body = message.body;
    result.downloadId = body.u32();
    result.blockSize = body.u16();
    body.skip(10);          // window, acknowledgement period, two times
    body.skip(body.u16());  // compatibilityDescriptor
    for (unsigned count = body.u16(); count > 0; --count) {
        ModuleAnnouncement module;
        module.moduleId = body.u16();
        module.size = body.u32();
        module.version = body.u8();
        const ByteReader info = body.take(body.u8());
        if (!body.ok())
            return std::nullopt;
        readModuleInfo(info, module);
        result.modules.push_back(module);
    }
    return body.ok() ? std::optional<InfoIndication>(std::move(result)) : std::nullopt;
}

std::optional<DataBlock> readDataBlock(const DownloadMessage& message)
{
    DataBlock block;
    block.downloadId = message.id;
    ByteReader body = message.body;
    block.moduleId = body.u16();
    block.moduleVersion = body.u8();
    body.skip(1);
    block.blockNumber = body.u16();
    if (!body.ok())
        return std::nullopt;
    block.data = body;
    return block;
}

}  // namespace receiver
