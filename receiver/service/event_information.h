/// Event information tables of the stream itself: present and following programmes, and schedules.
#ifndef VESTA_RECEIVER_SERVICE_EVENT_INFORMATION_H
#define VESTA_RECEIVER_SERVICE_EVENT_INFORMATION_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "receiver/objects/service_information_source.h"
#include "receiver/stream/section_assembler.h"

namespace receiver {

/// Reads the events of a section (ETSI EN 300 468, 5.2.4). A time that is not defined, or is none,
/// is 0; an event whose descriptors leave the section ends the list.
std::vector<Programme> readEvents(const SectionBytes& section);

/// Keeps the sections as they come and reads them when they are asked for: most of them nobody
/// wants to know. One thread at a time.
class EventInformation {
public:
    /// Bytes of all sections; half of them for schedules. What does not fit is left out.
    static constexpr size_t mostBytes = size_t(16) << 20;
    /// Of an answer.
    static constexpr size_t mostEvents = 8192;

    enum class News { None, Schedule, PresentFollowing };

    /// Takes a section of PID 0x12. Those of other streams, or not yet current, are left out.
    /// @return what changed of the service that the section names
    News add(const SectionBytes& section);

    /// Forgets all other services.
    void keepOnly(const std::set<uint16_t>& serviceIds);

    /// @return the present event, if there is one, and the following one
    std::vector<Programme> presentFollowing(uint16_t serviceId) const;

    /// @return the present event alone, if there is one
    std::vector<Programme> present(uint16_t serviceId) const;

    /// @return all events with a start time, by start time, each once
    std::vector<Programme> schedule(uint16_t serviceId) const;

    /// What the sections take, by a generous count.
    size_t bytes() const { return bytes_; }

private:
    using Sections = std::map<uint8_t, SectionBytes>;  // by number
    using Tables = std::map<uint8_t, Sections>;        // by table_id

    static bool isListed(const SectionHeader& header);
    void dropReplaced(Tables& tables, const SectionBytes& section);
    void erase(Sections& sections, Sections::iterator from, Sections::iterator to);
    void erase(Tables& tables);
    const SectionBytes* find(uint16_t serviceId, uint8_t tableId, uint8_t number) const;
    std::vector<Programme> eventsOf(uint16_t serviceId, uint8_t number) const;

    std::map<uint16_t, Tables> services_;
    size_t bytes_ = 0;
};

}  // namespace receiver

#endif
