/// What a viewer sees, hears and reads of a service, by its PMT and its present event.
#ifndef VESTA_RECEIVER_SERVICE_COMPONENTS_H
#define VESTA_RECEIVER_SERVICE_COMPONENTS_H

#include <vector>

#include "receiver/objects/service_information_source.h"
#include "receiver/stream/section_assembler.h"

namespace receiver {

/// @param pmt a section of a PMT
/// @param presentEvent the descriptors of the present event: its component descriptors say more of
///        streams with a component tag (ETSI EN 300 468, 6.2.8)
/// @return in the order of the PMT; a stream with subtitles of several languages is one component
///         for each. A stream that does not fit ends the list.
std::vector<Component> readComponents(const SectionBytes& pmt,
                                      const std::vector<unsigned char>& presentEvent);

}  // namespace receiver

#endif
