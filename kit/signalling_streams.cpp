#include "kit/signalling_streams.h"

#include "foundation/descriptor.h"
#include "kit/ait_section.h"
#include "kit/crc32.h"

namespace VestaHbbTV {

namespace {

constexpr uint8_t pmtTableId = 0x02;
constexpr uint8_t privateSections = 0x05;
constexpr uint8_t applicationSignallingTag = 0x6F;
constexpr uint16_t pidMask = 0x1FFF;

/// More of either kind than any service has: hostile PMTs are cut.
constexpr size_t mostStreams = 8;

/// What the descriptors of a stream say of its AITs.
struct Signalling {
    bool namesTypes = false;
    std::optional<uint8_t> version;  ///< of the type that counts
};

Signalling signallingIn(ByteReader descriptors, uint16_t wanted)
{
    Signalling found;
    forEachDescriptor(descriptors, [&](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
        if (tag != applicationSignallingTag)
            return true;
        while (payload.remaining() >= 3) {
            found.namesTypes = true;
            const uint16_t type = payload.u16() & 0x7FFF;
            const uint8_t version = payload.u8() & 0x1F;
            if (wanted == anyApplicationType || type == wanted)
                found.version = version;
        }
        return true;
    });
    return found;
}

}  // namespace

std::optional<std::vector<SignallingStream>> signallingStreams(ByteReader section, uint16_t type)
{
    if (section.u8() != pmtTableId)
        return std::nullopt;
    section.skip(4);  // lengths of the section, program_number
    const bool isCurrent = (section.u8() & 1) != 0;
    section.skip(4);  // section numbers, PCR_PID
    section.skip(section.length12());
    if (!section.ok() || !isCurrent || section.remaining() < checksumSize)
        return std::nullopt;
    ByteReader loop = section.take(section.remaining() - checksumSize);
    std::vector<SignallingStream> streams;
    size_t named = 0;
    size_t unnamed = 0;
    while (!loop.empty()) {
        const uint8_t streamType = loop.u8();
        const uint16_t pid = loop.u16() & pidMask;
        const ByteReader descriptors = loop.take(loop.length12());
        if (!loop.ok())
            break;
        if (streamType != privateSections)
            continue;
        const Signalling signalling = signallingIn(descriptors, type);
        if (signalling.namesTypes && !signalling.version)
            continue;
        if ((signalling.namesTypes ? named : unnamed)++ < mostStreams)
            streams.push_back({pid, signalling.namesTypes, signalling.version});
    }
    return streams;
}

}  // namespace VestaHbbTV
