#include "receiver/stream/early_packets.h"

#include <algorithm>
#include <cstddef>

namespace receiver {

namespace {

constexpr size_t packetSize = PacketFramer::packetSize;

}  // namespace

void EarlyPackets::add(uint16_t pid, const unsigned char* packet)
{
    if (!isKeeping_)
        return;
    if (bytes_.size() + packetSize > mostBytes)
        dropHalf();
    bytes_.insert(bytes_.end(), packet, packet + packetSize);
    numbers_[pid].push_back(nextNumber_++);
}

/// Half of them at once, so that moving the rest costs little for each.
void EarlyPackets::dropHalf()
{
    const size_t packets = mostBytes / 2 / packetSize;
    bytes_.erase(bytes_.begin(),
                 bytes_.begin() + static_cast<std::ptrdiff_t>(packets * packetSize));
    firstNumber_ += packets;
    for (auto& entry : numbers_) {
        std::vector<uint64_t>& numbers = entry.second;
        numbers.erase(numbers.begin(),
                      std::lower_bound(numbers.begin(), numbers.end(), firstNumber_));
    }
}

void EarlyPackets::visit(const std::set<uint16_t>& pids, const Visitor& visit)
{
    std::vector<uint64_t> numbers;
    for (const uint16_t pid : pids) {
        if (const auto found = numbers_.find(pid); found != numbers_.end())
            numbers.insert(numbers.end(), found->second.begin(), found->second.end());
    }
    std::sort(numbers.begin(), numbers.end());
    for (const uint64_t number : numbers) {
        if (visits_ == mostVisits)
            return;
        ++visits_;
        visit(bytes_.data() + (number - firstNumber_) * packetSize);
    }
}

void EarlyPackets::forget()
{
    isKeeping_ = false;
    bytes_ = std::vector<unsigned char>();
    numbers_.clear();
}

void EarlyPackets::begin()
{
    if (!isKeeping_)
        firstNumber_ = nextNumber_;
    visits_ = 0;
    isKeeping_ = true;
}

}  // namespace receiver
