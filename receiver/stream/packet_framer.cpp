#include "receiver/stream/packet_framer.h"

#include <algorithm>
#include <utility>

namespace receiver {

namespace {

constexpr size_t distances[] = {188, 192, 204};
constexpr size_t longestDistance = 204;
constexpr size_t timeStampSize = 4;  // before each packet where packets are 192 bytes apart

// So many sync bytes in a row do not come about by chance.
constexpr size_t syncBytesWanted = 5;

// A stream may begin in the middle of a packet or after rubbish, but not this late.
constexpr size_t longestSearchForTheFirstPacket = size_t(256) * 1024;

}  // namespace

PacketFramer::PacketFramer(PacketHandler handler) : handler_(std::move(handler))
{
}

void PacketFramer::feed(const unsigned char* bytes, size_t count)
{
    if (state_ == State::NotATransportStream)
        return;
    buffer_.insert(buffer_.end(), bytes, bytes + count);
    process(false);
    discardConsumedBytes();
    if (!everSynchronised_ && skippedBytes_ > longestSearchForTheFirstPacket)
        state_ = State::NotATransportStream;
}

void PacketFramer::finish()
{
    if (state_ == State::NotATransportStream)
        return;
    process(true);
    restart();
    if (!everSynchronised_)
        state_ = State::NotATransportStream;
}

void PacketFramer::restart()
{
    if (state_ == State::NotATransportStream)
        return;
    state_ = State::Searching;
    buffer_.clear();
    position_ = 0;
    skippedInSearch_ = 0;
}

void PacketFramer::process(bool atEnd)
{
    bool progress = true;
    while (progress)
        progress = state_ == State::Synchronised ? takePacket() : search(atEnd);
}

bool PacketFramer::takePacket()
{
    if (position_ >= buffer_.size())
        return false;
    if (buffer_[position_] != syncByte) {
        ++syncLosses_;
        state_ = State::Searching;
        return true;
    }
    if (buffer_.size() - position_ < packetSize)
        return false;
    handler_(buffer_.data() + position_);
    position_ += distance_;
    return true;
}

bool PacketFramer::search(bool atEnd)
{
    const size_t needed = atEnd ? packetSize : (syncBytesWanted - 1) * longestDistance + 1;
    size_t offset = position_;
    for (; buffer_.size() >= needed && offset <= buffer_.size() - needed; ++offset) {
        const size_t distance = distanceOfPacketsAt(offset, atEnd);
        if (distance != 0) {
            synchroniseAt(offset, distance);
            return true;
        }
    }
    skipTo(offset);
    return false;
}

size_t PacketFramer::distanceOfPacketsAt(size_t offset, bool atEnd) const
{
    if (buffer_[offset] != syncByte)
        return 0;
    for (size_t distance : distances) {
        if (packetsFollow(offset, distance, atEnd))
            return distance;
    }
    return 0;
}

// At the end of the input fewer sync bytes must do: all that should be there, at least two, or one
// when the rest is exactly one packet.
bool PacketFramer::packetsFollow(size_t offset, size_t distance, bool atEnd) const
{
    size_t found = 0;
    for (size_t at = offset; found < syncBytesWanted && at < buffer_.size(); at += distance) {
        if (buffer_[at] != syncByte)
            return false;
        ++found;
    }
    if (found == syncBytesWanted)
        return true;
    return atEnd && (found >= 2 || buffer_.size() - position_ == distance);
}

void PacketFramer::synchroniseAt(size_t offset, size_t distance)
{
    const size_t prefix = distance == packetSize + timeStampSize ? timeStampSize : 0;
    skipTo(offset);
    skippedBytes_ -= std::min<uint64_t>(prefix, skippedInSearch_);
    skippedInSearch_ = 0;
    distance_ = distance;
    state_ = State::Synchronised;
    everSynchronised_ = true;
}

void PacketFramer::skipTo(size_t offset)
{
    skippedBytes_ += offset - position_;
    skippedInSearch_ += offset - position_;
    position_ = offset;
}

void PacketFramer::discardConsumedBytes()
{
    const size_t consumed = std::min(position_, buffer_.size());
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(consumed));
    position_ -= consumed;
}

}  // namespace receiver
