#include "replay/base64.h"

#include <cstdint>

namespace replay {

namespace {

const std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
const size_t groupSize = 4;

}  // namespace

std::string toBase64(std::string_view bytes)
{
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * groupSize);
    for (size_t place = 0; place < bytes.size(); place += 3) {
        uint32_t group = 0;
        for (size_t offset = 0; offset < 3; ++offset) {
            const bool isThere = place + offset < bytes.size();
            group = group << 8 | (isThere ? static_cast<uint8_t>(bytes[place + offset]) : 0U);
        }
        const size_t characters = bytes.size() - place < 3 ? bytes.size() - place + 1 : groupSize;
        for (size_t offset = 0; offset < groupSize; ++offset)
            text += offset < characters ? alphabet[group >> (18 - 6 * offset) & 0x3F] : '=';
    }
    return text;
}

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
