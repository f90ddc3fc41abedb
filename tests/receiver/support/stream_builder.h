/// Hand-made sections and transport packets.
#ifndef VESTA_TESTS_RECEIVER_SUPPORT_STREAM_BUILDER_H
#define VESTA_TESTS_RECEIVER_SUPPORT_STREAM_BUILDER_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/receiver/support/byte_writer.h"

namespace receiver {

/// A section with section_syntax_indicator 1 and a correct CRC_32.
struct SectionFields {
    unsigned tableId = 0;
    unsigned tableIdExtension = 0;
    unsigned version = 0;
    bool current = true;
    unsigned sectionNumber = 0;
    unsigned lastSectionNumber = 0;
};
Bytes makeSection(const SectionFields& fields, const Bytes& body);

struct PatEntry {
    unsigned programNumber;
    unsigned pid;
};
Bytes makePat(unsigned transportStreamId, unsigned version, const std::vector<PatEntry>& programs);

struct PmtStream {
    unsigned streamType;
    unsigned pid;
    Bytes descriptors;
};
Bytes makePmt(unsigned programNumber, unsigned version, const std::vector<PmtStream>& streams);

/// @param names service ids and the bytes of their names
Bytes makeSdt(unsigned transportStreamId, unsigned originalNetworkId,
              const std::vector<std::pair<unsigned, std::string>>& names, unsigned tableId = 0x42);

Bytes makeDescriptor(unsigned tag, const Bytes& payload);

/// Packs the sections of one PID into 188-byte packets and counts them.
class PacketWriter {
public:
    explicit PacketWriter(unsigned pid) : pid_(pid) {}

    /// The packets of a section, the last one stuffed.
    Bytes section(const Bytes& section);

    /// One packet with this adaptation field (without its length byte) and payload; they must fill
    /// it. An empty adaptation field is left out, so is an empty payload.
    Bytes packet(bool unitStart, const Bytes& adaptationField, const Bytes& payload);

    /// As if so many packets were lost.
    void skipCounter(unsigned packets) { counter_ += packets; }

private:
    unsigned pid_;
    unsigned counter_ = 0;
};

/// A stream that grows section by section, each PID with its own counter.
class StreamWriter {
public:
    StreamWriter& add(unsigned pid, const Bytes& section);

    /// A clock reference. @param time 33 bits of 90 kHz
    StreamWriter& addClock(unsigned pid, uint64_t time);

    /// So much of nothing that the receiver acts on what came before.
    StreamWriter& pause();

    const Bytes& bytes() const { return bytes_; }

private:
    std::map<unsigned, PacketWriter> writers_;
    Bytes bytes_;
};

Bytes operator+(Bytes left, const Bytes& right);

}  // namespace receiver

#endif
