/// AIT sections made to measure, right or wrong.
///
///     const AITSection section = AITSection().version(3).add(
///         AITEntry(0x0A, 1).name("Launcher").priority(5).http(1,
///         "http://a.example/").location("i.html"));
///     table.parse(section.exactBlock().get());        // a sanitizer sees one byte too far
///     data->section = section.mallocBlock();          // for records that the library frees
///
/// An entry carries an application descriptor that lists its transports in the order in which they
/// were added, unless labels() or withoutApplicationDescriptor() say otherwise. Lengths are
/// computed; the functions named after a length replace it by a lie. What common() and raw() are
/// given are whole descriptors; the free functions below make such.
#ifndef VESTA_TESTS_SUPPORT_SECTION_BUILDER_H
#define VESTA_TESTS_SUPPORT_SECTION_BUILDER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vesta::test {

using Bytes = std::vector<unsigned char>;

struct Profile {
    uint16_t mask;
    uint8_t major;
    uint8_t minor;
    uint8_t micro;
};

/// The content of an application descriptor.
struct ApplicationFields {
    std::vector<Profile> profiles = {{0x0000, 1, 1, 1}};
    std::vector<uint8_t> labels;
    uint8_t priority = 1;
    uint8_t visibility = 3;
    bool serviceBound = false;
};

/// @name Whole descriptors, from the tag on
/// @{
Bytes descriptor(uint8_t tag, const Bytes& payload);
Bytes applicationDescriptor(const ApplicationFields& fields);
Bytes nameDescriptor(const std::string& name, const std::string& language = "eng");
Bytes httpTransport(uint8_t label, const std::string& base);
Bytes carouselTransport(uint8_t label, uint8_t componentTag);
Bytes remoteCarouselTransport(uint8_t label, uint16_t originalNetworkId, uint16_t transportStreamId,
                              uint16_t serviceId, uint8_t componentTag);
/// A transport of any protocol. @param selector what follows the label
Bytes otherTransport(uint8_t label, uint16_t protocolId, const Bytes& selector = {});
Bytes locationDescriptor(const std::string& path);
Bytes usageDescriptor(uint8_t usageType);
Bytes boundaryDescriptor(const std::vector<std::string>& extensions);
/// @param flags the first byte, scheduled_recording_flag in bit 7
/// @param trailing bytes behind the component tags
Bytes recordingDescriptor(uint8_t flags, const std::vector<std::string>& labels,
                          const Bytes& componentTags, const Bytes& trailing = {});
/// @}

Bytes operator+(Bytes left, const Bytes& right);

/// A heap block of exactly these bytes.
std::unique_ptr<unsigned char[]> exactBlock(const Bytes& bytes);

/// An entry of the application loop.
class AITEntry {
public:
    AITEntry(uint32_t organisationId, uint16_t applicationId, uint8_t controlCode = 1);

    AITEntry& controlCode(uint8_t code);

    /// @name The application descriptor
    /// @{
    AITEntry& priority(uint8_t priority);
    AITEntry& visibility(uint8_t visibility);
    AITEntry& serviceBound(bool bound = true);
    AITEntry& profiles(std::vector<Profile> profiles);
    AITEntry& labels(std::vector<uint8_t> labels);
    AITEntry& withoutApplicationDescriptor();
    /// @}

    /// @name Further descriptors, in the order of the calls, behind the application descriptor
    /// @{
    AITEntry& name(const std::string& name);
    AITEntry& http(uint8_t label, const std::string& base);
    AITEntry& carousel(uint8_t label, uint8_t componentTag);
    AITEntry& remoteCarousel(uint8_t label, uint16_t originalNetworkId, uint16_t transportStreamId,
                             uint16_t serviceId, uint8_t componentTag);
    AITEntry& location(const std::string& path);
    AITEntry& usage(uint8_t usageType);
    AITEntry& boundary(const std::vector<std::string>& extensions);
    AITEntry& recording(uint8_t flags, const std::vector<std::string>& labels,
                        const Bytes& componentTags, const Bytes& trailing = {});
    AITEntry& raw(const Bytes& descriptors);
    /// @}

    /// A lie about application_descriptors_loop_length.
    AITEntry& loopLength(uint16_t length);

    Bytes bytes() const;
    std::unique_ptr<unsigned char[]> exactBlock() const;

private:
    uint32_t organisationId_;
    uint16_t applicationId_;
    uint8_t controlCode_;
    bool hasApplicationDescriptor_ = true;
    ApplicationFields fields_;
    std::vector<uint8_t> transportLabels_;
    std::optional<std::vector<uint8_t>> labels_;
    Bytes descriptors_;
    std::optional<uint16_t> loopLength_;
};

/// A whole section from table_id to CRC_32.
class AITSection {
public:
    AITSection& tableId(uint8_t id);
    AITSection& applicationType(uint16_t type);
    AITSection& version(uint8_t version);
    AITSection& currentNext(bool current);
    /// @param last last_section_number
    AITSection& number(uint8_t number, uint8_t last);

    /// Appends whole descriptors to the common loop.
    AITSection& common(const Bytes& descriptors);

    /// Appends an entry to the application loop.
    AITSection& add(const AITEntry& entry);
    /// Appends any bytes to the application loop.
    AITSection& add(const Bytes& entry);

    /// @name Lies about lengths
    /// @{

    /// The section is cut or filled up (with 0xFF) to the length that it claims.
    AITSection& sectionLength(uint16_t length);
    AITSection& commonLength(uint16_t length);
    AITSection& applicationLoopLength(uint16_t length);
    /// @}

    /// 3 + section_length bytes, with the right CRC unless there is a lie about the section's
    /// length.
    Bytes bytes() const;

    /// bytes() in a heap block of exactly that size.
    std::unique_ptr<unsigned char[]> exactBlock() const;

    /// bytes() in a block that free() releases.
    unsigned char* mallocBlock() const;

private:
    Bytes body() const;

    uint8_t tableId_ = 0x74;
    uint16_t applicationType_ = 0x0010;
    uint8_t version_ = 0;
    bool currentNext_ = true;
    uint8_t number_ = 0;
    uint8_t lastNumber_ = 0;
    Bytes common_;
    Bytes applications_;
    std::optional<uint16_t> sectionLength_;
    std::optional<uint16_t> commonLength_;
    std::optional<uint16_t> applicationLoopLength_;
};

}  // namespace vesta::test

#endif
