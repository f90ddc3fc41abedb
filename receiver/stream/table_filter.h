/// Which sections of a service are the application manager's.
#ifndef VESTA_RECEIVER_STREAM_TABLE_FILTER_H
#define VESTA_RECEIVER_STREAM_TABLE_FILTER_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "receiver/service/service_tables.h"
#include "receiver/stream/section_assembler.h"

namespace receiver {

/// Lets the AIT of one service through: in force, of application type 0x0010 (HbbTV), and from one
/// PID. The application manager would take two for one table that changes all the time.
class TableFilter {
public:
    /// @param streams of the service's PMT, as often as it changes; empty: no service
    void setStreams(const std::vector<StreamDescription>& streams);

    /// The PIDs where AITs may be.
    const std::vector<uint16_t>& pids() const { return pids_; }
    bool isOnPid(uint16_t pid) const;

    /// Whether there may be an HbbTV table: not when the PMT lists no PID for tables, or says of
    /// each that other types come there.
    bool mayHaveTable() const { return mayHaveTable_; }

    /// @param section from one of the PIDs, with a correct CRC_32
    /// @return why it is left out; empty when it is to be sent
    std::string reasonAgainst(uint16_t pid, const SectionBytes& section);

private:
    std::string reasonAgainstPid(uint16_t pid, const SectionBytes& section);

    std::vector<uint16_t> pids_;
    bool mayHaveTable_ = false;
    std::optional<uint16_t> chosen_;                    // the PID whose table is taken
    std::set<std::pair<uint16_t, SectionBytes>> seen_;  // while none is chosen
};

}  // namespace receiver

#endif
