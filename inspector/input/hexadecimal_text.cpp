#include "inspector/input/hexadecimal_text.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "foundation/text.h"

namespace inspector {

namespace {

using VestaHbbTV::hexadecimalDigit;
using VestaHbbTV::startsWith;

constexpr std::string_view blanks = " \t\r\n\v\f";
constexpr std::string_view separators = " \t\r\n\v\f,:";

/// Without what is before a position, or without anything where there is none.
std::string_view from(std::string_view text, size_t position)
{
    return text.substr(std::min(position, text.size()));
}

std::string_view withoutBlanks(std::string_view text)
{
    text = from(text, text.find_first_not_of(blanks));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// Takes the text up to a mark away, with the mark.
std::string_view takeUpTo(std::string_view& text, std::string_view mark)
{
    const size_t end = std::min(text.find(mark), text.size());
    const std::string_view taken = text.substr(0, end);
    text = from(text, end + mark.size());
    return taken;
}

bool takeByte(std::string_view& text, std::string& bytes)
{
    const int upper = text.empty() ? -1 : hexadecimalDigit(text[0]);
    const int lower = text.size() < 2 ? -1 : hexadecimalDigit(text[1]);
    if (upper < 0 || lower < 0)
        return false;
    bytes += static_cast<char>(upper * 16 + lower);
    text.remove_prefix(2);
    return true;
}

std::string withoutComments(std::string_view text)
{
    std::string rest;
    while (!text.empty()) {
        if (text[0] == '#' || startsWith(text, "//")) {
            takeUpTo(text, "\n");
            rest += '\n';
        } else if (startsWith(text, "/*")) {
            takeUpTo(text, "*/");
            rest += ' ';
        } else {
            rest += text[0];
            text.remove_prefix(1);
        }
    }
    return rest;
}

/// What stands in the braces of C arrays; the text itself where there are none.
std::string contentsOfArrays(const std::string& text)
{
    if (text.find('{') == std::string::npos)
        return text;
    std::string_view rest = text;
    const std::string_view declaration = withoutBlanks(takeUpTo(rest, "{"));
    if (!declaration.empty() && declaration.back() != '=')
        return text;
    std::string contents;
    while (!rest.empty()) {
        contents += takeUpTo(rest, "}");
        contents += ' ';
        takeUpTo(rest, "{");
    }
    return contents;
}

std::optional<std::string> bytesOfDigits(std::string_view text)
{
    std::string bytes;
    while (!text.empty()) {
        text = from(text, text.find_first_not_of(separators));
        if (startsWith(text, "0x") || startsWith(text, "0X"))
            text.remove_prefix(2);
        if (!text.empty() && !takeByte(text, bytes))
            return std::nullopt;
    }
    return bytes;
}

/// Whether a line begins with an offset of 0. No section begins with so many zeros.
bool beginsDump(std::string_view line)
{
    constexpr size_t leastDigits = 4;
    const size_t digits = line.find_first_not_of('0');
    return digits != std::string_view::npos && digits >= leastDigits &&
           separators.find(line[digits]) != std::string_view::npos && line[digits] != ',';
}

/// @return whether the line begins with that offset, which it loses
bool takeOffset(std::string_view& line, size_t expected)
{
    constexpr size_t mostDigits = 16;
    uint64_t offset = 0;
    size_t digits = 0;
    for (; digits < std::min(line.size(), mostDigits); ++digits) {
        const int digit = hexadecimalDigit(line[digits]);
        if (digit < 0)
            break;
        offset = offset * 16 + static_cast<unsigned>(digit);
    }
    line.remove_prefix(digits);
    return digits > 0 && offset == expected;
}

/// The bytes of a line, up to the column with their characters: after two blanks in the dumps with
/// a colon after the offset, or a mark in the others.
bool takeLine(std::string_view line, std::string& bytes)
{
    const bool hasColon = startsWith(line, ":");
    line.remove_prefix(hasColon ? 1 : 0);
    for (bool isFirst = true;; isFirst = false) {
        const size_t gap = std::min(line.find_first_not_of(blanks), line.size());
        line.remove_prefix(gap);
        if (line.empty() || line[0] == '|' || line[0] == '>' || (hasColon && !isFirst && gap > 1))
            return true;
        if (!takeByte(line, bytes))
            return false;
    }
}

std::optional<std::string> bytesOfDump(std::string_view text)
{
    std::string bytes;
    while (!text.empty()) {
        std::string_view line = withoutBlanks(takeUpTo(text, "\n"));
        if (line.empty() || line[0] == '#')
            continue;
        if (!takeOffset(line, bytes.size()) || !takeLine(line, bytes))
            return std::nullopt;
    }
    return bytes;
}

bool isDump(std::string_view text)
{
    while (!text.empty()) {
        const std::string_view line = takeUpTo(text, "\n");
        const std::string_view content = from(line, line.find_first_not_of(blanks));
        if (!content.empty() && content[0] != '#')
            return beginsDump(content);
    }
    return false;
}

}  // namespace

std::optional<std::string> bytesOfHexadecimalText(std::string_view text)
{
    if (startsWith(text, "\xEF\xBB\xBF"))
        text.remove_prefix(3);
    std::optional<std::string> bytes =
        isDump(text) ? bytesOfDump(text) : bytesOfDigits(contentsOfArrays(withoutComments(text)));
    return bytes && !bytes->empty() ? std::move(bytes) : std::nullopt;
}

}  // namespace inspector
