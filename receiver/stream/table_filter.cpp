#include "receiver/stream/table_filter.h"

#include <algorithm>
#include <iterator>

namespace receiver {

namespace {

constexpr uint8_t tableIdAIT = 0x74;  // ETSI TS 102 809, 5.3.4

}  // namespace

void TableFilter::setStreams(const std::vector<StreamDescription>& streams)
{
    const std::optional<uint16_t> before = chosen_;
    std::vector<uint16_t> ofOtherTypes;
    pids_.clear();
    chosen_.reset();
    mayHaveTable_ = false;
    for (const StreamDescription& stream : streams) {
        if (!stream.mayCarryApplicationInformation())
            continue;
        const ApplicationSignalling signalling = stream.signalling();
        const bool mayBe = signalling != ApplicationSignalling::None;
        (mayBe ? pids_ : ofOtherTypes).push_back(stream.pid);
        mayHaveTable_ = mayHaveTable_ || mayBe;
        if (!chosen_ && signalling == ApplicationSignalling::HbbTV)
            chosen_ = stream.pid;
    }
    pids_.insert(pids_.end(), ofOtherTypes.begin(), ofOtherTypes.end());
    // What was found out by listening still holds where the PMT does not say.
    if (!chosen_ && before && isOnPid(*before))
        chosen_ = before;
    for (auto held = held_.begin(); held != held_.end();) {
        const bool stays = !chosen_ && isOnPid(held->first);
        heldBytes_ -= stays ? 0 : held->second.bytes();
        held = stays ? std::next(held) : held_.erase(held);
    }
}

bool TableFilter::isOnPid(uint16_t pid) const
{
    return std::find(pids_.begin(), pids_.end(), pid) != pids_.end();
}

std::string TableFilter::reasonAgainst(const SectionBytes& section) const
{
    const SectionHeader header = readSectionHeader(section);
    if (header.tableId != tableIdAIT)
        return "a section of table " + std::to_string(header.tableId);
    if (!header.current)
        return "an AIT that is not in force yet";
    const unsigned type = header.tableIdExtension & 0x7FFFu;
    if (type != hbbtvApplicationType)
        return "an AIT of application type " + std::to_string(type);
    return "";
}

TableFilter::Verdict TableFilter::judge(uint16_t pid, const SectionBytes& section)
{
    const std::string reason = reasonAgainst(section);
    if (!reason.empty())
        return {{}, reason};
    if (!chosen_ && pid == pids_.front())
        choose(pid);
    if (chosen_ && *chosen_ != pid)
        return {{}, "a second AIT of the service"};
    if (chosen_)
        return {{section}, ""};
    if (hold(pid, section))
        return {choose(pid), ""};
    if (heldBytes() > mostHeldBytes)
        return {giveUpWaiting(), ""};
    return {{}, "held back: an AIT while one may come on a PID that the PMT lists before"};
}

/// @return what was held of its table
std::vector<SectionBytes> TableFilter::choose(uint16_t pid)
{
    chosen_ = pid;
    const std::vector<SectionBytes> sections = held_[pid].take();
    forgetHeld();
    return sections;
}

/// @return whether its table has come round
bool TableFilter::hold(uint16_t pid, const SectionBytes& section)
{
    HeldTable& held = held_[pid];
    heldBytes_ -= held.bytes();
    const bool hasComeRound = held.add(section);
    heldBytes_ += held.bytes();
    return hasComeRound;
}

std::vector<SectionBytes> TableFilter::giveUpWaiting()
{
    for (const uint16_t pid : pids_) {
        if (held_.count(pid) != 0)
            return choose(pid);
    }
    return {};
}

void TableFilter::forgetHeld()
{
    held_.clear();
    heldBytes_ = 0;
}

}  // namespace receiver
