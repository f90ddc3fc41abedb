// What an AIT entry says of an application in descriptors of their own: on which terminals it may
// run, how it is ranked and reached, and how recordings treat it.

#include <cstddef>

#include "foundation/descriptor.h"
#include "signalling/ait_application.h"

namespace VestaHbbTV {

AITApplication::PlatformProfile::PlatformProfile(const unsigned char* fiveBytes) : PlatformProfile()
{
    ByteReader reader(fiveBytes, fiveBytes ? size : size_t{0});
    profile_ = reader.u16();
    major_ = reader.u8();
    minor_ = reader.u8();
    micro_ = reader.u8();
}

bool AITApplication::PlatformProfile::isCompatible(unsigned short profile, unsigned char major,
                                                   unsigned char minor, unsigned char micro) const
{
    if ((profile_ & profile) != profile_)
        return false;
    if (major_ != major)
        return major_ < major;
    if (minor_ != minor)
        return minor_ < minor;
    return micro_ <= micro;
}

AITApplication::ApplicationDescriptor::ApplicationDescriptor(const unsigned char* descriptor)
{
    parsePayload(descriptorPayload(descriptor));
}

AITApplication::ApplicationDescriptor::ApplicationDescriptor(ByteReader payload)
{
    parsePayload(payload);
}

// application_descriptor(): ETSI TS 102 809, 5.3.5.3. Where the profiles overrun the descriptor,
// nothing is kept; any other field that is missing stays 0.
void AITApplication::ApplicationDescriptor::parsePayload(ByteReader payload)
{
    const uint8_t profilesLength = payload.u8();
    if (profilesLength > payload.remaining())
        return;
    // Deliberate: a partial last profile is not skipped; the flags follow the last whole one.
    for (size_t n = profilesLength / PlatformProfile::size; n > 0; --n)
        profiles_.push_back(PlatformProfile(payload.take(PlatformProfile::size).data()));
    const uint8_t flags = payload.u8();
    serviceBound_ = (flags & 0x80) != 0;
    visibility_ = (flags >> 5) & 0x03;
    priority_ = payload.u8();
    if (!payload.empty())
        labels_.assign(payload.data(), payload.remaining());
}

AITApplication::ApplicationRecordingDescriptor::ApplicationRecordingDescriptor(
    const unsigned char* descriptor)
{
    parsePayload(descriptorPayload(descriptor));
}

AITApplication::ApplicationRecordingDescriptor::ApplicationRecordingDescriptor(ByteReader payload)
{
    parsePayload(payload);
}

// application_recording_descriptor(): ETSI TS 102 809, 5.3.5.4. Where labels or component tags
// overrun the descriptor, the flags are kept.
void AITApplication::ApplicationRecordingDescriptor::parsePayload(ByteReader payload)
{
    const uint8_t flags = payload.u8();
    scheduledRecording_ = (flags & 0x80) != 0;
    trickModeAware_ = (flags & 0x40) != 0;
    timeShift_ = (flags & 0x20) != 0;
    dynamic_ = (flags & 0x10) != 0;
    avSynced_ = (flags & 0x08) != 0;
    initiatingReplay_ = (flags & 0x04) != 0;
    for (uint8_t labels = payload.u8(); labels > 0 && payload.ok(); --labels) {
        const uint8_t labelLength = payload.u8();
        payload.skip(labelLength + size_t{1});  // the label and its storage properties
    }
    const uint8_t tagCount = payload.u8();
    // Deliberate: a list that ends exactly where the descriptor ends is not read. That covers the
    // empty list at the end, and an overrun above, which leaves nothing to read.
    if (tagCount < payload.remaining())
        componentTags_.assign(payload.data(), payload.data() + tagCount);
}

}  // namespace VestaHbbTV
