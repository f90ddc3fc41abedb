/// What the kit's guard says of a section of an AIT.
#ifndef VESTA_INSPECTOR_SURVEY_SECTION_GUARD_H
#define VESTA_INSPECTOR_SURVEY_SECTION_GUARD_H

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "kit/ait_section.h"
#include "receiver/stream/section_assembler.h"

namespace inspector {

/// organisation_id and application_id
using ApplicationId = std::pair<uint32_t, uint16_t>;

struct GuardFinding : VestaHbbTV::SectionFinding {
    std::optional<ApplicationId> application;  ///< in which it is
};

/// @param section as it came
/// @return all reasons for which the feed, or the application manager without it, refuses the
///         section: of those that end the look at it the first, and of descriptors that are empty
///         the first of each application
std::vector<GuardFinding> guard(const receiver::SectionBytes& section);

}  // namespace inspector

#endif
