#include "replay/base64.h"

#include <cstdint>

namespace replay {

namespace {

const std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
const size_t groupSize = 4;

}  // namespace

std::optional<std::string> fromBase64(std::string_view text)
{
    if (text.size() % groupSize != 0)
        return std::nullopt;
    const size_t end = text.find('=');
    const std::string_view digits = text.substr(0, end);
    const std::string_view padding = text.substr(digits.size());
    if (padding.size() > 2 || padding.find_first_not_of('=') != std::string_view::npos)
        return std::nullopt;
    std::string bytes;
    bytes.reserve(text.size() / groupSize * 3);
    uint32_t bits = 0;
    unsigned int count = 0;
    for (const char character : digits) {
        const size_t value = alphabet.find(character);
        if (value == std::string_view::npos)
            return std::nullopt;
        bits = bits << 6 | static_cast<uint32_t>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFF);
        }
    }
    return bytes;
}

}  // namespace replay
