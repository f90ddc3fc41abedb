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
#include "foundation/small_vector.h"
#include "foundation/visibility.h"
#include "security/application_domain.h"
#include "signalling/ait_application_transport.h"

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

    /// A terminal profile with which an application works.
    /// @thread{one at a time} @since 1.0
    class VESTA_EXPORTED PlatformProfile {
    public:
        /// Bytes that one profile takes in an application descriptor.
        static constexpr unsigned size = 5;

        /// Any terminal: no bits, version 0.0.0.
        PlatformProfile() : PlatformProfile(0, 0, 0, 0) {}

        /// Reads a profile of an application descriptor.
        /// @param fiveBytes the profile as signalled: mask, then major, minor and micro version;
        ///        null gives that of any terminal
        explicit PlatformProfile(const unsigned char* fiveBytes);

        /// Any terminal with these profile bits, of this version or a newer one.
        /// @param profile mask of application profile bits
        PlatformProfile(uint16_t profile, uint8_t major, uint8_t minor, uint8_t micro)
            : profile_(profile), major_(major), minor_(minor), micro_(micro)
        {
        }

        /// Whether a terminal of these profiles and of this version runs the application: it has
        /// every profile bit that the application asks for, and the application's version is not
        /// newer.
        bool isCompatible(unsigned short profile, unsigned char major, unsigned char minor,
                          unsigned char micro) const;

        /// The mask of the profile bits that a terminal must have.
        uint16_t getApplicationProfile() const { return profile_; }

        /// The first number of the oldest version that a terminal may have.
        uint8_t getVersionMajor() const { return major_; }

        /// Its second number.
        uint8_t getVersionMinor() const { return minor_; }

        /// Its third number.
        uint8_t getVersionMicro() const { return micro_; }

    private:
        uint16_t profile_;
        uint8_t major_;
        uint8_t minor_;
        uint8_t micro_;
    };

    /// application_descriptor() of an AIT entry (ETSI TS 102 809, 5.3.5.3).
    /// @thread{one at a time} @since 1.0
    class VESTA_EXPORTED ApplicationDescriptor {
    public:
        // Applications on air list one profile and one or two transports.
        using PlatformProfiles = SmallVector<PlatformProfile, 2>;  ///< any one of them will do
        using Labels = SmallVector<uint8_t, 8>;                    ///< of transports

        /// No profiles, no labels, flags and numbers 0.
        ApplicationDescriptor() = default;

        /// Reads a descriptor. Never fails: reading stops where the descriptor ends, and what was
        /// read is kept.
        /// @param descriptor points at the tag, borrowed for the call; its own length byte bounds
        ///        what is read; null gives an empty one
        explicit ApplicationDescriptor(const unsigned char* descriptor);

        /// Reads the rest of a descriptor, likewise.
        /// @param payload the descriptor without its tag and length
        explicit ApplicationDescriptor(ByteReader payload);

        /// The terminals on which the application runs, in the order of signalling. Borrowed while
        /// the descriptor lives.
        const PlatformProfiles& getPlatformProfiles() const { return profiles_; }

        /// The labels of transports in the order of signalling, which is the order of preference.
        /// Borrowed while the descriptor lives.
        const Labels& getTransportProtocolLabels() const { return labels_; }

        /// Whether the application ends with the service that signals it.
        bool isServiceBound() const { return serviceBound_; }

        /// Decides on the place in the table: 255 comes first.
        uint8_t getApplicationPriority() const { return priority_; }

        /// Who may see the application: 0 to 3 as signalled, or any value that was set. Only
        /// logged.
        int getVisibility() const { return visibility_; }

        /// @name For tables that do not come from sections
        /// @{

        /// Appends a profile; without any the application runs nowhere.
        void addPlatformProfile(const PlatformProfile& profile) { profiles_.push_back(profile); }

        /// Appends a label. Adding the transport is for AITApplication::addTransport().
        void addTransportProtocolLabel(uint8_t label) { labels_.push_back(label); }

        /// Says whether the application ends with its service.
        void setServiceBound(bool serviceBound) { serviceBound_ = serviceBound; }

        /// Decides on the place in the table, if the application is not yet there: 255 comes first.
        void setApplicationPriority(uint8_t priority) { priority_ = priority; }

        /// Stores any value, though only 0 to 3 can be signalled.
        void setVisibility(int visibility) { visibility_ = visibility; }
        /// @}

    private:
        VESTA_HIDDEN void parsePayload(ByteReader payload);

        PlatformProfiles profiles_;
        Labels labels_;
        int visibility_ = 0;
        uint8_t priority_ = 0;
        bool serviceBound_ = false;
    };

    /// application_recording_descriptor() of an AIT entry (ETSI TS 102 809, 5.3.5.4). The library
    /// acts on two of its flags: an application runs in time shift only where both
    /// trick_mode_aware_flag and time_shift_flag are set.
    /// @thread{one at a time} @since 1.0
    class VESTA_EXPORTED ApplicationRecordingDescriptor {
    public:
        /// No flag set, no component tags.
        ApplicationRecordingDescriptor() = default;

        /// Reads a descriptor. Never fails: reading stops where the descriptor ends, and what was
        /// read is kept.
        /// @param descriptor points at the tag, borrowed for the call; its own length byte bounds
        ///        what is read; null gives an empty one
        explicit ApplicationRecordingDescriptor(const unsigned char* descriptor);

        /// Reads the rest of a descriptor, likewise.
        /// @param payload the descriptor without its tag and length
        explicit ApplicationRecordingDescriptor(ByteReader payload);

        /// scheduled_recording_flag: whether the application is for scheduled recordings.
        bool isScheduledRecording() const { return scheduledRecording_; }

        /// trick_mode_aware_flag: whether the application copes with pauses and jumps.
        bool isTrickModeAware() const { return trickModeAware_; }

        /// time_shift_flag: whether the application is for time shift.
        bool isTimeShift() const { return timeShift_; }

        /// dynamic_flag: whether the application relies on data that change on air.
        bool isDynamic() const { return dynamic_; }

        /// av_synced_flag: whether the application relies on stream events.
        bool isAVSynced() const { return avSynced_; }

        /// initiating_replay_flag: whether the application starts the replay of the recording
        /// itself.
        bool isInitiatingReplay() const { return initiatingReplay_; }

        /// The component tags of the streams that are recorded with it, in the order of signalling.
        /// A list with which the descriptor ends is not read. Borrowed while the descriptor lives.
        const std::vector<uint8_t>& getComponentTags() const { return componentTags_; }

        /// @name For tables that do not come from sections
        /// @{

        /// Sets scheduled_recording_flag; isScheduledRecording() says what it means.
        void setScheduledRecording(bool scheduled) { scheduledRecording_ = scheduled; }

        /// Sets trick_mode_aware_flag; isTrickModeAware() says what it means.
        void setTrickModeAware(bool aware) { trickModeAware_ = aware; }

        /// Sets time_shift_flag; isTimeShift() says what it means.
        void setTimeShift(bool timeShift) { timeShift_ = timeShift; }

        /// Sets dynamic_flag; isDynamic() says what it means.
        void setDynamic(bool dynamic) { dynamic_ = dynamic; }

        /// Sets av_synced_flag; isAVSynced() says what it means.
        void setAVSynced(bool synced) { avSynced_ = synced; }

        /// Sets initiating_replay_flag; isInitiatingReplay() says what it means.
        void setInitiatingReplay(bool initiating) { initiatingReplay_ = initiating; }

        /// Appends a stream of the service that is recorded with the application.
        void addComponentTag(uint8_t tag) { componentTags_.push_back(tag); }
        /// @}

    private:
        VESTA_HIDDEN void parsePayload(ByteReader payload);

        bool scheduledRecording_ = false;
        bool trickModeAware_ = false;
        bool timeShift_ = false;
        bool dynamic_ = false;
        bool avSynced_ = false;
        bool initiatingReplay_ = false;
        std::vector<uint8_t> componentTags_;
    };

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
