/// @file
/// What an AIT entry says of an application in descriptors of their own: on which terminals it may
/// run, how it is ranked and reached, and how recordings treat it.
#ifndef VESTA_SIGNALLING_APPLICATION_DESCRIPTORS_H
#define VESTA_SIGNALLING_APPLICATION_DESCRIPTORS_H

#include <cstdint>
#include <vector>

#include "foundation/byte_reader.h"
#include "foundation/small_vector.h"
#include "foundation/visibility.h"

namespace VestaHbbTV {

/// A terminal profile with which an application works. AITApplication names it `PlatformProfile`.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED PlatformProfile {
public:
    /// Bytes that one profile takes in an application descriptor.
    static constexpr unsigned size = 5;

    /// Any terminal: no bits, version 0.0.0.
    PlatformProfile() = default;

    /// Reads a profile of an application descriptor.
    /// @param fiveBytes the profile as signalled: mask, then major, minor and micro version; null
    ///        gives that of any terminal
    explicit PlatformProfile(const unsigned char* fiveBytes);

    /// Any terminal with these profile bits, of this version or a newer one.
    /// @param profile mask of application profile bits
    PlatformProfile(uint16_t profile, uint8_t major, uint8_t minor, uint8_t micro)
        : profile_(profile), major_(major), minor_(minor), micro_(micro)
    {
    }

    /// Whether a terminal of these profiles and of this version runs the application: it has every
    /// profile bit that the application asks for, and the application's version is not newer.
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
    uint16_t profile_ = 0;
    uint8_t major_ = 0;
    uint8_t minor_ = 0;
    uint8_t micro_ = 0;
};

/// application_descriptor() of an AIT entry (ETSI TS 102 809, 5.3.5.3). AITApplication names it
/// `ApplicationDescriptor`.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED ApplicationDescriptor {
public:
    // Applications on air list one profile and one or two transports.
    using PlatformProfiles = SmallVector<PlatformProfile, 2>;  ///< any one of them will do
    using Labels = SmallVector<uint8_t, 8>;                    ///< of transports

    /// No profiles, no labels, flags and numbers 0.
    ApplicationDescriptor() = default;

    /// Reads a descriptor. Never fails: reading stops where the descriptor ends, and what was read
    /// is kept.
    /// @param descriptor points at the tag, borrowed for the call; its own length byte bounds what
    ///        is read; null gives an empty one
    explicit ApplicationDescriptor(const unsigned char* descriptor);

    /// Reads the rest of a descriptor, likewise.
    /// @param payload the descriptor without its tag and length
    explicit ApplicationDescriptor(ByteReader payload);

    /// The terminals on which the application runs, in the order of signalling. Borrowed while the
    /// descriptor lives.
    const PlatformProfiles& getPlatformProfiles() const { return profiles_; }

    /// The labels of transports in the order of signalling, which is the order of preference.
    /// Borrowed while the descriptor lives.
    const Labels& getTransportProtocolLabels() const { return labels_; }

    /// Whether the application ends with the service that signals it.
    bool isServiceBound() const { return serviceBound_; }

    /// Decides on the place in the table: 255 comes first.
    uint8_t getApplicationPriority() const { return priority_; }

    /// Who may see the application: 0 to 3 as signalled, or any value that was set. Only logged.
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

/// application_recording_descriptor() of an AIT entry (ETSI TS 102 809, 5.3.5.4). AITApplication
/// names it `ApplicationRecordingDescriptor`. The library acts on two of its flags: an application
/// runs in time shift only where both trick_mode_aware_flag and time_shift_flag are set.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED ApplicationRecordingDescriptor {
public:
    /// No flag set, no component tags.
    ApplicationRecordingDescriptor() = default;

    /// Reads a descriptor. Never fails: reading stops where the descriptor ends, and what was read
    /// is kept.
    /// @param descriptor points at the tag, borrowed for the call; its own length byte bounds what
    ///        is read; null gives an empty one
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

    /// initiating_replay_flag: whether the application starts the replay of the recording itself.
    bool isInitiatingReplay() const { return initiatingReplay_; }

    /// The component tags of the streams that are recorded with it, in the order of signalling. A
    /// list with which the descriptor ends is not read. Borrowed while the descriptor lives.
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

}  // namespace VestaHbbTV

#endif
