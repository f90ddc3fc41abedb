/// Hand-made object carousels, from BIOP objects to sections.
#ifndef VESTA_TESTS_RECEIVER_SUPPORT_CAROUSEL_BUILDER_H
#define VESTA_TESTS_RECEIVER_SUPPORT_CAROUSEL_BUILDER_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "receiver/carousel/object_carousel.h"
#include "tests/receiver/support/byte_writer.h"

namespace receiver {

/// What an IOR says; the default is an object of carousel 42 on the stream with tag 0x2A.
struct IorFields {
    std::string typeId = std::string("dir\0", 4);
    unsigned moduleId = 1;
    std::string key = "k";
    unsigned associationTag = 0x2A;
    std::optional<uint32_t> transactionId = 0x80000002;
    uint32_t carouselId = 42;
};
Bytes makeBiopProfile(const IorFields& fields);
Bytes makeIor(const IorFields& fields);
/// An IOR with these profiles: tags and data.
Bytes makeIor(const std::string& typeId, const std::vector<std::pair<uint32_t, Bytes>>& profiles);

Bytes makeBiopMessage(const std::string& key, const std::string& kind, const Bytes& info,
                      const Bytes& body);
Bytes makeFile(const std::string& key, const Bytes& content, const std::string& contentType = "",
               const std::string& kind = std::string("fil\0", 4));
Bytes makeFile(const std::string& key, const std::string& content);
struct DirectoryEntry {
    std::string name;
    Bytes ior;
};
Bytes makeDirectory(const std::string& key, const std::vector<DirectoryEntry>& entries,
                    const std::string& kind = std::string("dir\0", 4));
Bytes makeGateway(const std::string& key, const std::vector<DirectoryEntry>& entries);
Bytes makeStreamEvents(const std::string& key,
                       const std::vector<std::pair<std::string, unsigned>>& events,
                       const std::string& kind = std::string("ste\0", 4),
                       size_t microsecondBytes = 2);

/// A stream event descriptor, and a section of table 0x3D with one that is to be done now.
/// @param time of 33 bits
Bytes makeStreamEventDescriptor(unsigned id, const std::string& data, uint64_t time = 0);
Bytes makeStreamEventSection(unsigned id, unsigned version, const std::string& data);

/// An NPT reference descriptor: at this clock the programme's time is that one, both of 33 bits.
Bytes makeTimeReference(uint64_t clock, uint64_t time, unsigned numerator = 1,
                        unsigned denominator = 1, bool isOfNextTimeLine = false);

Bytes makeDsi(const Bytes& ior, uint32_t transactionId = 0x80000000);

struct ModuleFields {
    unsigned moduleId = 1;
    uint32_t size = 0;
    unsigned version = 0;
    std::optional<unsigned> associationTag = 0x2A;
    std::optional<uint32_t> originalSize = {};
    unsigned compressionMethod = 0x78;
};
Bytes makeDii(uint32_t transactionId, const std::vector<ModuleFields>& modules,
              unsigned blockSize = 100, uint32_t downloadId = 42);
Bytes makeDdb(unsigned moduleId, unsigned version, unsigned blockNumber, const Bytes& data,
              uint32_t downloadId = 42);
/// All blocks of a module.
std::vector<Bytes> makeDdbs(unsigned moduleId, unsigned version, const Bytes& module,
                            size_t blockSize = 100, uint32_t downloadId = 42);

Bytes deflated(const Bytes& bytes);

/// Feeds a section in a heap block of exactly its size.
bool feed(ObjectCarousel& carousel, const Bytes& section, uint16_t associationTag = 0x2A);
void feed(ObjectCarousel& carousel, const std::vector<Bytes>& sections,
          uint16_t associationTag = 0x2A);

std::string textOf(const FileView& file);

}  // namespace receiver

#endif
