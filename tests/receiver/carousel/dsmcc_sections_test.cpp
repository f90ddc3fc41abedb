#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "receiver/carousel/dsmcc_sections.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

constexpr size_t sectionHeaderSize = 8;
constexpr size_t messageHeaderSize = 12;

const IorFields gatewayIor = {"srg", 1, "g"};

std::vector<Bytes> oneOfEach()
{
    ModuleFields compressed = {1, 300, 2};
    compressed.originalSize = 900;
    return {makeDsi(makeIor(gatewayIor)), makeDii(0x80000002, {compressed, {2, 100}}),
            makeDdb(1, 2, 0, Bytes(100, 7))};
}

// Whether the message in the section can be read, from a heap block of exactly its size.
bool isReadable(const Bytes& section)
{
    const auto block = std::make_unique<unsigned char[]>(section.size());
    std::copy(section.begin(), section.end(), block.get());
    const auto message = openDownloadSection(block.get(), section.size());
    if (!message)
        return false;
    switch (message->kind) {
    case DownloadMessageKind::ServerInitiate:
        return readServerInitiate(*message).has_value();
    case DownloadMessageKind::InfoIndication:
        return readInfoIndication(*message).has_value();
    case DownloadMessageKind::DataBlock:
        return readDataBlock(*message).has_value();
    }
    return false;
}

Bytes bodyOf(const Bytes& section)
{
    return Bytes(section.begin() + sectionHeaderSize, section.end() - 4);
}

Bytes firstBytes(const Bytes& bytes, size_t count)
{
    return Bytes(bytes.begin(), bytes.begin() + std::ptrdiff_t(count));
}

TEST(DsmccSections, AreReadWhole)
{
    for (const Bytes& section : oneOfEach())
        EXPECT_TRUE(isReadable(section));
}

TEST(DsmccSections, CutAtAnyLengthAreRefused)
{
    for (const Bytes& section : oneOfEach())
        for (size_t size = 0; size < section.size(); ++size)
            EXPECT_FALSE(isReadable(firstBytes(section, size))) << size;
}

TEST(DsmccSections, WithAMessageCutAtAnyLengthAreRefused)
{
    for (const Bytes& section : oneOfEach()) {
        const Bytes body = bodyOf(section);
        for (size_t size = 0; size < body.size(); ++size)
            EXPECT_FALSE(isReadable(makeSection({section[0]}, firstBytes(body, size)))) << size;
    }
}

// The lengths of section and message agree; what is inside is too short.
Bytes withPayloadCut(const Bytes& section, size_t size)
{
    Bytes body = firstBytes(bodyOf(section), messageHeaderSize + size);
    body[messageHeaderSize - 2] = static_cast<unsigned char>(size >> 8);
    body[messageHeaderSize - 1] = static_cast<unsigned char>(size & 0xFF);
    return makeSection({section[0]}, body);
}

TEST(DsmccSections, WithAPayloadCutAtAnyLengthAreRefused)
{
    const std::vector<Bytes> sections = oneOfEach();
    // After a DII's modules its private data are not looked at; a block's data may have any size.
    const size_t unread[] = {0, 2, 100};
    for (size_t i = 0; i < sections.size(); ++i) {
        const size_t whole = bodyOf(sections[i]).size() - messageHeaderSize;
        ASSERT_TRUE(isReadable(withPayloadCut(sections[i], whole)));
        for (size_t size = 0; size < whole; ++size)
            EXPECT_EQ(isReadable(withPayloadCut(sections[i], size)), size >= whole - unread[i])
                << i << " at " << size;
    }
}

TEST(DsmccSections, EveryByteMayBeWrong)
{
    for (const Bytes& section : oneOfEach())
        for (size_t at = 0; at < section.size(); ++at)
            for (const unsigned value : {0x00U, 0x01U, 0x7FU, 0x80U, 0xFFU}) {
                Bytes wrong = section;
                wrong[at] = static_cast<unsigned char>(value);
                isReadable(wrong);  // a sanitizer looks on
            }
}

TEST(DsmccSections, ThatAreSomethingElseAreRefused)
{
    const Bytes good = oneOfEach()[1];
    const auto changed = [&good](size_t at, unsigned mask) {
        Bytes section = good;
        section[at] = static_cast<unsigned char>(section[at] ^ mask);
        return section;
    };
    EXPECT_FALSE(isReadable(changed(0, 0x07))) << "a data table with a control message";
    EXPECT_FALSE(isReadable(changed(0, 0xFF))) << "another table";
    EXPECT_FALSE(isReadable(changed(1, 0x80))) << "no section syntax";
    EXPECT_FALSE(isReadable(changed(5, 0x01))) << "not current";
    EXPECT_FALSE(isReadable(changed(8, 0x01))) << "another protocol";
    EXPECT_FALSE(isReadable(changed(9, 0x01))) << "another type of message";
    EXPECT_FALSE(isReadable(changed(11, 0x08))) << "another message";
    EXPECT_TRUE(isReadable(changed(5, 0x02))) << "another version";
}

TEST(DsmccSections, AnAdaptationHeaderIsSkipped)
{
    Bytes body = bodyOf(oneOfEach()[2]);
    body[9] = 5;  // adaptationLength
    body[11] = static_cast<unsigned char>(body[11] + 5);
    body.insert(body.begin() + messageHeaderSize, 5, 0xAD);
    const Bytes section = makeSection({0x3C}, body);
    const auto message = openDownloadSection(section.data(), section.size());
    ASSERT_TRUE(message);
    EXPECT_EQ(readDataBlock(*message)->moduleVersion, 2);
    EXPECT_EQ(readDataBlock(*message)->data.remaining(), 100u);
}

TEST(DsmccSections, AnInfoIndicationTellsItsModules)
{
    const Bytes section = oneOfEach()[1];
    const auto message = openDownloadSection(section.data(), section.size());
    ASSERT_TRUE(message);
    EXPECT_EQ(message->id, 0x80000002u);
    const auto indication = readInfoIndication(*message);
    ASSERT_TRUE(indication);
    EXPECT_EQ(indication->downloadId, 42u);
    EXPECT_EQ(indication->blockSize, 100);
    ASSERT_EQ(indication->modules.size(), 2u);
    const ModuleAnnouncement& first = indication->modules[0];
    EXPECT_EQ(first.moduleId, 1);
    EXPECT_EQ(first.size, 300u);
    EXPECT_EQ(first.version, 2);
    EXPECT_EQ(first.associationTag, 0x2A);
    EXPECT_TRUE(first.compressed);
    EXPECT_EQ(first.compressionMethod, 0x78);
    EXPECT_EQ(first.originalSize, 900u);
    EXPECT_FALSE(indication->modules[1].compressed);
}

TEST(DsmccSections, AModuleInfoThatOverrunsIsAsGoodAsNone)
{
    Bytes section = makeDii(1, {{1, 300}});
    const size_t userInfoLength = section.size() - 4 - 2 - 1;  // before private data and CRC
    section[userInfoLength] = 1;
    const auto message = openDownloadSection(section.data(), section.size());
    const auto indication = readInfoIndication(*message);
    ASSERT_TRUE(indication);
    ASSERT_EQ(indication->modules.size(), 1u);
    EXPECT_FALSE(indication->modules[0].associationTag);
}

TEST(DsmccSections, AnInfoIndicationOfMoreModulesThanThereAreIsRefused)
{
    Bytes section = makeDii(1, {{1, 300}});
    section[sectionHeaderSize + messageHeaderSize + 19] = 2;
    const auto message = openDownloadSection(section.data(), section.size());
    ASSERT_TRUE(message);
    EXPECT_FALSE(readInfoIndication(*message));
}

}  // namespace
}  // namespace receiver
