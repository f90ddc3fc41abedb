#include "recorder/boundary/base64.h"

namespace recorder {

namespace {

const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

void writeGroup(char* text, unsigned bytes)
{
    text[0] = digits[bytes >> 18];
    text[1] = digits[bytes >> 12 & 0x3F];
    text[2] = digits[bytes >> 6 & 0x3F];
    text[3] = digits[bytes & 0x3F];
}

}  // namespace

void appendBase64(std::string& text, const void* bytes, size_t length)
{
    const auto* next = static_cast<const unsigned char*>(bytes);
    const size_t place = text.size();
    text.resize(place + (length + 2) / 3 * 4, '=');
    char* group = text.data() + place;
    for (; length >= 3; length -= 3, next += 3, group += 4)
        writeGroup(group, static_cast<unsigned>(next[0] << 16 | next[1] << 8 | next[2]));
    if (length == 0)
        return;
    const bool hasSecond = length == 2;
    writeGroup(group, static_cast<unsigned>(next[0] << 16 | (hasSecond ? next[1] << 8 : 0)));
    group[3] = '=';
    if (!hasSecond)
        group[2] = '=';
}

}  // namespace recorder
