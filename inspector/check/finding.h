/// What can be found wrong, and what was found.
#ifndef VESTA_INSPECTOR_CHECK_FINDING_H
#define VESTA_INSPECTOR_CHECK_FINDING_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "inspector/decode/node.h"

namespace inspector {

enum class Severity {
    Information,  ///< worth knowing; nothing need be done
    Warning,      ///< against the standard or most likely not meant, and applications start
    Error         ///< something does not start, or not as signalled
};

/// "information", "warning", "error"
const char* nameOf(Severity severity);

/// A kind of finding, known by an id that does not change.
struct FindingKind {
    const char* id;
    Severity severity;
    const char* standard;   ///< what should be
    const char* clause;     ///< which standard says so
    const char* terminals;  ///< what terminals with this application manager do because of it
};

/// All of them, in the order of the guide.
const std::vector<FindingKind>& findingKinds();

/// Where something was found; what is not known is left out. Line and column are of an XML AIT.
struct Place {
    std::optional<uint16_t> service;
    std::optional<uint16_t> pid;
    std::string file;  ///< its path, of a file of sections
    std::string table;
    std::optional<uint8_t> section;
    std::optional<size_t> offset;  ///< in the section, from table_id
    std::string application;       ///< "a.1"
    std::optional<unsigned> line;
    std::optional<unsigned> column;
};

struct Finding {
    const FindingKind* kind;
    Place place;
    std::string detail;
};

/// Collects findings; of one kind no more than a limit.
class Findings {
public:
    static constexpr size_t mostOfAKind = 100;

    /// @param id of a kind that there is
    void add(std::string_view id, Place place, std::string detail);

    const std::vector<Finding>& all() const { return findings_; }
    uint64_t countOf(Severity severity) const;
    /// How many were found beyond the limit.
    uint64_t leftOut() const { return leftOut_; }

private:
    std::vector<Finding> findings_;
    std::map<const FindingKind*, uint64_t> counts_;
    uint64_t leftOut_ = 0;
};

/// The findings and their number, as parts of a document.
void addFindings(const Findings& findings, Node& root);

}  // namespace inspector

#endif
