/// Any sections as tables about services and as stream descriptors; then everything that can be
/// asked of them. A section is given as its kind, 16-bit size and bytes, and lies in a heap block
/// of its size, so that one byte too far is seen. One kind is no section, but what the clock shows.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "foundation/byte_reader.h"
#include "receiver/carousel/stream_event_sections.h"
#include "receiver/service/service_information.h"
#include "receiver/text/printable.h"

using receiver::SectionBytes;
using receiver::ServiceInformation;
using receiver::StreamEventSections;

namespace {

constexpr uint16_t serviceId = 1;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void takeStreamEvent(StreamEventSections& sections, const SectionBytes& section)
{
    const auto event = sections.take(section);
    if (!event)
        return;
    require(event->id <= 0x3FFF && event->data.size() <= section.size());
    require(!sections.take(section));
    const std::string text = receiver::withoutOtherBytes(event->data);
    require(text.size() <= event->data.size() && receiver::withoutOtherBytes(text) == text);
}

/// @param bytes whether it jumped, and the 33 bits of the clock
void advance(StreamEventSections& sections, const SectionBytes& bytes)
{
    VestaHbbTV::ByteReader input(bytes.data(), bytes.size());
    const uint8_t flags = input.u8();
    const uint64_t clock = (uint64_t(flags & 1) << 32) | input.u32();
    const auto events = sections.scheduled().advance(clock, (flags & 2) != 0);
    require(events.size() <= receiver::ScheduledEvents::mostEvents);
    require(sections.scheduled().advance(clock, false).empty());
}

void feed(ServiceInformation& information, StreamEventSections& events, unsigned kind,
          const SectionBytes& section)
{
    switch (kind % 5) {
    case 0:
        information.feed(ServiceInformation::pids[0], section);
        break;
    case 1:
        information.feed(ServiceInformation::pids[1], section);
        break;
    case 2:
        information.setProgramMap(serviceId, section);
        break;
    case 3:
        takeStreamEvent(events, section);
        break;
    default:
        advance(events, section);
    }
}

void askEverything(const ServiceInformation& information)
{
    require(information.programmesOf(serviceId).size() <= 2);
    int64_t start = 1;
    for (const auto& event : information.scheduleOf(serviceId)) {
        require(event.startTime >= start);
        start = event.startTime;
    }
    for (const auto& component : information.componentsOf(serviceId))
        require(component.pid <= 0x1FFF && component.language.size() <= 3);
    const auto details = information.detailsOf(serviceId);
    require(details.deliverySystem.empty() || details.networkId);
    require(details.deliverySystem.size() != 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ServiceInformation information;
    StreamEventSections events;
    receiver::Service service;
    service.programNumber = serviceId;
    service.transportStreamId = 0x441;
    information.setServices({service});
    VestaHbbTV::ByteReader input(data, size);
    while (!input.empty()) {
        const uint8_t kind = input.u8();
        const size_t sectionSize = std::min<size_t>(input.u16(), input.remaining());
        const std::string bytes = input.text(sectionSize);
        feed(information, events, kind, SectionBytes(bytes.begin(), bytes.end()));
    }
    askEverything(information);
    information.setServices({});
    require(information.scheduleOf(serviceId).empty());
    return 0;
}
