/// JSON as a record has it: ASCII, one object a line.
#ifndef VESTA_RECORDER_BOUNDARY_JSON_TEXT_H
#define VESTA_RECORDER_BOUNDARY_JSON_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

namespace recorder {

/// Two lower-case digits a byte.
void appendHex(std::string& json, const unsigned char* bytes, size_t length);

/// A string that stands for bytes, one character each: whatever is not printable ASCII is \u00XX.
void appendString(std::string& json, std::string_view bytes);

/// As many digits as it takes to read the same number again; what is not a number, or not finite,
/// is one of the strings "nan", "inf" and "-inf".
void appendDouble(std::string& json, double value);

void appendInteger(std::string& json, long long value);
void appendInteger(std::string& json, unsigned long long value);

/// Numbers, truth values and enumerations.
template <typename Value>
void appendNumber(std::string& json, Value value)
{
    if constexpr (std::is_enum_v<Value>)
        appendNumber(json, static_cast<std::underlying_type_t<Value>>(value));
    else if constexpr (std::is_same_v<Value, bool>)
        json += value ? "true" : "false";
    else if constexpr (std::is_floating_point_v<Value>)
        appendDouble(json, value);
    else if constexpr (std::is_signed_v<Value>)
        appendInteger(json, static_cast<long long>(value));
    else
        appendInteger(json, static_cast<unsigned long long>(value));
}

}  // namespace recorder

#endif
