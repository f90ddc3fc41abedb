/// @file
/// One application of an AIT: who it is, what is to be done with it, and how it is reached.
#ifndef VESTA_SIGNALLING_AIT_APPLICATION_H
#define VESTA_SIGNALLING_AIT_APPLICATION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/byte_reader.h"
#include "foundation/ref_ptr.h"
#include "foundation/visibility.h"
#include "security/application_domain.h"
#include "signalling/ait_application_transport.h"
#include "signalling/application_descriptors.h"

namespace VestaHbbTV {

class AIT;
class AITApplicationReference;
class HbbTVURL;

/// An entry of a table's application loop. Its table owns it; whoever keeps a pointer to it beyond
/// the current call holds an AITApplicationReference.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED AITApplication {
public:
    /// application_control_code as signalled; any byte may occur. DESTROY, PREFETCH, REMOTE and
    /// what is not listed differ from PRESENT in one thing: an application that runs independently
    /// of the broadcast does not become one of the service by them.
    enum ControlCode : int {
        AUTOSTART = 1,  ///< starts by itself
        PRESENT = 2,    ///< starts when a script or the integrator asks for it
        DESTROY = 3,    ///< goes on if it runs
        KILL = 4,       ///< ends if it runs, and does not start
        PREFETCH = 5,   ///< nothing is fetched ahead
        REMOTE = 6,     ///< starts when asked for, like any other
        DISABLED = 7    ///< does not start; goes on if it runs
    };

    /// usage_type as signalled; any byte may occur, and 0 means that none was signalled.
    enum ApplicationUsageType : int {
        DIGITAL_TELETEXT = 1  ///< the service's digital teletext
    };

    /// The descriptor of profiles, priority and transports.
    using ApplicationDescriptor = VestaHbbTV::ApplicationDescriptor;

    /// The descriptor for recordings and time shift.
    using ApplicationRecordingDescriptor = VestaHbbTV::ApplicationRecordingDescriptor;

    /// What a terminal must be able to do.
    using PlatformProfile = VestaHbbTV::PlatformProfile;

    /// The application holds a reference on each; none is null.
    using Transports = std::vector<ref_ptr<AITApplicationTransport>>;

    /// An empty application, not yet in the parent's list (AIT::insertAITApplication).
    /// @param parent table whose channel handle and service it takes over; not owned, must outlive
    ///        the application; may be null
    explicit AITApplication(AIT* parent);

    AITApplication(const AITApplication&) = delete;
    AITApplication& operator=(const AITApplication&) = delete;

    /// Makes every AITApplicationReference to the application null.
    ~AITApplication();

    /// Reads an application loop entry. The entry's own loop length is trusted: nothing after the
    /// loop is read.
    /// @param entry points at organisation_id; may be null
    /// @return false for null and where a descriptor has no payload, leaves the loop or carries a
    ///         name that leaves it; the application is of no use then
    bool parse(const unsigned char* entry);

    /// Reads the entry that a section continues with and consumes it.
    /// @param section what is left of the section; an entry that leaves it is refused
    /// @return as above
    bool parse(ByteReader& section);

    /// Whether the table did not come from broadcast sections; false without a table.
    bool isXMLAITbased() const;

    /// Whether the application may be told apart by its id: always in a table that did not come
    /// from sections, else for ids 1 to 0x7FFF (so no wildcards).
    bool hasValidAppId() const;

    /// Whether the control code is this one.
    bool isSignalledWith(ControlCode code) const;

    /// The priority of the application descriptor, 0 without one.
    unsigned char getApplicationPriority() const;

    /// Whether both ids are equal; false for null.
    bool sameAITApplication(const AITApplication* other) const;

    /// Whether one of the signalled profiles is compatible with this terminal; false without an
    /// application descriptor and without profiles.
    bool isPlatformProfileSupported() const;

    /// Whether the first transport has this protocol; false without transports.
    bool isPreferredTransportProtocol(AITApplicationTransport::ProtocolId protocol) const;

    /// Tells the protocol of the first transport over the object carousel or HTTP.
    /// @return false, with `protocol` unchanged, when there is no such transport
    bool getPreferredTransportProtocol(AITApplicationTransport::ProtocolId& protocol) const;

    /// The most preferred transport that can be used.
    /// @param httpAvailable whether HTTP transports count
    /// @return borrowed while the application holds it; null when there is none
    AITApplicationTransport* getFirstAvailableTransport(bool httpAvailable) const;

    /// The next one that can be used after the first place of `current`. A transport listed twice
    /// follows itself.
    /// @return as above; null also for a transport that is not in the list
    AITApplicationTransport* getNextAvailableTransport(const AITApplicationTransport* current,
                                                       bool httpAvailable) const;

    /// Whether some transport has this protocol.
    bool isTransportedOverProtocol(AITApplicationTransport::ProtocolId protocol) const;

    /// The first transport on which the application's initial page has the same address as `url`,
    /// queries and fragments aside; null when there is none.
    AITApplicationTransport* getTransportMatchingURL(const HbbTVURL& url) const;

    /// Writes the application to the log.
    void printAITApplication() const;

    /// The table of which this is an application; null when there is none.
    AIT* getAIT() const { return parent_; }

    /// What is to be done with the application, as signalled or set; 0 before.
    ControlCode getControlCode() const { return controlCode_; }

    /// Who is responsible for the application, as signalled or set; 0 before.
    uint32_t getOrganisationId() const { return organisationId_; }

    /// Which application of the organisation it is, as signalled or set; 0 before.
    uint16_t getApplicationId() const { return applicationId_; }

    /// The name's bytes as signalled, in whatever character set; empty when none was.
    std::string getApplicationName() const;

    /// The initial page, relative to a transport's base.
    const std::string& getApplicationLocation() const { return applicationLocation_; }

    /// What the application is for; 0 when that was not signalled.
    ApplicationUsageType getUsageType() const { return usageType_; }

    /// Whether the application id is one of a signed application (0x4000 to 0x7FFF).
    bool isInSignedRange() const { return applicationId_ >= 0x4000 && applicationId_ <= 0x7FFF; }

    /// Profiles, priority and labels. Borrowed while the application lives; null when none was
    /// signalled.
    const ApplicationDescriptor* getApplicationDescriptor() const
    {
        return applicationDescriptor_ ? &*applicationDescriptor_ : nullptr;
    }

    /// How recordings treat the application. Borrowed until another one is set; null when none was
    /// signalled.
    const ApplicationRecordingDescriptor* getApplicationRecordingDescriptor() const
    {
        return recordingDescriptor_.get();
    }

    /// The boundary as signalled and extended. Never null; borrowed while the application lives.
    ApplicationDomain* getApplicationDomain();

    /// The same for whoever only looks. While there is no boundary, it is an empty one that does
    /// not get the entries that come later.
    const ApplicationDomain* getApplicationDomain() const;

    /// All transports in the order of preference. Borrowed while the application lives.
    const Transports& getTransports() const { return transports_; }

    /// How many transports there are; one that serves two labels counts twice.
    size_t getNumTransports() const { return transports_.size(); }

    /// The integrator's handle of the channel that carries the table; passed through.
    void* getChannelHandle() const { return channelHandle_; }

    /// Replaces the handle, whatever the table's is; null for none.
    void setChannelHandle(void* handle) { channelHandle_ = handle; }

    /// @name For tables that do not come from sections
    /// The boundary is filled through getApplicationDomain().
    /// @{

    /// Says what is to be done with the application; any value is stored.
    void setControlCode(ControlCode code) { controlCode_ = code; }

    /// Says who is responsible for the application.
    void setOrganisationId(uint32_t id) { organisationId_ = id; }

    /// Says which application of the organisation it is.
    void setApplicationId(uint16_t id) { applicationId_ = id; }

    /// Replaces the name by these bytes.
    void setApplicationName(std::string name);

    /// Replaces the initial page.
    /// @param location is put after a transport's base, with nothing between them
    void setApplicationLocation(std::string location);

    /// Says what the application is for; 0 for nothing special.
    void setUsageType(ApplicationUsageType type) { usageType_ = type; }

    /// Replaces the profiles, the priority and the labels. To be set before the application is
    /// inserted, since its priority decides on its place.
    void setApplicationDescriptor(ApplicationDescriptor descriptor);

    /// Replaces how recordings treat the application.
    void setApplicationRecordingDescriptor(ApplicationRecordingDescriptor descriptor);

    /// Appends the transport as the least preferred one, whatever labels are signalled.
    /// @param transport null is ignored
    void addTransport(ref_ptr<AITApplicationTransport> transport);
    /// @}

private:
    friend class AIT;
    friend class AITApplicationReference;

    VESTA_HIDDEN bool parseDescriptors(ByteReader loop, size_t afterLoop,
                                       Transports& ownTransports);
    VESTA_HIDDEN bool parseDescriptor(uint8_t tag, ByteReader payload, ByteReader toLoopEnd,
                                      size_t afterLoop, Transports& ownTransports);
    VESTA_HIDDEN bool parseName(ByteReader toLoopEnd);
    VESTA_HIDDEN void keepNameShort(ByteReader loop);
    VESTA_HIDDEN void parseTransport(ByteReader payload, Transports& ownTransports) const;
    VESTA_HIDDEN void chooseTransports(Transports ownTransports);
    VESTA_HIDDEN void printTransport(size_t index) const;

    AIT* parent_;
    /// Head of the references that point here; the dying application clears them.
    AITApplicationReference* firstReference_ = nullptr;
    void* channelHandle_;
    /// The name; or the descriptor loop that it is put together from, where that is shorter.
    std::string applicationName_;
    std::string applicationLocation_;
    Transports transports_;
    std::unique_ptr<ApplicationDomain> applicationDomain_;  ///< null while it is empty
    std::optional<ApplicationDescriptor> applicationDescriptor_;
    std::unique_ptr<ApplicationRecordingDescriptor> recordingDescriptor_;
    ControlCode controlCode_ = ControlCode(0);
    ApplicationUsageType usageType_ = ApplicationUsageType(0);
    uint32_t organisationId_ = 0;
    uint16_t applicationId_ = 0;
    bool nameIsInLoop_ = false;
};

}  // namespace VestaHbbTV

#endif
