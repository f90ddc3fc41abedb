#include "receiver/carousel/stream_event_sections.h"

#include <utility>

#include "foundation/descriptor.h"

namespace receiver {

using VestaHbbTV::ByteReader;

namespace {

constexpr uint8_t streamDescriptorTable = 0x3D;
constexpr uint8_t streamEventTag = 0x1A;
constexpr size_t eventTimeSize = 8;  // 31 reserved bits and the eventNPT, of no use to do it now

// What the two high bits of table_id_extension say of a section: ETSI TS 102 809, B.2.4.3.
constexpr unsigned kindShift = 14;
constexpr unsigned doItNowKind = 0;
constexpr unsigned timeReferenceKind = 1;
constexpr unsigned scheduledKind = 2;

/// The event with this id: ISO/IEC 13818-6, 8.3.
std::optional<StreamEvent> readEvent(ByteReader descriptors, uint16_t id)
{
    std::optional<StreamEvent> found;
    VestaHbbTV::forEachDescriptor(descriptors, [&](uint8_t tag, ByteReader payload, ByteReader) {
        if (tag != streamEventTag)
            return true;
        StreamEvent event;
        event.id = payload.u16();
        payload.skip(eventTimeSize);
        if (!payload.ok() || event.id != id)
            return true;
        event.data = payload.text(payload.remaining());
        found = std::move(event);
        return false;
    });
    return found;
}

}  // namespace

std::optional<StreamEvent> StreamEventSections::take(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    if (header.tableId != streamDescriptorTable || !header.current)
        return std::nullopt;
    const unsigned kind = header.tableIdExtension >> kindShift;
    if (kind == timeReferenceKind || kind == scheduledKind)
        scheduled_.take(header, sectionBody(section));
    // Such an event has a section of its own: a second one would be no table's.
    if (kind != doItNowKind || header.sectionNumber != 0)
        return std::nullopt;
    const uint16_t id = header.tableIdExtension;
    const auto known = versions_.find(id);
    if (known != versions_.end() && known->second == header.version)
        return std::nullopt;
    std::optional<StreamEvent> event = readEvent(sectionBody(section), id);
    if (event)
        versions_[id] = header.version;
    return event;
}

}  // namespace receiver
