/// Sections of one PID, put together and checked by libdvbpsi.
#ifndef VESTA_RECEIVER_STREAM_SECTION_ASSEMBLER_H
#define VESTA_RECEIVER_STREAM_SECTION_ASSEMBLER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/byte_reader.h"

extern "C" {
struct dvbpsi_s;
struct dvbpsi_psi_section_s;
}

namespace receiver {

/// A whole section, from table_id to CRC_32.
using SectionBytes = std::vector<unsigned char>;

/// The header that all sections with section_syntax_indicator 1 share (ISO/IEC 13818-1, 2.4.4.11).
struct SectionHeader {
    uint8_t tableId = 0;
    uint16_t tableIdExtension = 0;
    uint8_t version = 0;
    bool current = false;  ///< current_next_indicator: false announces a table not yet in force
    uint8_t sectionNumber = 0;
    uint8_t lastSectionNumber = 0;
};

/// @return the header of a section as an assembler delivers it; all zero when bytes are missing
SectionHeader readSectionHeader(const SectionBytes& section);

/// @return what lies between the common header and the CRC_32, while the section lives; empty when
///         bytes are missing
VestaHbbTV::ByteReader sectionBody(const SectionBytes& section);

/// A section that does not come out.
struct LeftOutSection {
    enum class Reason {
        WrongCrc,   ///< its CRC_32 is wrong
        Unchecked,  ///< it has none
        TooLong,    ///< it announces more bytes than a section can have
        CutShort    ///< the next one begins before it ends, and no packet is missing
    };

    Reason reason = Reason::WrongCrc;
    SectionBytes header;  ///< of its first eight bytes those that came
};

/// Assembles the sections of one PID from its packets. Every section that comes out has
/// section_syntax_indicator 1 and a correct CRC_32. Others are dropped and reported. Of those
/// without a CRC_32 are DSM-CC sections with the old checksum in its place, which object
/// carousels must not use (ETSI TS 102 809, B.2). One thread.
class SectionAssembler {
public:
    SectionAssembler();
    ~SectionAssembler();
    SectionAssembler(const SectionAssembler&) = delete;
    SectionAssembler& operator=(const SectionAssembler&) = delete;

    /// Takes the PID's next packet. A gap in the continuity counter drops the section in progress.
    /// @param packet 188 bytes, borrowed for the call: not a repetition of the packet before, not
    ///        scrambled, with a payload
    /// @param payloadOffset where the payload begins in the packet, 4 to 187
    /// @return false when the packet contradicts itself and was dropped
    bool push(const unsigned char* packet, size_t payloadOffset);

    /// @return the sections completed since the last call, in order
    std::vector<SectionBytes> takeSections();

    /// @return the sections dropped since the last call, in order, but for those with lost packets
    std::vector<LeftOutSection> takeLeftOut();

    void noteMessage(const char* text);
    void noteSection(const dvbpsi_psi_section_s& section, bool hasCrc);

private:
    struct HandleDeleter {
        void operator()(dvbpsi_s* handle) const;
    };

    void dropIfCutShort(const unsigned char* packet, size_t payloadOffset);
    void leaveOut(LeftOutSection::Reason reason, const dvbpsi_psi_section_s* section);

    std::unique_ptr<dvbpsi_s, HandleDeleter> handle_;
    std::vector<SectionBytes> sections_;
    std::vector<LeftOutSection> leftOut_;
};

}  // namespace receiver

#endif
