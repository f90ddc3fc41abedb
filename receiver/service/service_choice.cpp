#include "receiver/service/service_choice.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace receiver {

namespace {

// More services than a multiplex has.
const size_t mostCandidates = 256;
// Each of them looks at every section that comes there.
const size_t mostCandidatesOnAPid = 32;

}  // namespace

bool Candidate::hear(uint16_t pid, const SectionBytes& section)
{
    return isHbbTVTable(section) && tables[pid].add(section);
}

size_t Candidate::heldBytes() const
{
    size_t bytes = 0;
    for (const auto& [pid, table] : tables)
        bytes += table.bytes();
    return bytes;
}

Candidate ServiceChoice::listenTo(ProgramMap map)
{
    Candidate candidate;
    candidate.map = std::move(map);
    const std::vector<uint16_t> pids = candidate.map.tablePids();
    subscribe(pids);
    stream_.visitEarlySections(
        {pids.begin(), pids.end()}, EarlyPackets::Visitor::Candidate,
        [&candidate](uint16_t pid, const SectionBytes& section) { candidate.hear(pid, section); });
    return candidate;
}

void ServiceChoice::subscribe(const std::vector<uint16_t>& pids)
{
    for (const uint16_t pid : pids)
        stream_.subscribe(pid);
}

void ServiceChoice::follow(uint16_t programNumber, ProgramMap map)
{
    if (map.signalling() == ApplicationSignalling::None)
        return drop(programNumber);
    if (candidates_.count(programNumber) != 0) {
        Candidate candidate = take(programNumber);
        candidate.map = std::move(map);
        const std::vector<uint16_t> pids = candidate.map.tablePids();
        subscribe(pids);
        for (auto table = candidate.tables.begin(); table != candidate.tables.end();) {
            const bool isListed = std::find(pids.begin(), pids.end(), table->first) != pids.end();
            table = isListed ? std::next(table) : candidate.tables.erase(table);
        }
        put(programNumber, std::move(candidate));
    } else if (candidates_.size() < mostCandidates) {
        put(programNumber, listenTo(std::move(map)));
    }
    limitWhatIsHeld();
}

void ServiceChoice::put(uint16_t programNumber, Candidate candidate)
{
    for (const uint16_t pid : candidate.map.tablePids()) {
        if (candidatesOn_[pid].size() < mostCandidatesOnAPid)
            candidatesOn_[pid].insert(programNumber);
    }
    heldBytes_ += candidate.heldBytes();
    candidates_[programNumber] = std::move(candidate);
}

Candidate ServiceChoice::take(uint16_t programNumber)
{
    const auto found = candidates_.find(programNumber);
    Candidate candidate = std::move(found->second);
    candidates_.erase(found);
    for (const uint16_t pid : candidate.map.tablePids()) {
        const auto entry = candidatesOn_.find(pid);
        if (entry == candidatesOn_.end())
            continue;  // the PMT lists it twice
        entry->second.erase(programNumber);
        if (entry->second.empty())
            candidatesOn_.erase(entry);
    }
    heldBytes_ -= candidate.heldBytes();
    return candidate;
}

/// Does nothing for a service that is none.
void ServiceChoice::drop(uint16_t programNumber)
{
    if (candidates_.count(programNumber) != 0)
        take(programNumber);
}

void ServiceChoice::dropUnlisted()
{
    std::set<uint16_t> listed;
    for (const Service& service : stream_.services())
        listed.insert(service.programNumber);
    for (auto candidate = candidates_.begin(); candidate != candidates_.end();) {
        const uint16_t programNumber = candidate++->first;
        if (listed.count(programNumber) == 0)
            drop(programNumber);
    }
}

void ServiceChoice::clear()
{
    candidates_.clear();
    candidatesOn_.clear();
    heldBytes_ = 0;
}

bool ServiceChoice::hear(uint16_t pid, const SectionBytes& section)
{
    const auto listening = candidatesOn_.find(pid);
    if (listening == candidatesOn_.end())
        return false;
    bool hasComeRound = false;
    for (const uint16_t programNumber : listening->second) {
        Candidate& candidate = candidates_.at(programNumber);
        heldBytes_ -= candidate.heldBytes();
        hasComeRound = candidate.hear(pid, section) || hasComeRound;
        heldBytes_ += candidate.heldBytes();
    }
    return !limitWhatIsHeld() && hasComeRound;
}

/// @return whether everything was forgotten
bool ServiceChoice::limitWhatIsHeld()
{
    if (heldBytes_ <= mostHeldBytes)
        return false;
    for (auto& entry : candidates_)
        entry.second.tables.clear();
    heldBytes_ = 0;
    return true;
}

const Service* ServiceChoice::best(bool withTable) const
{
    const Service* best = nullptr;
    ApplicationSignalling most = ApplicationSignalling::None;
    for (const Service& service : stream_.services()) {
        const auto found = candidates_.find(service.programNumber);
        if (found == candidates_.end() || (withTable && found->second.tables.empty()))
            continue;
        const ApplicationSignalling signalling = found->second.map.signalling();
        if (signalling > most) {
            best = &service;
            most = signalling;
        }
    }
    return best;
}

void ServiceChoice::addPidsTo(std::set<uint16_t>& pids) const
{
    for (const auto& entry : candidatesOn_)
        pids.insert(entry.first);
}

}  // namespace receiver
