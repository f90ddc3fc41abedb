#include "inspector/input/input_kind.h"

#include <algorithm>
#include <cctype>

#include "foundation/text.h"
#include "inspector/input/hexadecimal_text.h"
#include "kit/ait_section.h"
#include "kit/crc32.h"

namespace inspector {

namespace {

constexpr char syncByte = 0x47;

/// Whether packets of this size, one after the other, begin at the offset: as many as there are,
/// two at the least, and three after what is left of another one.
bool packetsBeginAt(std::string_view head, size_t offset, size_t distance, bool isCut)
{
    const size_t least = isCut ? 3 : 2;
    for (size_t at = offset; at < head.size(); at += distance) {
        if (head[at] != syncByte)
            return false;
    }
    return head.size() > offset + (least - 1) * distance;
}

/// Packets of 188 bytes, of 204, and of 192 with the time before each; the first may be cut.
bool looksLikeTransportStream(std::string_view head)
{
    constexpr size_t timeSize = 4;
    for (const size_t distance : {size_t{188}, size_t{192}, size_t{204}}) {
        for (size_t offset = 0; offset < distance; ++offset) {
            if (packetsBeginAt(head, offset, distance, offset > timeSize))
                return true;
        }
    }
    return false;
}

bool beginsLikeXml(std::string_view head)
{
    for (const std::string_view mark : {"\xEF\xBB\xBF", "\xFE\xFF", "\xFF\xFE"}) {
        if (VestaHbbTV::startsWith(head, mark))
            head.remove_prefix(mark.size());
    }
    for (const char character : head) {
        // Two bytes a character: one of them is 0.
        if (character != '\0' && std::isspace(static_cast<unsigned char>(character)) == 0)
            return character == '<';
    }
    return false;
}

/// Whether there is nothing that no text has. In packets there is.
bool isText(std::string_view head)
{
    return std::none_of(head.begin(), head.end(), [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte < 0x20 && std::isspace(byte) == 0;
    });
}

bool beginsWithRightSection(std::string_view head)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(head.data());
    const size_t size = VestaHbbTV::sectionSize(bytes, head.size());
    return size != 0 && VestaHbbTV::crc32(bytes, size) == 0;
}

/// Of an AIT, which need not be right.
bool beginsLikeAit(std::string_view head)
{
    return !head.empty() && static_cast<unsigned char>(head[0]) == VestaHbbTV::AITLayout::tableId;
}

/// Whether it may be the beginning of a hexadecimal text.
bool looksLikeHexadecimalText(std::string_view head, bool isWhole)
{
    if (!isWhole) {
        const size_t end = head.find_last_of(" \t\r\n,:");
        head = head.substr(0, end == std::string_view::npos ? head.size() & ~size_t(1) : end);
    }
    return bytesOfHexadecimalText(head).has_value();
}

}  // namespace

std::string nameOf(InputKind kind)
{
    switch (kind) {
    case InputKind::Sections:
        return "sections";
    case InputKind::HexadecimalText:
        return "hexadecimal text";
    case InputKind::Xml:
        return "XML AIT";
    case InputKind::TransportStream:
        break;
    }
    return "transport stream";
}

// What is right in itself comes first: a sync byte may be anywhere in it. What only begins like a
// document comes after packets, the first of which may be cut anywhere.
InputKind kindOf(std::string_view head, bool isWhole)
{
    if (beginsLikeXml(head) && isText(head))
        return InputKind::Xml;
    if (looksLikeHexadecimalText(head, isWhole))
        return InputKind::HexadecimalText;
    if (beginsWithRightSection(head))
        return InputKind::Sections;
    if (looksLikeTransportStream(head))
        return InputKind::TransportStream;
    if (beginsLikeXml(head))
        return InputKind::Xml;
    return beginsLikeAit(head) ? InputKind::Sections : InputKind::TransportStream;
}

}  // namespace inspector
