/// What a receiver reads from PAT, PMT and SDT to know its services.
#ifndef VESTA_RECEIVER_SERVICE_SERVICE_TABLES_H
#define VESTA_RECEIVER_SERVICE_SERVICE_TABLES_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "receiver/stream/section_assembler.h"

namespace receiver {

/// Collects the sections of a table until all of one version are there.
class TableCollector {
public:
    /// @param section with current_next_indicator 1; a section of another version or
    ///        table_id_extension than the ones before, or one that differs from the one of its
    ///        number, begins a new collection
    /// @return true when the section completes a table that differs from the last complete one
    bool add(const SectionBytes& section);

    /// @return the sections of the last complete table, by section number; empty before
    const std::vector<SectionBytes>& sections() const { return complete_; }

private:
    SectionHeader header_;
    std::map<uint8_t, SectionBytes> pending_;
    std::vector<SectionBytes> complete_;
};

/// A service as the program association table lists it (ISO/IEC 13818-1, 2.4.4.3).
struct ProgramAssociation {
    uint16_t transportStreamId = 0;
    uint16_t programNumber = 0;
    uint16_t pmtPid = 0;
};

/// @return the programs in order, without the network PID; what does not fit is left out
std::vector<ProgramAssociation> readProgramAssociations(const std::vector<SectionBytes>& pat);

/// What the service description table says of one service (ETSI EN 300 468, 5.2.3).
struct ServiceDescription {
    uint16_t originalNetworkId = 0;
    uint16_t transportStreamId = 0;
    uint16_t serviceId = 0;
    std::string name;  ///< UTF-8; empty without a service descriptor
    uint8_t type = 0;  ///< ETSI EN 300 468, table 87; 0 without a service descriptor
};

/// @return the services in order; a loop that leaves the section ends the section's list
std::vector<ServiceDescription> readServiceDescriptions(const std::vector<SectionBytes>& sdt);

constexpr uint16_t hbbtvApplicationType = 0x0010;  // ETSI TS 102 796, 7.2.3.1

/// One application type of an application signalling descriptor (ETSI TS 102 809, 5.3.5.1).
struct SignalledApplicationType {
    uint16_t applicationType = 0;
    uint8_t aitVersion = 0;  ///< broadcasters do not keep it equal to the AIT's own version
};

/// What a PMT says of HbbTV applications.
enum class ApplicationSignalling {
    None,    ///< no stream with AITs, or other application types alone
    Unsaid,  ///< a stream that may carry AITs, without a descriptor that tells their types
    HbbTV    ///< an application signalling descriptor with the type of HbbTV
};

/// An elementary stream as a program map table lists it, with what locates signalling and
/// carousels.
struct StreamDescription {
    uint8_t streamType = 0;
    uint16_t pid = 0;
    std::optional<uint8_t> componentTag;                     ///< stream identifier descriptor
    std::vector<uint16_t> associationTags;                   ///< association tag descriptors
    std::optional<uint32_t> carouselId;                      ///< carousel identifier descriptor
    std::vector<SignalledApplicationType> applicationTypes;  ///< application signalling descriptor

    /// Whether AITs are to be expected on the PID: stream type 5 (private sections), with or
    /// without a descriptor that tells their application types.
    bool mayCarryApplicationInformation() const;

    /// Of the AITs on this PID.
    ApplicationSignalling signalling() const;
};

/// What a receiver needs of a program map table.
struct ProgramMap {
    SectionBytes section;                    ///< the PMT itself
    uint16_t clockPid = 0x1FFF;              ///< carries the program's clock (PCR); 0x1FFF: none
    std::vector<StreamDescription> streams;  ///< in the order of the section

    ApplicationSignalling signalling() const;

    /// The PIDs where AITs for HbbTV may be, in the order of the section.
    std::vector<uint16_t> tablePids() const;
};

/// Reads a PMT in one pass, its streams with the library's class.
/// @return a stream that does not fit ends the list; all empty for a section too short
ProgramMap readProgramMap(const SectionBytes& pmtSection);

/// Whether a section is of an AIT for HbbTV that is in force (ETSI TS 102 809, 5.3.4.6).
bool isHbbTVTable(const SectionBytes& section);

}  // namespace receiver

#endif
