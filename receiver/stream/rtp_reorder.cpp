#include "receiver/stream/rtp_reorder.h"

#include <algorithm>
#include <utility>

namespace receiver {

namespace {

// Farther away than this no packet of the same sequence comes (RFC 3550, A.1).
constexpr uint64_t mostAhead = 3000;
constexpr uint64_t mostBehind = 100;

// Numbers go on from here, so that those before the first packet are numbers, too.
constexpr uint64_t firstRound = 0x10000;

constexpr uint64_t remembered = 64;  // numbers whose fate is known

}  // namespace

RtpReorder::RtpReorder(PayloadHandler handler) : handler_(std::move(handler))
{
}

void RtpReorder::add(const RtpPacket& packet, Clock::time_point now)
{
    if (!hasBegun_)
        begin(packet);
    if (!isOfThisSequence(packet)) {
        if (!isSecondOfAnotherSequence(packet)) {
            ++statistics_.late;
            stray_ = Stray{packet.source, packet.sequenceNumber};
            return;
        }
        while (!early_.empty())
            skipGap();
        begin(packet);
    }
    stray_.reset();
    take(packet, now);
}

void RtpReorder::begin(const RtpPacket& packet)
{
    hasBegun_ = true;
    source_ = packet.source;
    next_ = end_ = firstRound + packet.sequenceNumber;
    handedOn_ = 0;
}

bool RtpReorder::isOfThisSequence(const RtpPacket& packet) const
{
    const uint64_t number = numberOf(packet.sequenceNumber);
    return packet.source == source_ && number < next_ + mostAhead && number + mostBehind >= next_;
}

bool RtpReorder::isSecondOfAnotherSequence(const RtpPacket& packet) const
{
    return stray_ && stray_->source == packet.source &&
           static_cast<uint16_t>(stray_->sequenceNumber + 1) == packet.sequenceNumber;
}

/// The number nearest to the next one that ends so.
uint64_t RtpReorder::numberOf(uint16_t sequenceNumber) const
{
    const auto ahead = static_cast<uint16_t>(sequenceNumber - next_);
    return ahead < 0x8000 ? next_ + ahead : next_ + ahead - 0x10000;
}

void RtpReorder::take(const RtpPacket& packet, Clock::time_point now)
{
    const uint64_t number = numberOf(packet.sequenceNumber);
    if (number < next_)
        return drop(number);
    if (early_.count(number) != 0) {
        ++statistics_.duplicates;
        return;
    }
    if (number < end_)
        ++statistics_.reordered;
    end_ = std::max(end_, number + 1);
    while (number >= next_ + window)
        step();
    handOnWhatIsNext();
    if (number != next_) {
        early_[number] = {now, {packet.payload, packet.payload + packet.size}};
        return;
    }
    handler_(packet.payload, packet.size);
    ++next_;
    handedOn_ = (handedOn_ << 1) | 1;
    handOnWhatIsNext();
}

/// @param number before the next one
void RtpReorder::drop(uint64_t number)
{
    const uint64_t before = next_ - number - 1;
    const bool wasHandedOn = before < remembered && ((handedOn_ >> before) & 1) != 0;
    ++(wasHandedOn ? statistics_.duplicates : statistics_.late);
}

/// Hands on the next one, or gives it up.
void RtpReorder::step()
{
    const auto found = early_.find(next_);
    const bool isThere = found != early_.end();
    if (isThere) {
        handler_(found->second.payload.data(), found->second.payload.size());
        early_.erase(found);
    } else {
        ++statistics_.lost;
    }
    ++next_;
    handedOn_ = (handedOn_ << 1) | (isThere ? 1 : 0);
}

/// Gives up what is missing before the first that waits.
void RtpReorder::skipGap()
{
    while (next_ < early_.begin()->first)
        step();
    handOnWhatIsNext();
}

void RtpReorder::handOnWhatIsNext()
{
    while (!early_.empty() && early_.begin()->first == next_)
        step();
}

void RtpReorder::giveUpGaps(Clock::time_point now)
{
    for (std::optional<Clock::time_point> time = due(); time && *time <= now; time = due())
        skipGap();
}

std::optional<RtpReorder::Clock::time_point> RtpReorder::due() const
{
    const auto first =
        std::min_element(early_.begin(), early_.end(), [](const auto& one, const auto& other) {
            return one.second.since < other.second.since;
        });
    return first == early_.end() ? std::nullopt : std::optional(first->second.since + longestWait);
}

}  // namespace receiver
