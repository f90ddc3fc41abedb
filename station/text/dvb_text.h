/// Text as broadcasts write it (ETSI EN 300 468, annex A).
#ifndef VESTA_STATION_TEXT_DVB_TEXT_H
#define VESTA_STATION_TEXT_DVB_TEXT_H

#include <string>

namespace station {

/// @param text UTF-8
/// @return the text as it is where every character is printable ASCII, which the default table has
///         in the same places; else UTF-8, with the byte that says so
std::string encodeDvbText(const std::string& text);

}  // namespace station

#endif
