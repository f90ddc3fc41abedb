#include "receiver/text/dvb_text.h"

#include <algorithm>
#include <cstddef>
#include <iconv.h>
#include <string_view>

#include "receiver/text/printable.h"

namespace receiver {

namespace {

// The names are those of the C library's iconv.
const char defaultTable[] = "ISO_6937";
const char unknownTable[] = "ASCII";
const char unicodeTable[] = "UTF-16BE";
const char utf8Table[] = "UTF-8";

struct Selection {
    std::string table;
    size_t size;  ///< of the bytes that selected it
};

/// ISO/IEC 8859 in fifteen parts, of which part 12 was never made.
std::string partOf8859(unsigned part)
{
    const bool exists = part >= 1 && part <= 15 && part != 12;
    return exists ? "ISO-8859-" + std::to_string(part) : unknownTable;
}

/// Tables A.3 and A.4. @param text not empty
Selection selectTable(const std::string& text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    const auto byteAt = [&text](size_t at) { return static_cast<unsigned char>(text[at]); };
    if (first >= 0x20)
        return {defaultTable, 0};
    if (first >= 0x01 && first <= 0x0B)
        return {partOf8859(first + 4u), 1};
    switch (first) {
    case 0x10:
        if (text.size() < 3)
            return {unknownTable, text.size()};
        return {byteAt(1) == 0 ? partOf8859(byteAt(2)) : unknownTable, 3};
    case 0x11:
        return {unicodeTable, 1};  // the basic multilingual plane of ISO/IEC 10646
    case 0x12:
        return {"EUC-KR", 1};  // KS X 1001
    case 0x13:
        return {"GB2312", 1};
    case 0x14:
        return {"BIG5", 1};
    case 0x15:
        return {utf8Table, 1};
    case 0x1F:  // encoding_type_id: registered, with tables of their owners
        return {unknownTable, text.size() < 2 ? 1u : 2u};
    default:
        return {unknownTable, 1};
    }
}

/// iconv from one table to UTF-8; a C library without the table decodes ASCII.
class Converter {
public:
    explicit Converter(const std::string& table) : handle_(::iconv_open(utf8Table, table.c_str()))
    {
        if (!isOpen())
            handle_ = ::iconv_open(utf8Table, unknownTable);
    }
    ~Converter()
    {
        if (isOpen())
            ::iconv_close(handle_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool isOpen() const
    {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): iconv's own way to say no
        return handle_ != reinterpret_cast<iconv_t>(-1);
    }

    /// Converts up to the end, or to the first byte that stands for nothing.
    /// @param rest loses what was converted
    std::string convert(std::string_view& rest)
    {
        const size_t mostGrowth = 4;
        std::string converted(rest.size() * mostGrowth, '\0');
        char* in = const_cast<char*>(rest.data());  // not written to, whatever its type says
        size_t inLeft = rest.size();
        char* out = converted.data();
        size_t outLeft = converted.size();
        ::iconv(handle_, &in, &inLeft, &out, &outLeft);
        ::iconv(handle_, nullptr, nullptr, &out, &outLeft);
        converted.resize(converted.size() - outLeft);
        rest.remove_prefix(rest.size() - inLeft);
        return converted;
    }

private:
    iconv_t handle_;
};

/// Accents that stand before their letter in ISO 6937, as Unicode has them after it; null for a
/// byte that is none.
const char* combiningMark(unsigned char accent)
{
    static const char* const marks[] = {nullptr,    "\xCC\x80", "\xCC\x81", "\xCC\x82",
                                        "\xCC\x83", "\xCC\x84", "\xCC\x86", "\xCC\x87",
                                        "\xCC\x88", nullptr,    "\xCC\x8A", "\xCC\xA7",
                                        nullptr,    "\xCC\x8B", "\xCC\xA8", "\xCC\x8C"};
    return accent >= 0xC0 && accent < 0xD0 ? marks[accent - 0xC0] : nullptr;
}

bool isLetter(unsigned char byte)
{
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

bool isControlCode(unsigned char byte)
{
    return byte >= 0x80 && byte < 0xA0;
}

std::string controlCode(unsigned char code)
{
    return code == 0x8A ? " " : "";  // CR/LF; the others are emphasis and the reserved ones
}

/// What iconv has no character for. @param rest not empty, loses what was dealt with
std::string decodeByHand(const std::string& table, std::string_view& rest)
{
    const auto byte = static_cast<unsigned char>(rest[0]);
    const auto next = static_cast<unsigned char>(rest.size() > 1 ? rest[1] : '\0');
    const auto take = [&rest](size_t count) { rest.remove_prefix(std::min(count, rest.size())); };
    if (table == defaultTable && byte == 0xA4) {  // figure A.1 has the euro sign that the ISO lacks
        take(1);
        return "\xE2\x82\xAC";
    }
    if (table == defaultTable && combiningMark(byte) && isLetter(next)) {
        take(2);
        return static_cast<char>(next) + std::string(combiningMark(byte));
    }
    if (table == unicodeTable) {
        take(2);
        return replacementCharacter;
    }
    if (table != utf8Table && byte == 0xE0 && isControlCode(next)) {  // in two-byte tables
        take(2);
        return controlCode(next);
    }
    take(1);
    return table != utf8Table && isControlCode(byte) ? controlCode(byte) : replacementCharacter;
}

/// Control codes that came through as characters: C0, DEL, C1, and table A.2's U+E080 to U+E09F.
std::string withoutControlCodes(const std::string& utf8)
{
    std::string text;
    for (size_t at = 0; at < utf8.size(); ++at) {
        const auto byte = static_cast<unsigned char>(utf8[at]);
        const auto follower = [&utf8, at](size_t distance) {
            return static_cast<unsigned char>(at + distance < utf8.size() ? utf8[at + distance]
                                                                          : '\0');
        };
        if (byte == 0xC2 && isControlCode(follower(1))) {
            text += controlCode(follower(1));
            at += 1;
        } else if (byte == 0xEE && follower(1) == 0x82 && isControlCode(follower(2))) {
            text += controlCode(follower(2));
            at += 2;
        } else if (byte == '\n') {
            text += ' ';
        } else if (byte >= 0x20 && byte != 0x7F) {
            text += utf8[at];
        }
    }
    return text;
}

}  // namespace

std::string decodeDvbText(const std::string& text)
{
    if (text.empty())
        return "";
    Selection selection = selectTable(text);
    Converter converter(selection.table);
    std::string_view rest = std::string_view(text).substr(selection.size);
    std::string decoded;
    while (!rest.empty()) {
        if (converter.isOpen())
            decoded += converter.convert(rest);
        if (!rest.empty())
            decoded += decodeByHand(selection.table, rest);
    }
    return withoutControlCodes(decoded);
}

}  // namespace receiver
