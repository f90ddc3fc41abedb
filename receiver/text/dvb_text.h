/// Text as broadcasts write it (ETSI EN 300 468, annex A).
#ifndef VESTA_RECEIVER_TEXT_DVB_TEXT_H
#define VESTA_RECEIVER_TEXT_DVB_TEXT_H

#include <string>

namespace receiver {

/// Decodes a text by the character table that its first bytes select. What the table does not have
/// becomes U+FFFD and the rest is kept; so is the ASCII of a text in an unknown table.
/// A line break becomes a blank, other control codes are left out.
/// @return UTF-8 in one line
std::string decodeDvbText(const std::string& text);

}  // namespace receiver

#endif
