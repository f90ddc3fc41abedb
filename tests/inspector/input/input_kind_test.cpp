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

/// An AIT, right in everything, with 'G' where so many packets would begin.
std::string sectionWithSyncBytes(unsigned packets)
{
    AITSection section;
    for (unsigned i = 1; i < packets; ++i)
        section.common(vesta::test::descriptor(0x7F, Bytes(250, 'G')));
    return textOf(section.bytes());
}

std::string wrongLast(std::string bytes)
{
    bytes.back() = static_cast<char>(bytes.back() ^ 1);
    return bytes;
}

std::string textWithSyncBytes(const std::string& begin, const std::string& end)
{
    return begin + std::string(900, 'G') + end;
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
        {"hexadecimal text in a C array", "char ait[] = {0x74, 0xf0};", InputKind::HexadecimalText},
        {"sections with the sync byte at the distance of packets", sectionWithSyncBytes(3),
         InputKind::Sections},
        {"two of them, and a wrong CRC_32", wrongLast(sectionWithSyncBytes(2)),
         InputKind::Sections},
        {"hexadecimal text with them", textWithSyncBytes("# ", "\n74 f0"),
         InputKind::HexadecimalText},
        {"XML with them", textWithSyncBytes("<!-- ", " --><a/>"), InputKind::Xml},
        {"packets after half of one that looks like XML", "<?" + packets(188, 100, 21),
         InputKind::TransportStream},
        {"packets after half of one that looks like an AIT", "t" + packets(188, 100, 21),
         InputKind::TransportStream},
        {"packets of which the second was lost", "G" + packets(188, 250, 20),
         InputKind::TransportStream},
        {"two packets", packets(188, 0, 2), InputKind::TransportStream},
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

}  // namespace
}  // namespace inspector::test
