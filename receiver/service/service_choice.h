/// The services that may be tuned to, while it is the receiver that chooses.
#ifndef VESTA_RECEIVER_SERVICE_SERVICE_CHOICE_H
#define VESTA_RECEIVER_SERVICE_SERVICE_CHOICE_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "receiver/service/service_tables.h"
#include "receiver/stream/held_table.h"
#include "receiver/stream/section_assembler.h"
#include "receiver/stream/transport_stream.h"

namespace receiver {

/// A service that may be tuned to, and what came of its table meanwhile.
struct Candidate {
    ProgramMap map;
    std::map<uint16_t, HeldTable> tables;  ///< by PID; none is empty

    /// @return whether a table has come round
    bool hear(uint16_t pid, const SectionBytes& section);
    size_t heldBytes() const;
};

/// Listens to the tables of all candidates, so that the choice between them can be made by what
/// their PMTs say, or by which table comes.
class ServiceChoice {
public:
    /// What heldBytes() may be: more than the tables of a multiplex. With more they are forgotten.
    static constexpr size_t mostHeldBytes = size_t(4) << 20;

    /// @param stream borrowed; it is made to deliver what the candidates listen to
    explicit ServiceChoice(TransportStream& stream) : stream_(stream) {}

    /// Whatever is chosen. @return the service with what came of its table before the PMT
    Candidate listenTo(ProgramMap map);

    /// Takes a service's PMT, the first or one that differs. Without applications in it the service
    /// is no candidate, or none any more.
    void follow(uint16_t programNumber, ProgramMap map);

    /// Takes a section of one of the PIDs; does nothing for others.
    /// @return whether a table has come round
    bool hear(uint16_t pid, const SectionBytes& section);

    /// @param withTable only among those of which a table came
    /// @return the service whose PMT says most of HbbTV, of equals the first in the PAT; null for
    ///         none
    const Service* best(bool withTable) const;

    /// @return the candidate, which is none any more. It has to be one.
    Candidate take(uint16_t programNumber);

    /// Forgets the services that the stream lists no more.
    void dropUnlisted();
    void clear();
    bool empty() const { return candidates_.empty(); }

    /// Adds the PIDs that the candidates listen to.
    void addPidsTo(std::set<uint16_t>& pids) const;

    /// Bytes of tables of all candidates.
    size_t heldBytes() const { return heldBytes_; }

private:
    void subscribe(const std::vector<uint16_t>& pids);
    void put(uint16_t programNumber, Candidate candidate);
    void drop(uint16_t programNumber);
    bool limitWhatIsHeld();

    TransportStream& stream_;
    std::map<uint16_t, Candidate> candidates_;             // by program number
    std::map<uint16_t, std::set<uint16_t>> candidatesOn_;  // a PID where their tables may be
    size_t heldBytes_ = 0;
};

}  // namespace receiver

#endif
