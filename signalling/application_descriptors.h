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
class VESTA_EXPORTED PlatformProfile {
public:
    /// Bytes that one profile takes in an application descriptor.
    static constexpr unsigned size = 5;

    /// Any terminal: no bits, version 0.0.0.
    PlatformProfile() = default;

    /// @param fiveBytes the profile as signalled: mask, then major, minor and micro version; null
    ///        gives that of any terminal
    explicit PlatformProfile(const unsigned char* fiveBytes);

    /// @param profile mask of application profile bits
    PlatformProfile(uint16_t profile, uint8_t major, uint8_t minor, uint8_t micro)
        : profile_(profile), major_(major), minor_(minor), micro_(micro)
    {
    }

    /// Whether a terminal of these profiles and of this version runs the application: it has every
    /// profile bit that the application asks for, and the application's version is not newer.
    bool isCompatible(unsigned short profile, unsigned char major, unsigned char minor,
                      unsigned char micro) const;

    uint16_t getApplicationProfile() const { return profile_; }
    uint8_t getVersionMajor() const { return major_; }
    uint8_t getVersionMinor() const { return minor_; }
    uint8_t getVersionMicro() const { return micro_; }

private:
    uint16_t profile_ = 0;
    uint8_t major_ = 0;
    uint8_t minor_ = 0;
    uint8_t micro_ = 0;
};

/// application_descriptor() of an AIT entry. AITApplication names it `ApplicationDescriptor`.
class VESTA_EXPORTED ApplicationDescriptor {
public:
    // Applications on air list one profile and one or two transports.
    using PlatformProfiles = SmallVector<PlatformProfile, 2>;
    using Labels = SmallVector<uint8_t, 8>;

    /// No profiles, no labels, flags and numbers 0.
    ApplicationDescriptor() = default;

    /// Never fails: reading stops where the descriptor ends, and what was read is kept.
    /// @param descriptor points at the tag; its own length byte bounds what is read; null gives an
    ///        empty one
    explicit ApplicationDescriptor(const unsigned char* descriptor);

    /// @param payload the descriptor without its tag and length
    explicit ApplicationDescriptor(ByteReader payload);

    /// In the order of signalling.
    const PlatformProfiles& getPlatformProfiles() const { return profiles_; }

    /// In the order of signalling, which is the order of preference.
    const Labels& getTransportProtocolLabels() const { return labels_; }

    bool isServiceBound() const { return serviceBound_; }
    uint8_t getApplicationPriority() const { return priority_; }

    /// 0 to 3 as signalled.
    int getVisibility() const { return visibility_; }

    /// @name For tables that do not come from sections
    /// @{
    void addPlatformProfile(const PlatformProfile& profile) { profiles_.push_back(profile); }
    void addTransportProtocolLabel(uint8_t label) { labels_.push_back(label); }
    void setServiceBound(bool serviceBound) { serviceBound_ = serviceBound; }
    void setApplicationPriority(uint8_t priority) { priority_ = priority; }
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

/// application_recording_descriptor() of an AIT entry. AITApplication names it
/// `ApplicationRecordingDescriptor`.
class VESTA_EXPORTED ApplicationRecordingDescriptor {
public:
    /// No flag set, no component tags.
    ApplicationRecordingDescriptor() = default;

    /// Never fails: reading stops where the descriptor ends, and what was read is kept.
    /// @param descriptor points at the tag; its own length byte bounds what is read; null gives an
    ///        empty one
    explicit ApplicationRecordingDescriptor(const unsigned char* descriptor);

    /// @param payload the descriptor without its tag and length
    explicit ApplicationRecordingDescriptor(ByteReader payload);

    bool isScheduledRecording() const { return scheduledRecording_; }
    bool isTrickModeAware() const { return trickModeAware_; }
    bool isTimeShift() const { return timeShift_; }
    bool isDynamic() const { return dynamic_; }
    bool isAVSynced() const { return avSynced_; }
    bool isInitiatingReplay() const { return initiatingReplay_; }

    const std::vector<uint8_t>& getComponentTags() const { return componentTags_; }

    /// @name For tables that do not come from sections
    /// @{
    void setScheduledRecording(bool scheduled) { scheduledRecording_ = scheduled; }
    void setTrickModeAware(bool aware) { trickModeAware_ = aware; }
    void setTimeShift(bool timeShift) { timeShift_ = timeShift; }
    void setDynamic(bool dynamic) { dynamic_ = dynamic; }
    void setAVSynced(bool synced) { avSynced_ = synced; }
    void setInitiatingReplay(bool initiating) { initiatingReplay_ = initiating; }
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
