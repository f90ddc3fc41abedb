/// What the application manager will not say of a table: why it refuses it.
#ifndef VESTA_RECEIVER_SERVICE_TABLE_EXAMINER_H
#define VESTA_RECEIVER_SERVICE_TABLE_EXAMINER_H

#include <optional>
#include <string>

#include "foundation/ref_ptr.h"
#include "receiver/stream/section_assembler.h"
#include "signalling/ait.h"

namespace receiver {

/// Looks for what makes the application manager refuse a section of an AIT.
/// @param section with a correct CRC_32
/// @return the place, with its offset from the section's first byte; empty when it is well-formed
std::string faultOfTableSection(const SectionBytes& section);

/// Puts the sections that are sent together as the application manager does, to say what becomes of
/// them. One service; one thread.
class TableExaminer {
public:
    /// To be called for every section that is sent, in order.
    /// @return what is wrong with it; empty when it is taken, or dropped as a repetition
    std::string examine(const SectionBytes& section);

    /// @return which sections of a table are missing; empty when all tables that began were
    ///         complete
    std::string lack() const;

    /// The service was left, or has no table any more.
    void clear();

private:
    std::string refusal(const SectionBytes& section);

    VestaHbbTV::ref_ptr<VestaHbbTV::AIT> assembled_;  // null between two tables
    std::optional<uint8_t> versionInForce_;
    std::set<uint8_t> received_;
    uint8_t lastSection_ = 0;
    std::string fault_;  // of a section of the table that is assembled
};

}  // namespace receiver

#endif
