#include <gtest/gtest.h>
#include <ostream>

#include "kit/ait_section.h"
#include "kit/crc32.h"
#include "tests/support/section_builder.h"

namespace VestaHbbTV {
namespace {

using vesta::test::AITEntry;
using vesta::test::AITSection;
using vesta::test::Bytes;
using vesta::test::descriptor;

const Bytes noBytes;

SectionFinding findingIn(const Bytes& section, TableCost& cost)
{
    const auto block = vesta::test::exactBlock(section);
    return examineSection(ByteReader(block.get(), section.size()), 0x0010, false, cost);
}

SectionFinding findingIn(const Bytes& section)
{
    TableCost cost;
    return findingIn(section, cost);
}

Bytes changed(const AITSection& section, size_t place, unsigned char value)
{
    Bytes bytes = section.bytes();
    bytes[place] = value;
    return bytes;
}

AITEntry entry()
{
    return AITEntry(0x0A, 1).name("N").http(1, "http://a.example/").location("i");
}

struct Row {
    const char* name;
    Bytes section;
    HBBTV_KitSectionFault fault;
    size_t offset;
    uint8_t tag = 0;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

class SectionFaults : public ::testing::TestWithParam<Row> {};

TEST_P(SectionFaults, AreFoundWhereTheyAre)
{
    const SectionFinding finding = findingIn(GetParam().section);
    EXPECT_EQ(finding.fault, GetParam().fault);
    EXPECT_EQ(finding.offset, GetParam().offset);
    EXPECT_EQ(finding.tag, GetParam().tag);
}

// Offsets: 8 common_descriptors_length, 10 common loop, 12 application loop, 21 its first
// descriptors, where the common loop is empty.
const Row rows[] = {
    {"AWholeSection", AITSection().add(entry()).bytes(), HBBTV_KIT_SECTION_OK, 0},
    {"AnEmptyTable", AITSection().bytes(), HBBTV_KIT_SECTION_OK, 0},
    {"AnotherTable", AITSection().tableId(0x42).bytes(), HBBTV_KIT_SECTION_NOT_AIT, 0},
    {"NoSyntax", changed(AITSection(), 1, 0x70), HBBTV_KIT_SECTION_SYNTAX, 1},
    {"TooShort", AITSection().sectionLength(12).bytes(), HBBTV_KIT_SECTION_LENGTH, 1},
    {"TooLong", AITSection().sectionLength(1022).bytes(), HBBTV_KIT_SECTION_LENGTH, 1},
    {"AnotherType", AITSection().applicationType(1).bytes(), HBBTV_KIT_SECTION_TYPE, 3},
    {"ATestApplication", AITSection().applicationType(0x8010).bytes(), HBBTV_KIT_SECTION_TEST, 3},
    {"NotCurrent", AITSection().currentNext(false).bytes(), HBBTV_KIT_SECTION_NOT_CURRENT, 5},
    {"ANumberBeyondTheLast", AITSection().number(2, 1).bytes(), HBBTV_KIT_SECTION_NUMBER, 6},
    {"TheLastNumber", AITSection().number(1, 1).bytes(), HBBTV_KIT_SECTION_OK, 0},
    {"TheCommonLoopLeavesTheSection", AITSection().commonLength(3).bytes(),
     HBBTV_KIT_SECTION_COMMON_LOOP, 8},
    {"TheCommonLoopEndsInTheChecksum", AITSection().commonLength(4).bytes(),
     HBBTV_KIT_SECTION_COMMON_LOOP, 8},
    {"NoRoomForTheApplicationLoop", AITSection().commonLength(1).bytes(),
     HBBTV_KIT_SECTION_DESCRIPTOR, 10, 0xF0},
    // The length of the application loop is a descriptor then, and an empty one.
    {"TheApplicationLoopIsMissing", AITSection().commonLength(2).bytes(),
     HBBTV_KIT_SECTION_APPLICATION_LOOP, 12},
    {"TheApplicationLoopLeavesTheSection", AITSection().applicationLoopLength(1).bytes(),
     HBBTV_KIT_SECTION_APPLICATION_LOOP, 10},
    {"TheApplicationLoopIsLonger", AITSection().add(entry()).applicationLoopLength(0x0FFF).bytes(),
     HBBTV_KIT_SECTION_APPLICATION_LOOP, 10},
    {"HalfAnApplication", AITSection().add(Bytes{0, 0, 0, 1, 0, 1, 1, 0xF0}).bytes(),
     HBBTV_KIT_SECTION_APPLICATION, 12},
    {"AnApplicationLeavesTheLoop", AITSection().add(AITEntry(1, 2).loopLength(100)).bytes(),
     HBBTV_KIT_SECTION_APPLICATION, 12},
    {"ADescriptorLeavesTheCommonLoop", AITSection().common(Bytes{0x02, 5, 1}).bytes(),
     HBBTV_KIT_SECTION_DESCRIPTOR, 10, 0x02},
    {"ADescriptorWithoutLength", AITSection().common(Bytes{0x05}).bytes(),
     HBBTV_KIT_SECTION_DESCRIPTOR, 10, 0x05},
    {"ADescriptorLeavesItsApplication",
     AITSection()
         .add(AITEntry(1, 2).withoutApplicationDescriptor().raw(Bytes{0x15, 9, 'i'}))
         .bytes(),
     HBBTV_KIT_SECTION_DESCRIPTOR, 21, 0x15},
    {"ANameThatIsTooShortForItsLength",
     AITSection()
         .add(AITEntry(1, 2).withoutApplicationDescriptor().raw(descriptor(0x01, {'e', 'n', 'g'})))
         .bytes(),
     HBBTV_KIT_SECTION_NAME, 21, 0x01},
    {"ANameThatLeavesTheLoop",
     AITSection()
         .add(AITEntry(1, 2).withoutApplicationDescriptor().raw(
             descriptor(0x01, {'e', 'n', 'g', 2, 'N'})))
         .bytes(),
     HBBTV_KIT_SECTION_NAME, 21, 0x01},
    {"AnEmptyDescriptor", AITSection().add(AITEntry(1, 2).raw(descriptor(0x77, noBytes))).bytes(),
     HBBTV_KIT_SECTION_OK, 0},
    {"WhatFollowsTheApplicationLoop",
     AITSection()
         .add(entry())
         .add(Bytes{1, 2, 3})
         .applicationLoopLength(static_cast<uint16_t>(entry().bytes().size()))
         .bytes(),
     HBBTV_KIT_SECTION_OK, 0},
};

INSTANTIATE_TEST_SUITE_P(Section, SectionFaults, ::testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(SectionTypes, MayAllCount)
{
    const Bytes section = AITSection().applicationType(1).bytes();
    TableCost cost;
    EXPECT_EQ(
        examineSection(ByteReader(section.data(), section.size()), anyApplicationType, false, cost)
            .fault,
        HBBTV_KIT_SECTION_OK);
}

TEST(SectionSize, IsThatOfTheSectionAtTheStart)
{
    const Bytes section = AITSection().add(entry()).bytes();
    Bytes more = section;
    more.push_back(0xFF);
    EXPECT_EQ(sectionSize(section.data(), section.size()), section.size());
    EXPECT_EQ(sectionSize(more.data(), more.size()), section.size());
}

TEST(SectionSize, IsNoneWhereBytesAreMissing)
{
    const Bytes section = AITSection().bytes();
    for (size_t count = 0; count < section.size(); ++count)
        EXPECT_EQ(sectionSize(vesta::test::exactBlock(
                                  Bytes(section.begin(),
                                        section.begin() + static_cast<std::ptrdiff_t>(count)))
                                  .get(),
                              count),
                  0U);
    EXPECT_EQ(sectionSize(nullptr, 100), 0U);
}

TEST(SectionFault, IsAnEmptyDescriptorWhereThereMustBeNone)
{
    const Bytes section =
        AITSection()
            .common(descriptor(0x77, noBytes))
            .add(AITEntry(1, 2).withoutApplicationDescriptor().raw(descriptor(0x78, noBytes)))
            .bytes();
    TableCost cost;
    const SectionFinding finding =
        examineSection(ByteReader(section.data(), section.size()), 0x0010, true, cost);
    EXPECT_EQ(finding.fault, HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR);
    EXPECT_EQ(finding.offset, 23U);
    EXPECT_EQ(finding.tag, 0x78);
}

TEST(SectionCost, CountsApplicationsTextsAndLabels)
{
    TableCost cost;
    // A name of 1 byte, a boundary of 2 + 3, a location of 3 in two transports.
    const AITEntry first =
        AITEntry(1, 1).labels({1, 2}).name("N").boundary({"a:b"}).location("i/j");
    const AITEntry second = AITEntry(1, 2).labels({3});
    EXPECT_EQ(findingIn(AITSection().add(first).add(second).bytes(), cost).fault,
              HBBTV_KIT_SECTION_OK);
    EXPECT_EQ(cost.applications, 2U);
    EXPECT_EQ(cost.textBytes, 12U);
    EXPECT_EQ(cost.labels, 3U);
}

TEST(SectionCost, CountsWhatIsCommonForEachLabel)
{
    TableCost cost;
    const Bytes transport = vesta::test::httpTransport(1, "http://a.example/");
    findingIn(AITSection().common(transport).add(AITEntry(1, 1).labels({1, 1, 1})).bytes(), cost);
    EXPECT_EQ(cost.textBytes, 4 * (transport.size() - 2));
}

TEST(SectionCost, CountsNamesThatGoOnAfterTheirDescriptor)
{
    TableCost cost;
    const Bytes name = {0x01, 4, 'e', 'n', 'g', 100};
    findingIn(
        AITSection().add(AITEntry(1, 1).raw(name).raw(descriptor(0x77, Bytes(110, 'x')))).bytes(),
        cost);
    EXPECT_EQ(cost.textBytes, 100U);
}

TEST(Checksum, OfAWholeSectionIsZero)
{
    Section section = AITSection().add(entry()).bytes();
    EXPECT_EQ(crc32(section.data(), section.size()), 0U);
    setVersion(section, 17);
    EXPECT_NE(crc32(section.data(), section.size()), 0U);
    setChecksum(section);
    EXPECT_EQ(crc32(section.data(), section.size()), 0U);
    EXPECT_EQ(section, AITSection().version(17).add(entry()).bytes());
}

TEST(SectionNumbers, AreWritten)
{
    Section section = AITSection().version(31).bytes();
    setNumber(section, 3, 7);
    setVersion(section, 1);
    setChecksum(section);
    EXPECT_EQ(section, AITSection().version(1).number(3, 7).bytes());
}

}  // namespace
}  // namespace VestaHbbTV
