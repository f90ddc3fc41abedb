/// Which sections of a service are the application manager's.
#ifndef VESTA_RECEIVER_STREAM_TABLE_FILTER_H
#define VESTA_RECEIVER_STREAM_TABLE_FILTER_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "receiver/service/service_tables.h"
#include "receiver/stream/held_table.h"
#include "receiver/stream/section_assembler.h"

namespace receiver {

/// Lets the AIT of one service through: in force, of application type 0x0010 (HbbTV), and from one
/// PID. The application manager would take two for one table that changes all the time.
///
/// Where the PMT does not tell which PID that is, it is found by listening: the first PID that may
/// carry the table is taken at once, another one when its table comes round and no other came
/// before. What came until then is held, so that a table that comes once is not lost.
class TableFilter {
public:
    /// Bytes of the sections that are held; with more than that the waiting ends.
    static constexpr size_t mostHeldBytes = size_t(256) * 1024;

    /// @param streams of the service's PMT, as often as it changes; empty: no service
    void setStreams(const std::vector<StreamDescription>& streams);

    /// The PIDs where AITs may be.
    const std::vector<uint16_t>& pids() const { return pids_; }
    bool isOnPid(uint16_t pid) const;

    /// Whether there may be an HbbTV table: not when the PMT lists no PID for tables, or says of
    /// each that other types come there.
    bool mayHaveTable() const { return mayHaveTable_; }

    /// What is to be done now that a section came.
    struct Verdict {
        std::vector<SectionBytes> toSend;  ///< in order; those that were held before are among them
        std::string reason;                ///< why the section is not; else empty
    };

    /// @param section from one of the PIDs, with a correct CRC_32
    Verdict judge(uint16_t pid, const SectionBytes& section);

    /// Nothing more comes, so that the first PID with a table has the service's.
    /// @return its sections, in order
    std::vector<SectionBytes> giveUpWaiting();

    /// Bytes of the sections that are held.
    size_t heldBytes() const { return heldBytes_; }
    void forgetHeld();

private:
    std::string reasonAgainst(const SectionBytes& section) const;
    std::vector<SectionBytes> choose(uint16_t pid);
    bool hold(uint16_t pid, const SectionBytes& section);

    std::vector<uint16_t> pids_;  // those first that the PMT says nothing of, then other types
    bool mayHaveTable_ = false;
    std::optional<uint16_t> chosen_;      // the PID whose table is taken
    std::map<uint16_t, HeldTable> held_;  // by PID, while none is chosen
    size_t heldBytes_ = 0;                // of all of them
};

}  // namespace receiver

#endif
