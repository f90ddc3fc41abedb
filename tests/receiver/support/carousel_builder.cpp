#include "tests/receiver/support/carousel_builder.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <zlib.h>

#include "tests/receiver/support/stream_builder.h"

namespace receiver {

namespace {

Bytes makeDownloadSection(unsigned tableId, unsigned extension, unsigned messageId, uint32_t id,
                          const Bytes& body)
{
    ByteWriter message;
    message.u8(0x11).u8(0x03).u16(messageId).u32(id).u8(0xFF).u8(0).with16(body);
    return makeSection({tableId, extension}, message);
}

Bytes makeModuleInfo(const ModuleFields& module)
{
    if (!module.associationTag)
        return {};
    ByteWriter userInfo;
    if (module.originalSize)
        userInfo.u8(0x09).with8(
            ByteWriter().u8(module.compressionMethod).u32(*module.originalSize).bytes());
    ByteWriter info;
    info.fill(12, 0xFF).u8(1).u16(0).u16(0x17).u16(*module.associationTag).u8(0);
    return info.with8(userInfo.bytes());
}

}  // namespace

Bytes makeBiopProfile(const IorFields& fields)
{
    ByteWriter location, selector, binder;
    location.u32(fields.carouselId).u16(fields.moduleId).u16(0x0100).with8(fields.key);
    if (fields.transactionId)
        selector.u16(1).u32(*fields.transactionId).u32(0xFFFFFFFF);
    binder.u8(1).u16(0).u16(0x16).u16(fields.associationTag).with8(selector.bytes());
    ByteWriter profile;
    profile.u8(0).u8(2).u32(0x49534F50).with8(location.bytes());
    return profile.u32(0x49534F40).with8(binder.bytes());
}

Bytes makeIor(const IorFields& fields)
{
    return makeIor(fields.typeId, {{0x49534F06, makeBiopProfile(fields)}});
}

Bytes makeIor(const std::string& typeId, const std::vector<std::pair<uint32_t, Bytes>>& profiles)
{
    ByteWriter ior;
    ior.with32(typeId).fill((4 - typeId.size() % 4) % 4, 0xFF).u32(uint32_t(profiles.size()));
    for (const auto& [tag, data] : profiles)
        ior.u32(tag).with32(data);
    return ior;
}

Bytes makeBiopMessage(const std::string& key, const std::string& kind, const Bytes& info,
                      const Bytes& body)
{
    ByteWriter content;
    content.with8(key).with32(kind).with16(info);
    content.u8(1).u32(0x53525643).with16({0xAB});  // a service context to be skipped
    content.with32(body);
    return ByteWriter().add(std::string("BIOP")).u16(0x0100).u16(0).with32(content.bytes());
}

Bytes makeFile(const std::string& key, const Bytes& content, const std::string& contentType,
               const std::string& kind)
{
    ByteWriter info;
    info.u32(0).u32(uint32_t(content.size()));
    if (!contentType.empty())
        info.u8(0x72).with8(contentType);
    return makeBiopMessage(key, kind, info, ByteWriter().with32(content));
}

Bytes makeFile(const std::string& key, const std::string& content)
{
    return makeFile(key, Bytes(content.begin(), content.end()));
}

Bytes makeDirectory(const std::string& key, const std::vector<DirectoryEntry>& entries,
                    const std::string& kind)
{
    ByteWriter body;
    body.u16(unsigned(entries.size()));
    for (const DirectoryEntry& entry : entries) {
        body.u8(1).with8(entry.name + '\0').with8(std::string("xxx\0", 4)).u8(1);
        body.add(entry.ior).with16({});
    }
    return makeBiopMessage(key, kind, {}, body);
}

Bytes makeGateway(const std::string& key, const std::vector<DirectoryEntry>& entries)
{
    return makeDirectory(key, entries, std::string("srg\0", 4));
}

Bytes makeStreamEvents(const std::string& key,
                       const std::vector<std::pair<std::string, unsigned>>& events,
                       const std::string& kind, size_t microsecondBytes)
{
    ByteWriter info, body;
    info.with8(std::string("desc")).fill(4 + microsecondBytes + 3, 0).u16(unsigned(events.size()));
    body.u8(1).u16(0).u16(0x0C).u16(0x2B).u8(0).u8(unsigned(events.size()));
    for (const auto& [name, id] : events) {
        info.with8(name + '\0');
        body.u16(id);
    }
    return makeBiopMessage(key, kind, info, body);
}

namespace {

/// 31 reserved bits and a time.
Bytes makeTime(uint64_t time)
{
    return ByteWriter().u32(0xFFFFFFFE | uint32_t(time >> 32)).u32(uint32_t(time));
}

}  // namespace

Bytes makeStreamEventDescriptor(unsigned id, const std::string& data, uint64_t time)
{
    return makeDescriptor(0x1A, ByteWriter().u16(id).add(makeTime(time)).add(data));
}

Bytes makeTimeReference(uint64_t clock, uint64_t time, unsigned numerator, unsigned denominator,
                        bool isOfNextTimeLine)
{
    return makeDescriptor(0x17, ByteWriter()
                                    .u8(isOfNextTimeLine ? 0x80 : 0)
                                    .u8(0xFE | unsigned(clock >> 32))
                                    .u32(uint32_t(clock))
                                    .add(makeTime(time))
                                    .u16(numerator)
                                    .u16(denominator));
}

Bytes makeStreamEventSection(unsigned id, unsigned version, const std::string& data)
{
    return makeSection({0x3D, id, version}, makeStreamEventDescriptor(id, data));
}

Bytes makeDsi(const Bytes& ior, uint32_t transactionId)
{
    const ByteWriter gatewayInfo = ByteWriter().add(ior).u8(0).u8(0).u16(0);
    ByteWriter body;
    body.fill(20, 0xFF).u16(0).with16(gatewayInfo);
    return makeDownloadSection(0x3B, transactionId & 0xFFFF, 0x1006, transactionId, body);
}

Bytes makeDii(uint32_t transactionId, const std::vector<ModuleFields>& modules, unsigned blockSize,
              uint32_t downloadId)
{
    ByteWriter body;
    body.u32(downloadId).u16(blockSize).fill(10, 0).u16(0).u16(unsigned(modules.size()));
    for (const ModuleFields& module : modules)
        body.u16(module.moduleId).u32(module.size).u8(module.version).with8(makeModuleInfo(module));
    body.u16(0);
    return makeDownloadSection(0x3B, transactionId & 0xFFFF, 0x1002, transactionId, body);
}

Bytes makeDdb(unsigned moduleId, unsigned version, unsigned blockNumber, const Bytes& data,
              uint32_t downloadId)
{
    ByteWriter body;
    body.u16(moduleId).u8(version).u8(0xFF).u16(blockNumber).add(data);
    return makeDownloadSection(0x3C, moduleId, 0x1003, downloadId, body);
}

std::vector<Bytes> makeDdbs(unsigned moduleId, unsigned version, const Bytes& module,
                            size_t blockSize, uint32_t downloadId)
{
    std::vector<Bytes> sections;
    for (size_t at = 0; at < module.size(); at += blockSize) {
        const size_t end = std::min(at + blockSize, module.size());
        const Bytes block(module.begin() + std::ptrdiff_t(at),
                          module.begin() + std::ptrdiff_t(end));
        sections.push_back(makeDdb(moduleId, version, unsigned(at / blockSize), block, downloadId));
    }
    return sections;
}

Bytes deflated(const Bytes& bytes)
{
    uLongf size = compressBound(uLong(bytes.size()));
    Bytes packed(size);
    compress(packed.data(), &size, bytes.data(), uLong(bytes.size()));
    packed.resize(size);
    return packed;
}

bool feed(ObjectCarousel& carousel, const Bytes& section, uint16_t associationTag)
{
    const auto block = std::make_unique<unsigned char[]>(section.size());
    std::copy(section.begin(), section.end(), block.get());
    return carousel.feedSection(associationTag, block.get(), section.size());
}

void feed(ObjectCarousel& carousel, const std::vector<Bytes>& sections, uint16_t associationTag)
{
    for (const Bytes& section : sections)
        feed(carousel, section, associationTag);
}

std::string textOf(const FileView& file)
{
    return file.size == 0 ? std::string()
                          : std::string(reinterpret_cast<const char*>(file.data), file.size);
}

}  // namespace receiver
