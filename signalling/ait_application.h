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
class VESTA_EXPORTED AITApplication {
public:
    /// application_control_code as signalled; any byte may occur.
    enum ControlCode : int {
        AUTOSTART = 1,
        PRESENT = 2,
        DESTROY = 3,
        KILL = 4,
        PREFETCH = 5,
        REMOTE = 6,
        DISABLED = 7
    };

    /// usage_type as signalled; any byte may occur, and 0 means that none was signalled.
    enum ApplicationUsageType : int { DIGITAL_TELETEXT = 1 };

    using ApplicationDescriptor = VestaHbbTV::ApplicationDescriptor;
    using ApplicationRecordingDescriptor = VestaHbbTV::ApplicationRecordingDescriptor;
    using PlatformProfile = VestaHbbTV::PlatformProfile;
    using Transports = std::vector<ref_ptr<AITApplicationTransport>>;

    /// An empty application, not yet in the parent's list (AIT::insertAITApplication).
    /// @param parent table whose channel handle and service it takes over; not owned, must outlive
    ///        the application; may be null
    explicit AITApplication(AIT* parent);

    AITApplication(const AITApplication&) = delete;
    AITApplication& operator=(const AITApplication&) = delete;
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

    bool isSignalledWith(ControlCode code) const { return controlCode_ == code; }

    /// The priority of the application descriptor, 0 without one.
    unsigned char getApplicationPriority() const
    {
        return applicationDescriptor_ ? applicationDescriptor_->getApplicationPriority()
                                      : static_cast<unsigned char>(0);
    }

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

    /// @param httpAvailable whether HTTP transports count
    /// @return borrowed while the application holds it; null when there is none
    AITApplicationTransport* getFirstAvailableTransport(bool httpAvailable) const;

    /// The one after the first place of `current`. A transport listed twice follows itself.
    /// @return as above; null also for a transport that is not in the list
    AITApplicationTransport* getNextAvailableTransport(const AITApplicationTransport* current,
                                                       bool httpAvailable) const;

    bool isTransportedOverProtocol(AITApplicationTransport::ProtocolId protocol) const;

    /// The first transport on which the application's initial page has the same address as `url`,
    /// queries and fragments aside; null when there is none.
    AITApplicationTransport* getTransportMatchingURL(const HbbTVURL& url) const;

    /// Writes the application to the log.
    void printAITApplication() const;

    /// The table of which this is an application; null when there is none.
    AIT* getAIT() const { return parent_; }

    ControlCode getControlCode() const { return controlCode_; }
    uint32_t getOrganisationId() const { return organisationId_; }
    uint16_t getApplicationId() const { return applicationId_; }

    /// The bytes as signalled, in whatever character set.
    std::string getApplicationName() const;

    /// The initial page, relative to a transport's base.
    const std::string& getApplicationLocation() const { return applicationLocation_; }

    ApplicationUsageType getUsageType() const { return usageType_; }

    /// Whether the application id is one of a signed application (0x4000 to 0x7FFF).
    bool isInSignedRange() const { return applicationId_ >= 0x4000 && applicationId_ <= 0x7FFF; }

    /// Borrowed while the application lives; null when none was signalled.
    const ApplicationDescriptor* getApplicationDescriptor() const
    {
        return applicationDescriptor_ ? &*applicationDescriptor_ : nullptr;
    }

    /// Borrowed while the application lives; null when none was signalled.
    const ApplicationRecordingDescriptor* getApplicationRecordingDescriptor() const
    {
        return recordingDescriptor_.get();
    }

    /// The boundary as signalled and extended. Never null; borrowed while the application lives.
    ApplicationDomain* getApplicationDomain();
    const ApplicationDomain* getApplicationDomain() const;

    /// In the order of preference.
    const Transports& getTransports() const { return transports_; }
    size_t getNumTransports() const { return transports_.size(); }

    /// The integrator's handle of the channel that carries the table; passed through.
    void* getChannelHandle() const { return channelHandle_; }
    void setChannelHandle(void* handle) { channelHandle_ = handle; }

    /// @name For tables that do not come from sections
    /// The boundary is filled through getApplicationDomain().
    /// @{
    void setControlCode(ControlCode code) { controlCode_ = code; }
    void setOrganisationId(uint32_t id) { organisationId_ = id; }
    void setApplicationId(uint16_t id) { applicationId_ = id; }
    void setApplicationName(std::string name);
    void setApplicationLocation(std::string location);
    void setUsageType(ApplicationUsageType type) { usageType_ = type; }

    /// To be set before the application is inserted, since its priority decides on its place.
    void setApplicationDescriptor(ApplicationDescriptor descriptor);

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
