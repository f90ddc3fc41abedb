/// Bytes that a text writes in hexadecimal.
#ifndef VESTA_INSPECTOR_INPUT_HEXADECIMAL_TEXT_H
#define VESTA_INSPECTOR_INPUT_HEXADECIMAL_TEXT_H

#include <optional>
#include <string>
#include <string_view>

namespace inspector {

/// Two digits each, with "0x" before it or not, between blanks, commas or colons or none; comments
/// begin with "#" or as in C. Of a C array counts what is in its braces. Where the first line
/// begins with an offset of 0 (four digits at least), as dumps do, each line begins with its own,
/// and what people read beside the bytes is left out.
/// @return nothing where there is anything else, or no byte
std::optional<std::string> bytesOfHexadecimalText(std::string_view text);

}  // namespace inspector

#endif
