#include "receiver/text/printable.h"

#include <cstdint>
#include <cstdio>

namespace receiver {

namespace {

struct Character {
    uint32_t code = 0;
    size_t size = 0;  ///< in bytes; 0: the first byte begins no character
};

/// @return the size that a first byte announces; 0 for none
size_t announcedSize(unsigned char first)
{
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first < 0xE0)  // C0 and C1 could begin long forms of ASCII alone
        return 2;
    if (first >= 0xE0 && first < 0xF0)
        return 3;
    return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

/// Characters in longer forms than they need, surrogates and numbers beyond Unicode are none.
bool isCharacter(uint32_t code, size_t size)
{
    const uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    return code >= least[size] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

/// @param text not empty
Character firstCharacter(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    const size_t size = announcedSize(first);
    if (size == 0 || size > text.size())
        return {};
    uint32_t code = size == 1 ? first : first & (0x7Fu >> size);
    for (size_t at = 1; at < size; ++at) {
        const auto next = static_cast<unsigned char>(text[at]);
        if ((next & 0xC0) != 0x80)
            return {};
        code = code << 6 | (next & 0x3F);
    }
    return isCharacter(code, size) ? Character{code, size} : Character{};
}

bool isControl(uint32_t code)
{
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

/// Line and paragraph separators, marks, embeddings, overrides and isolates of a direction, marks
/// of shapes, of byte order and of annotations: nobody sees them, only what they do to the rest.
bool changesTheLine(uint32_t code)
{
    return code == 0x061C || code == 0x200E || code == 0x200F ||
           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x206F) ||
           code == 0xFEFF || (code >= 0xFFF9 && code <= 0xFFFB);
}

}  // namespace

std::string printable(std::string_view text)
{
    std::string clean;
    while (!text.empty()) {
        const Character character = firstCharacter(text);
        const bool isShown =
            character.size != 0 && !isControl(character.code) && !changesTheLine(character.code);
        const size_t size = character.size != 0 ? character.size : 1;
        clean += isShown ? text.substr(0, size) : replacementCharacter;
        text.remove_prefix(size);
    }
    return clean;
}

std::string withoutOtherBytes(std::string_view bytes)
{
    std::string text;
    while (!bytes.empty()) {
        const Character character = firstCharacter(bytes);
        if (character.code != 0)
            text += bytes.substr(0, character.size);
        bytes.remove_prefix(character.size != 0 ? character.size : 1);
    }
    return text;
}

std::string printableJson(std::string_view json)
{
    std::string clean;
    while (!json.empty()) {
        const Character character = firstCharacter(json);
        const size_t size = character.size != 0 ? character.size : 1;
        if (character.size != 0 && (isControl(character.code) || changesTheLine(character.code))) {
            char escape[sizeof("\\u0000")];
            std::snprintf(escape, sizeof(escape), "\\u%04x", character.code & 0xFFFFu);
            clean += escape;
        } else {
            clean += json.substr(0, size);
        }
        json.remove_prefix(size);
    }
    return clean;
}

}  // namespace receiver
