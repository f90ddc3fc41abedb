/// The words of a command line, and what they can stand for.
#ifndef VESTA_RECEIVER_CONSOLE_WORDS_H
#define VESTA_RECEIVER_CONSOLE_WORDS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace receiver {

using Words = std::vector<std::string>;

/// Splits a line at blanks; "double quotes" keep blanks together, # begins a comment.
/// @return nothing when a quotation does not end
std::optional<Words> splitWords(const std::string& line);

/// A whole number from 0 to `most`, decimal or with 0x.
std::optional<uint32_t> wholeNumber(const std::string& text, uint32_t most = 0xFFFFFFFF);

/// A decimal number above 0, and below 1e9.
std::optional<double> positiveNumber(const std::string& text);

/// The ids of an application.
struct Ids {
    uint32_t organisationId;
    uint16_t applicationId;
};

/// "a.2a01": organisation and application id in hexadecimal.
std::optional<Ids> idsFrom(const std::string& text);

/// The names of the groups of keys, in the order of their bits in a key set (OIPF DAE, 7.2.5).
const std::vector<std::string>& keyGroups();

/// The key set of "RED+GREEN+NAVIGATION" or of a number.
std::optional<uint32_t> keySetFrom(const std::string& text);

/// "on" or "off".
std::optional<bool> switchFrom(const std::string& text);

}  // namespace receiver

#endif
