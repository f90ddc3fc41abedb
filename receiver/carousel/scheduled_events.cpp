#include "receiver/carousel/scheduled_events.h"

#include <algorithm>
#include <iterator>

#include "foundation/descriptor.h"

namespace receiver {

using VestaHbbTV::ByteReader;

namespace {

constexpr uint8_t referenceTag = 0x17;
constexpr uint8_t eventTag = 0x1A;
constexpr uint64_t timeMask = (uint64_t(1) << 33) - 1;

/// @param high ends with the highest of 33 bits
uint64_t timeOf(uint32_t high, uint32_t low)
{
    return (uint64_t(high & 1) << 32) | low;
}

/// 31 reserved bits and a time.
uint64_t readTime(ByteReader& payload)
{
    const uint32_t high = payload.u32();
    return timeOf(high, payload.u32());
}

/// How far a time is ahead of another one; negative where it is past.
int64_t distance(uint64_t time, uint64_t other)
{
    const uint64_t ahead = (time - other) & timeMask;
    const bool isPast = ahead > timeMask / 2;
    return static_cast<int64_t>(ahead) - (isPast ? static_cast<int64_t>(timeMask) + 1 : 0);
}

}  // namespace

uint64_t ScheduledEvents::Reference::timeAt(uint64_t now) const
{
    const int64_t passed = distance(now, clock) * numerator / denominator;
    return (time + static_cast<uint64_t>(passed)) & timeMask;
}

void ScheduledEvents::take(const SectionHeader& header, ByteReader descriptors)
{
    std::vector<Scheduled> events;
    const auto visit = [this, &events](uint8_t tag, ByteReader payload, ByteReader) {
        if (tag == referenceTag)
            takeReference(payload);
        if (tag != eventTag)
            return true;
        Scheduled scheduled;
        scheduled.event.id = payload.u16();
        scheduled.time = readTime(payload);
        if (!payload.ok())
            return true;
        scheduled.event.data = payload.text(payload.remaining());
        events.push_back(std::move(scheduled));
        return true;
    };
    VestaHbbTV::forEachDescriptor(descriptors, visit);
    takeEvents(header, std::move(events));
}

// NPTReferenceDescriptor(): ISO/IEC 13818-6, 8.1.
void ScheduledEvents::takeReference(ByteReader payload)
{
    const bool isOfNextTimeLine = (payload.u8() & 0x80) != 0;  // postDiscontinuityIndicator
    const uint8_t highest = payload.u8();                      // after seven reserved bits
    Reference reference = {};
    reference.clock = timeOf(highest, payload.u32());
    reference.time = readTime(payload);
    reference.numerator = payload.u16();
    reference.denominator = payload.u16();
    if (payload.ok() && reference.denominator != 0)
        (isOfNextTimeLine ? nextReference_ : reference_) = reference;
}

void ScheduledEvents::takeEvents(const SectionHeader& header, std::vector<Scheduled> events)
{
    dropOtherVersions(header);
    const SectionKey key(header.tableIdExtension, header.sectionNumber);
    if (events.empty() || sections_.count(key) != 0)
        return;
    makeRoom(events.size());
    if (events.size() > mostEvents - count_) {
        hasLeftOut_ = true;
        return;
    }
    count_ += events.size();
    sections_[key] = {header.version, std::move(events)};
}

void ScheduledEvents::dropOtherVersions(const SectionHeader& header)
{
    auto section = sections_.lower_bound({header.tableIdExtension, 0});
    while (section != sections_.end() && section->first.first == header.tableIdExtension) {
        if (section->second.version == header.version) {
            ++section;
            continue;
        }
        count_ -= section->second.events.size();
        section = sections_.erase(section);
    }
}

/// Sections of which all is past give way, as far as that is needed: streams go on for days. One
/// that is still broadcast comes again, and nothing of it happens.
void ScheduledEvents::makeRoom(size_t wanted)
{
    const auto isAhead = [this](const Scheduled& scheduled) {
        return distance(scheduled.time, *time_) > 0;
    };
    for (auto section = sections_.begin();
         time_ && section != sections_.end() && wanted > mostEvents - count_;) {
        const std::vector<Scheduled>& events = section->second.events;
        if (std::any_of(events.begin(), events.end(), isAhead)) {
            ++section;
            continue;
        }
        count_ -= events.size();
        section = sections_.erase(section);
    }
}

std::vector<StreamEvent> ScheduledEvents::advance(uint64_t clock, bool isNewTimeLine)
{
    if (isNewTimeLine)
        reference_ = std::exchange(nextReference_, std::nullopt);
    time_.reset();
    if (!reference_)
        return {};
    const uint64_t now = reference_->timeAt(clock);
    time_ = now;
    std::vector<std::pair<int64_t, const StreamEvent*>> reached;
    for (auto& entry : sections_) {
        for (Scheduled& scheduled : entry.second.events) {
            const int64_t left = distance(scheduled.time, now);
            if (std::exchange(scheduled.isAhead, left > 0) && left <= 0)
                reached.emplace_back(left, &scheduled.event);
        }
    }
    std::stable_sort(reached.begin(), reached.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    std::vector<StreamEvent> events;
    std::transform(reached.begin(), reached.end(), std::back_inserter(events),
                   [](const auto& each) { return *each.second; });
    return events;
}

}  // namespace receiver
