/// What the application manager does not say of a table: why it does not take it.
#ifndef VESTA_RECEIVER_SERVICE_TABLE_EXAMINER_H
#define VESTA_RECEIVER_SERVICE_TABLE_EXAMINER_H

#include <bitset>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "foundation/byte_reader.h"
#include "receiver/stream/section_assembler.h"

namespace receiver {

/// An entry of a table's application loop.
struct TableEntry {
    uint32_t organisationId = 0;
    uint16_t applicationId = 0;
};

/// Called for every descriptor of an application up to the first fault.
using DescriptorVisitor =
    std::function<void(const TableEntry& entry, uint8_t tag, VestaHbbTV::ByteReader payload)>;

/// Looks for what makes the application manager refuse a section of an AIT
/// (ETSI TS 102 809, 5.3.4.6).
/// @param section with a correct CRC_32 @param visit may be empty
/// @return the place, its offset counted from the section's first byte; empty for a whole section
std::string faultOfTableSection(const SectionBytes& section, const DescriptorVisitor& visit = {});

/// Follows the sections that are sent as the application manager puts them together. It keeps to
/// the version that it has begun until that is complete or the service is left, and a section that
/// it refuses counts as received. One service; one thread.
class TableExaminer {
public:
    /// To be called for every section that is sent, in order.
    /// @return why it is not taken, or what it waits for in vain; empty when there is nothing to
    /// say
    std::string examine(const SectionBytes& section);

    /// @return what a table that has begun is waiting for; empty when there is no such table
    std::string lack() const;

    /// Whether the table of this version was taken whole, and no other has begun since.
    bool isInForce(uint8_t version) const { return !version_ && versionInForce_ == version; }

    /// The service was left.
    void clear() { *this = TableExaminer(); }

private:
    std::string begin(const SectionBytes& section);
    std::string goOn(uint8_t number);
    void endTable();
    bool isComplete() const { return received_.count() == lastNumber_ + size_t{1}; }

    std::optional<uint8_t> version_;  // of the table that has begun
    std::optional<uint8_t> versionInForce_;
    std::bitset<256> received_;
    uint8_t lastNumber_ = 0;
    uint8_t firstNumber_ = 0;  // that came
    unsigned rounds_ = 0;      // so often did it come again
    std::string fault_;        // of a section that counts as received
};

}  // namespace receiver

#endif
