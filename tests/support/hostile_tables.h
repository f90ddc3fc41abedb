/// Tables of about a megabyte, the largest that the air can bring, each made so that one thing in
/// it becomes as large in memory as it can.
#ifndef VESTA_TESTS_SUPPORT_HOSTILE_TABLES_H
#define VESTA_TESTS_SUPPORT_HOSTILE_TABLES_H

#include <cstddef>
#include <string>
#include <vector>

#include "signalling/ait.h"
#include "tests/support/section_builder.h"

namespace vesta::test {

struct HostileTable {
    std::string name;
    std::vector<Bytes> sections;

    size_t size() const;
    /// Feeds all sections to a table. @return whether all were accepted
    bool parseInto(VestaHbbTV::AIT& table) const;
};

/// @param common of the first section, which has no applications then; may be empty
/// @param entry with which the sections are filled
HostileTable filledWith(const std::string& name, const Bytes& common, const Bytes& entry);

/// Every kind of them.
std::vector<HostileTable> hostileTables();

/// Applications whose record alone is larger than everything else: what each has in common with
/// the others of its table is little, and its addresses or its name are long.
HostileTable differentLongAddresses();
HostileTable overlappingNames();

}  // namespace vesta::test

#endif
