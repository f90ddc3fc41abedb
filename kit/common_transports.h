/// Transports that a table gives all its applications, by their labels.
#ifndef VESTA_KIT_COMMON_TRANSPORTS_H
#define VESTA_KIT_COMMON_TRANSPORTS_H

#include <cstdint>
#include <map>

#include "kit/table_collector.h"

namespace VestaHbbTV {

/// The payloads of transport protocol descriptors.
using CommonTransports = std::map<uint8_t, Section>;

/// Adds those of a table, of which the first of each label counts.
/// @param table of sections that were found right @param transports of other tables
/// @return false where another table has another one of the same label: applications of one would
///         get that of the other
bool addCommonTransports(const WholeTable& table, CommonTransports& transports);

}  // namespace VestaHbbTV

#endif
