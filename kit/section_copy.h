/// The copy of a section that the application manager gets.
#ifndef VESTA_KIT_SECTION_COPY_H
#define VESTA_KIT_SECTION_COPY_H

#include "kit/ait_section.h"

namespace VestaHbbTV {

/// A version of HbbTV as profiles in an AIT name it; 1.2.1 is that of ETSI TS 102 796 V1.2.1.
struct HbbTVVersion {
    uint8_t major = 0;
    uint8_t minor = 0;
    uint8_t micro = 0;
};

/// What is changed in the copy.
struct CopyChanges {
    /// The application manager refuses every application with a descriptor of length 0, though it
    /// says nothing and is on air: it is taken out.
    bool takesOutEmptyDescriptors = true;
    /// Profiles of versions up to this one ask for 1.1.1 in the copy, which every terminal claims.
    /// 0.0.0: none is changed.
    HbbTVVersion carriedVersion;
};

/// @param section found right by examineSection()
/// @return with right lengths, but the checksum of before
Section copySection(ByteReader section, const CopyChanges& changes);

}  // namespace VestaHbbTV

#endif
