/// @file
/// The Application Information Table of a service: which applications there are.
#ifndef VESTA_SIGNALLING_AIT_H
#define VESTA_SIGNALLING_AIT_H

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/byte_reader.h"
#include "foundation/ref_ptr.h"
#include "foundation/visibility.h"
#include "signalling/ait_application.h"
#include "signalling/ait_application_transport.h"

namespace VestaHbbTV {

/// A table, filled section by section or by hand. Owns its applications, which stand in the order
/// of their priorities, highest first, and equal ones in the order of their insertion.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED AIT : public RefCounted<AIT> {
public:
    /// A table for the sections of this service.
    /// @param channelHandle the integrator's, passed through to every application; may be null
    AIT(unsigned short originalNetworkId, unsigned short transportStreamId,
        unsigned short serviceId, void* channelHandle);

    /// A complete table that does not come from sections (an XML AIT): ids 0, no channel handle.
    /// Should it be given one nevertheless, it takes the first section, whatever number that has.
    AIT();

    /// Deletes the applications. Transports live on where others hold them.
    ~AIT() override;

    /// Takes in one section. No byte after the section's own end (3 + section_length) is read.
    ///
    /// A section that is refused leaves what was read before the fault: its number counts as
    /// received (unless it is too short to have one), and its transports and applications before
    /// the fault stay in the table.
    /// @param section a whole section from table_id on, borrowed for the call; may be null
    /// @return true for an accepted section and for the repetition of one while sections are
    ///         missing; false for null, another table, another version, a section with a length
    ///         that leaves its loop, and every further section once the table is complete (which
    ///         one that does not come from sections is from the start, so it takes but one)
    bool parse(const unsigned char* section);

    /// Takes in the transports of a common descriptor loop and skips its other descriptors.
    /// @param data the loop's first descriptor, borrowed for the call; null is an empty loop
    /// @param length of the loop in bytes
    /// @return false when a descriptor leaves the loop; the ones before it are kept
    bool parseCommonDescriptorsLoop(const unsigned char* data, unsigned short length);

    /// Puts the application after all that have its priority or a higher one: its priority counts
    /// as it is now. One that was made for, but not inserted into, another table becomes one of
    /// this table, but keeps its channel handle.
    /// @param application ownership passes to the table; null and its own are ignored
    void insertAITApplication(AITApplication* application);

    /// @name Applications
    /// All results are borrowed while the table lives, and null when there is no such application.
    /// @{

    /// The application at a place of the table's order.
    /// @param index from 0
    AITApplication* getAITApplication(unsigned int index) const;

    /// The first application with both ids.
    AITApplication* getAITApplication(unsigned long organisationId,
                                      unsigned short applicationId) const;

    /// The first application that is signalled with the code and has an available transport.
    /// @param httpAvailable whether HTTP transports count
    AITApplication* getAITApplication(AITApplication::ControlCode code, bool httpAvailable) const;

    /// The next such application after `after`; null also when `after` is not in this table.
    AITApplication* getNextAITApplication(const AITApplication* after,
                                          AITApplication::ControlCode code,
                                          bool httpAvailable) const;

    /// The first application that is signalled with the usage type.
    AITApplication*
    getFirstAITApplicationOfUsageType(AITApplication::ApplicationUsageType type) const;

    /// The first application that is the service's teletext.
    AITApplication* getFirstDigitalTeletextAITApplication() const;
    /// @}

    /// Whether this very object is in the table. `application` may be any pointer.
    bool isHandledAITApplication(const AITApplication* application) const;

    /// How many applications the table has, whatever they are signalled with.
    unsigned int getNumApplications() const;

    /// The transport of this label in the common descriptor loops; null when there is none.
    /// Borrowed until the common transports are cleared; hold a ref_ptr to keep it.
    AITApplicationTransport* getCommonTransport(uint8_t label) const;

    /// Releases the common transports. Applications keep those that they use.
    void clearCommonTransports();

    /// Writes the table and its applications to the log.
    void printAIT() const;

    /// The network of the service, as given to the constructor; 0 without a service.
    uint16_t getOriginalNetworkId() const { return originalNetworkId_; }

    /// The transport stream of the service in this network; 0 without a service.
    uint16_t getTransportStreamId() const { return transportStreamId_; }

    /// The service in this transport stream; 0 without a service.
    uint16_t getServiceId() const { return serviceId_; }

    /// The integrator's handle of the channel, as given to the constructor; may be null.
    void* getChannelHandle() const { return channelHandle_; }

    /// Whether the table was not built from broadcast sections.
    bool isXMLBased() const { return xmlBased_; }

    /// Whether as many different sections arrived as the most recent of them said there are. A
    /// table that does not come from sections is always complete.
    bool isComplete() const { return complete_; }

    /// Whether its window has let go of the table.
    bool isStale() const { return stale_; }

    /// Marks the table as one that its window has let go of. The library does so.
    void setStale(bool stale = true) { stale_ = stale; }

    /// The version of the first section, which all others share; 0 before.
    uint8_t getVersion() const { return version_; }

    /// @name For tables that do not come from sections
    /// @{

    /// Makes a transport common to all applications that sections add from now on. The first one of
    /// a label stays.
    /// @param transport null is ignored
    void insertCommonTransport(ref_ptr<AITApplicationTransport> transport);
    /// @}

private:
    using Applications = std::vector<std::unique_ptr<AITApplication>>;

    VESTA_HIDDEN bool acceptsVersion(uint8_t version) const;
    VESTA_HIDDEN void recordSection(uint8_t version, uint8_t number, uint8_t lastNumber);
    VESTA_HIDDEN bool parseBody(ByteReader section);
    VESTA_HIDDEN bool parseCommonDescriptorsLoop(ByteReader loop);
    VESTA_HIDDEN void addCommonTransport(ByteReader payload);
    VESTA_HIDDEN bool parseApplications(ByteReader section, size_t loopLength);
    VESTA_HIDDEN bool addApplications(ByteReader section, size_t loopLength);
    VESTA_HIDDEN void insert(std::unique_ptr<AITApplication> application, size_t from);
    VESTA_HIDDEN Applications::iterator placeAt(size_t index);
    VESTA_HIDDEN size_t placeOf(const AITApplication* application) const;
    VESTA_HIDDEN AITApplication* findSignalled(size_t from, AITApplication::ControlCode code,
                                               bool httpAvailable) const;

    Applications applications_;
    /// Where the last question for a signalled application ended: the next one mostly goes on
    /// there.
    mutable size_t lastFound_ = 0;
    /// One for each label; a table has few.
    std::vector<ref_ptr<AITApplicationTransport>> commonTransports_;
    void* channelHandle_ = nullptr;
    uint16_t originalNetworkId_ = 0;
    uint16_t transportStreamId_ = 0;
    uint16_t serviceId_ = 0;
    uint8_t lastSectionNumber_ = 0;
    uint8_t version_ = 0;
    bool xmlBased_ = false;
    bool complete_ = false;
    bool stale_ = false;
    std::bitset<256> receivedSections_;
};

}  // namespace VestaHbbTV

#endif
