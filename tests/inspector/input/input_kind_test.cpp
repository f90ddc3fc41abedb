#include <gtest/gtest.h>

#include "inspector/input/input_kind.h"
#include "tests/inspector/support/signal.h"

namespace inspector::test {
namespace {

std::string packets(size_t size, size_t before, size_t count)
{
    std::string bytes(before, 'x');
    for (size_t i = 0; i < count; ++i)
        bytes += "G" + std::string(size - 1, '\0');
    return bytes;
}

std::string textOf(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

TEST(InputKinds, AreKnownByTheFirstBytes)
{
    const std::string ait = textOf(AITSection().bytes());
    const std::string pmt = textOf(receiver::makePmt(1, 0, {}));
    std::string brokenPmt = pmt;
    brokenPmt.back() ^= 1;
    const std::tuple<const char*, std::string, InputKind> cases[] = {
        {"packets of 188 bytes", packets(188, 0, 3), InputKind::TransportStream},
        {"packets of 192 bytes", packets(192, 4, 3), InputKind::TransportStream},
        {"packets of 204 bytes", packets(204, 0, 3), InputKind::TransportStream},
        {"the first packet is cut", packets(188, 100, 3), InputKind::TransportStream},
        {"a section of an AIT", ait, InputKind::Sections},
        {"a section of an AIT that is cut", ait.substr(0, 5), InputKind::Sections},
        {"a section of a PMT", pmt, InputKind::Sections},
        {"a PMT with a wrong CRC_32", brokenPmt, InputKind::TransportStream},
        {"XML", "<?xml version=\"1.0\"?>", InputKind::Xml},
        {"XML after a mark and blanks", "\xEF\xBB\xBF \n<a/>", InputKind::Xml},
        {"XML of two bytes a character", std::string("\xFF\xFE<\0a\0", 6), InputKind::Xml},
        {"hexadecimal text", "74 f0 0d", InputKind::HexadecimalText},
        {"with a comment", "# mine\n0x74, 0xf0", InputKind::HexadecimalText},
        {"nothing", "", InputKind::TransportStream},
        {"text", "hello", InputKind::TransportStream},
    };
    for (const auto& [why, bytes, kind] : cases)
        EXPECT_EQ(kindOf(bytes, true), kind) << why;
}

TEST(InputKinds, AreKnownWhereMoreFollows)
{
    std::string digits;
    while (digits.size() < decidingBytes)
        digits += "74 ";
    for (size_t size = decidingBytes - 3; size <= decidingBytes; ++size)
        EXPECT_EQ(kindOf(digits.substr(0, size), false), InputKind::HexadecimalText) << size;
    EXPECT_EQ(kindOf(std::string(decidingBytes, '7'), false), InputKind::HexadecimalText);
}

TEST(HexadecimalText, MayBeWrittenInManyWays)
{
    const std::optional<std::string> expected("\x74\xF0\x0D");
    for (const char* const text : {"74f00d", "74 F0 0d", "0x74,0xf0,0x0d", "74:f0:0d\r\n",
                                   "# a\n74 # b\n f0\t0d", "#\n74f00d#"})
        EXPECT_EQ(bytesOfHexadecimalText(text), expected) << text;
    for (const char* const text : {"", " ", "7", "74f", "74 f", "7 4", "0x", "zz", "74;f0", "#"})
        EXPECT_FALSE(bytesOfHexadecimalText(text)) << text;
}

}  // namespace
}  // namespace inspector::test
