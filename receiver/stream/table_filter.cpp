#include "receiver/stream/table_filter.h"

#include <algorithm>

namespace receiver {

namespace {

constexpr uint8_t tableIdAIT = 0x74;               // ETSI TS 102 809, 5.3.4
constexpr unsigned hbbtvApplicationType = 0x0010;  // ETSI TS 102 796, 7.2.3.1

bool isSaidToCarryHbbTV(const StreamDescription& stream)
{
    return std::any_of(
        stream.applicationTypes.begin(), stream.applicationTypes.end(),
        [](const auto& type) { return type.applicationType == hbbtvApplicationType; });
}

}  // namespace

void TableFilter::setStreams(const std::vector<StreamDescription>& streams)
{
    const std::optional<uint16_t> before = chosen_;
    pids_.clear();
    seen_.clear();
    chosen_.reset();
    mayHaveTable_ = false;
    for (const StreamDescription& stream : streams) {
        if (!stream.mayCarryApplicationInformation())
            continue;
        pids_.push_back(stream.pid);
        const bool isSaid = isSaidToCarryHbbTV(stream);
        mayHaveTable_ = mayHaveTable_ || isSaid || stream.applicationTypes.empty();
        if (!chosen_ && isSaid)
            chosen_ = stream.pid;
    }
    // What was found out by listening still holds where the PMT does not say.
    if (!chosen_ && before && isOnPid(*before))
        chosen_ = before;
}

bool TableFilter::isOnPid(uint16_t pid) const
{
    return std::find(pids_.begin(), pids_.end(), pid) != pids_.end();
}

std::string TableFilter::reasonAgainst(uint16_t pid, const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    if (header.tableId != tableIdAIT)
        return "a section of table " + std::to_string(header.tableId);
    if (!header.current)
        return "an AIT that is not in force yet";
    const unsigned type = header.tableIdExtension & 0x7FFFu;
    if (type != hbbtvApplicationType)
        return "an AIT of application type " + std::to_string(type);
    return reasonAgainstPid(pid, section);
}

std::string TableFilter::reasonAgainstPid(uint16_t pid, const SectionBytes& section)
{
    // Where the PMT does not tell, the first PID that carries such a table is found by listening:
    // one further down is taken when its table comes round again and no other came before.
    if (!chosen_ && (pid == pids_.front() || !seen_.emplace(pid, section).second))
        chosen_ = pid;
    if (!chosen_)
        return "an AIT while one may come on a PID that the PMT lists before";
    return *chosen_ == pid ? "" : "a second AIT of the service";
}

}  // namespace receiver
