/// What the kit's guard says of a section of an AIT.
#ifndef VESTA_INSPECTOR_SURVEY_SECTION_GUARD_H
#define VESTA_INSPECTOR_SURVEY_SECTION_GUARD_H

#include <vector>

#include "kit/ait_section.h"
#include "receiver/stream/section_assembler.h"

namespace inspector {

/// @param section as it came
/// @return all reasons for which the feed, or the application manager without it, refuses the
///         section; of those that end the look at it, the first
std::vector<VestaHbbTV::SectionFinding> guard(const receiver::SectionBytes& section);

}  // namespace inspector

#endif
