#include "recorder/boundary/json_text.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace recorder {

namespace {

const char hexDigits[] = "0123456789abcdef";

template <typename Integer>
void appendDigits(std::string& json, Integer value)
{
    char digits[24];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof(digits), value);
    json.append(digits, end.ptr);
}

/// Browsers follow the user's locale, whose decimal point may be any character; JSON's is a full
/// stop.
void appendInCLocale(std::string& json, const char* number)
{
    for (; *number != '\0'; ++number) {
        if (std::strchr("+-0123456789e", *number))
            json += *number;
        else if (json.back() != '.')
            json += '.';
    }
}

}  // namespace

void appendHex(std::string& json, const unsigned char* bytes, size_t length)
{
    json.reserve(json.size() + 2 * length);
    for (size_t place = 0; place < length; ++place) {
        json += hexDigits[bytes[place] >> 4];
        json += hexDigits[bytes[place] & 0xF];
    }
}

void appendString(std::string& json, std::string_view bytes)
{
    json += '"';
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte > 0x7E) {
            json += "\\u00";
            appendHex(json, &byte, 1);
        } else {
            if (character == '"' || character == '\\')
                json += '\\';
            json += character;
        }
    }
    json += '"';
}

void appendDouble(std::string& json, double value)
{
    if (std::isnan(value)) {
        json += "\"nan\"";
    } else if (std::isinf(value)) {
        json += value > 0 ? "\"inf\"" : "\"-inf\"";
    } else {
        char digits[40];
        std::snprintf(digits, sizeof(digits), "%.17g", value);
        appendInCLocale(json, digits);
    }
}

void appendInteger(std::string& json, long long value)
{
    appendDigits(json, value);
}

void appendInteger(std::string& json, unsigned long long value)
{
    appendDigits(json, value);
}

}  // namespace recorder
