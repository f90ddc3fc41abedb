#include "recorder/base64.h"

namespace recorder {

namespace {

const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// @param count the bytes that are left, of which up to three are taken
void writeGroup(char* text, const unsigned char* bytes, size_t count)
{
    const unsigned second = count > 1 ? bytes[1] : 0u;
    const unsigned third = count > 2 ? bytes[2] : 0u;
    text[0] = digits[bytes[0] >> 2];
    text[1] = digits[(bytes[0] & 0x3u) << 4 | second >> 4];
    text[2] = count > 1 ? digits[(second & 0xFu) << 2 | third >> 6] : '=';
    text[3] = count > 2 ? digits[third & 0x3Fu] : '=';
}

}  // namespace

void appendBase64(std::string& text, const void* bytes, size_t length)
{
    const auto* next = static_cast<const unsigned char*>(bytes);
    size_t place = text.size();
    text.resize(place + (length + 2) / 3 * 4);
    for (size_t left = length; left > 0; left -= left < 3 ? left : 3) {
        writeGroup(&text[place], next, left);
        next += 3;
        place += 4;
    }
}

}  // namespace recorder
