#include "receiver/stream/early_packets.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

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
    kept_[pid].numbers.push_back(nextNumber_++);
}

/// Half of them at once, so that moving the rest costs little for each.
void EarlyPackets::dropHalf()
{
    const size_t packets = mostBytes / 2 / packetSize;
    bytes_.erase(bytes_.begin(),
                 bytes_.begin() + static_cast<std::ptrdiff_t>(packets * packetSize));
    firstNumber_ += packets;
    for (auto entry = kept_.begin(); entry != kept_.end();) {
        std::deque<uint64_t>& numbers = entry->second.numbers;
        while (!numbers.empty() && numbers.front() < firstNumber_)
            numbers.pop_front();
        entry = numbers.empty() ? kept_.erase(entry) : std::next(entry);
    }
}

void EarlyPackets::visit(const std::set<uint16_t>& pids, Visitor visitor, const Visit& visit)
{
    std::vector<uint64_t> numbers;
    for (const uint16_t pid : pids) {
        const auto found = kept_.find(pid);
        if (found == kept_.end() || found->second.visits[visitor] == mostVisits)
            continue;
        ++found->second.visits[visitor];
        numbers.insert(numbers.end(), found->second.numbers.begin(), found->second.numbers.end());
    }
    std::sort(numbers.begin(), numbers.end());
    for (const uint64_t number : numbers)
        visit(bytes_.data() + (number - firstNumber_) * packetSize);
}

void EarlyPackets::forget()
{
    isKeeping_ = false;
    bytes_ = std::vector<unsigned char>();
    kept_.clear();
}

void EarlyPackets::begin()
{
    if (!isKeeping_)
        firstNumber_ = nextNumber_;
    for (auto& entry : kept_)
        entry.second.visits.clear();
    isKeeping_ = true;
}

}  // namespace receiver
