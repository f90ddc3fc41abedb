/// What several readers of text need to know of it.
#ifndef VESTA_FOUNDATION_TEXT_H
#define VESTA_FOUNDATION_TEXT_H

#include <string_view>

namespace VestaHbbTV {

/// Whether the text begins with the prefix, case-sensitively; an empty prefix always matches.
constexpr bool startsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

/// The value of a hexadecimal digit of either case, -1 for any other character.
constexpr int hexadecimalDigit(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

}  // namespace VestaHbbTV

#endif
