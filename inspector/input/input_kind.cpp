#include "inspector/input/input_kind.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "foundation/text.h"
#include "kit/ait_section.h"
#include "kit/crc32.h"

namespace inspector {

namespace {

constexpr char syncByte = 0x47;

/// Whether packets of this size, one after the other, begin at the offset: three of them, or as
/// many as there are.
bool packetsBeginAt(std::string_view head, size_t offset, size_t distance)
{
    const size_t end = std::min(head.size(), offset + 2 * distance + 1);
    for (size_t at = offset; at < end; at += distance) {
        if (head[at] != syncByte)
            return false;
    }
    return head.size() > offset + distance;
}

/// Packets of 188 bytes, of 204, and of 192 with the time before each; the first may be cut.
bool looksLikeTransportStream(std::string_view head)
{
    for (const size_t distance : {size_t{188}, size_t{192}, size_t{204}}) {
        for (size_t offset = 0; offset < distance; ++offset) {
            if (packetsBeginAt(head, offset, distance))
                return true;
        }
    }
    return false;
}

bool looksLikeXml(std::string_view head)
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

/// Whether it begins with a section that is right, or with one of an AIT, which need not be.
bool looksLikeSections(std::string_view head)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(head.data());
    if (!head.empty() && bytes[0] == VestaHbbTV::AITLayout::tableId)
        return true;
    const size_t size = VestaHbbTV::sectionSize(bytes, head.size());
    return size != 0 && VestaHbbTV::crc32(bytes, size) == 0;
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

InputKind kindOf(std::string_view head, bool isWhole)
{
    if (looksLikeTransportStream(head))
        return InputKind::TransportStream;
    if (looksLikeXml(head))
        return InputKind::Xml;
    if (looksLikeHexadecimalText(head, isWhole))
        return InputKind::HexadecimalText;
    return looksLikeSections(head) ? InputKind::Sections : InputKind::TransportStream;
}

std::optional<std::string> bytesOfHexadecimalText(std::string_view text)
{
    std::string bytes;
    size_t at = 0;
    while (at < text.size()) {
        const char character = text[at];
        const std::string_view rest = text.substr(at);
        if (character == '#') {
            at += std::min(rest.find('\n'), rest.size());
        } else if (std::isspace(static_cast<unsigned char>(character)) != 0 || character == ',' ||
                   character == ':') {
            ++at;
        } else if (VestaHbbTV::startsWith(rest, "0x") || VestaHbbTV::startsWith(rest, "0X")) {
            at += 2;
        } else {
            const int upper = VestaHbbTV::hexadecimalDigit(character);
            const int lower = rest.size() > 1 ? VestaHbbTV::hexadecimalDigit(rest[1]) : -1;
            if (upper < 0 || lower < 0)
                return std::nullopt;
            bytes += static_cast<char>(upper * 16 + lower);
            at += 2;
        }
    }
    return bytes.empty() ? std::nullopt : std::optional(std::move(bytes));
}

}  // namespace inspector
