#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "receiver/service/service_tables.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

TEST(ServiceTables, StreamsWithApplicationSignallingAndCarousels)
{
    const Bytes pmt =
        makePmt(7, 0,
                {{0x1B, 0x100, makeDescriptor(0x52, {0})},
                 {0x05, 0x200, makeDescriptor(0x6F, {0x80, 0x10, 0xE7, 0x00, 0x01, 0xE2})},
                 {0x05, 0x201, {}},
                 {0x0B, 0x300,
                  makeDescriptor(0x52, {0x2A}) + makeDescriptor(0x13, {0, 0, 0, 0x2A, 0}) +
                      makeDescriptor(0x14, {0x01, 0x2A, 0, 0, 0})}});
    const ProgramMap map = readProgramMap(pmt);
    const std::vector<StreamDescription>& streams = map.streams;
    ASSERT_EQ(streams.size(), 4u);
    EXPECT_FALSE(streams[0].mayCarryApplicationInformation());
    EXPECT_TRUE(streams[1].mayCarryApplicationInformation());
    ASSERT_EQ(streams[1].applicationTypes.size(), 2u);
    EXPECT_EQ(streams[1].applicationTypes[0].applicationType, 0x0010);
    EXPECT_EQ(streams[1].applicationTypes[0].aitVersion, 7);
    EXPECT_TRUE(streams[2].mayCarryApplicationInformation());
    EXPECT_EQ(streams[2].signalling(), ApplicationSignalling::Unsaid);
    EXPECT_EQ(streams[3].componentTag, 0x2A);
    EXPECT_EQ(streams[3].carouselId, 0x2Au);
    EXPECT_EQ(streams[3].associationTags, std::vector<uint16_t>{0x012A});
    EXPECT_EQ(map.clockPid, 0x100);
}

TEST(ServiceTables, CutShortAtEveryLengthTheyKeepWhatIsWhole)
{
    const Bytes pmt = makePmt(7, 0, {{5, 0x200, makeDescriptor(0x6F, {0, 0x10, 1})}, {5, 1, {}}});
    const Bytes sdt = makeSdt(1, 2, {{3, "three"}, {4, "four"}});
    for (size_t size = 0; size < pmt.size(); ++size)
        EXPECT_LE(
            readProgramMap(Bytes(pmt.begin(), pmt.begin() + std::ptrdiff_t(size))).streams.size(),
            size < pmt.size() - 4 ? 1u : 2u);
    for (size_t size = 0; size < sdt.size(); ++size)
        EXPECT_LE(readServiceDescriptions({Bytes(sdt.begin(), sdt.begin() + std::ptrdiff_t(size))})
                      .size(),
                  1u);
    EXPECT_EQ(readServiceDescriptions({sdt}).size(), 2u);
    EXPECT_EQ(readServiceDescriptions({sdt})[0].name, "three");
    EXPECT_EQ(readServiceDescriptions({sdt})[0].type, 1);
    EXPECT_EQ(readProgramMap(pmt).streams.size(), 2u);
    EXPECT_EQ(readProgramMap({}).clockPid, 0x1FFF);
}

/// A section of a table with two. @param content what tells it from others
SectionBytes half(unsigned number, unsigned char content, unsigned version = 0)
{
    return makeSection({0x42, 1, version, true, number, 1}, {content});
}

TEST(TableCollector, IsCompleteWhenTheLastSectionIsThereAndNotAgain)
{
    TableCollector table;
    EXPECT_FALSE(table.add(half(1, 'b')));
    EXPECT_FALSE(table.add(half(1, 'b')));
    EXPECT_TRUE(table.add(half(0, 'a')));
    for (int round = 0; round < 2; ++round) {
        EXPECT_FALSE(table.add(half(0, 'a')));
        EXPECT_FALSE(table.add(half(1, 'b')));
    }
    EXPECT_EQ(table.sections(), (std::vector<SectionBytes>{half(0, 'a'), half(1, 'b')}));
}

TEST(TableCollector, AChangedSectionBeginsACollectionWhateverItsVersionSays)
{
    TableCollector table;
    table.add(half(0, 'a'));
    table.add(half(1, 'b'));
    EXPECT_FALSE(table.add(half(0, 'c'))) << "the others may have changed, too";
    EXPECT_FALSE(table.add(half(0, 'd')));
    EXPECT_TRUE(table.add(half(1, 'b')));
    EXPECT_EQ(table.sections(), (std::vector<SectionBytes>{half(0, 'd'), half(1, 'b')}));
    EXPECT_FALSE(table.add(half(1, 'b', 1)));
    EXPECT_TRUE(table.add(half(0, 'd', 1)));
}

TEST(ProgramMap, TablesAreWhereTheDescriptorsOfAStreamTogetherSay)
{
    const auto signalling = [](unsigned type) {
        return makeDescriptor(0x6F, ByteWriter().u16(0x8000 | type).u8(0xE0));
    };
    const ProgramMap map = readProgramMap(makePmt(1, 0,
                                                  {{0x05, 0x200, signalling(0x10) + signalling(1)},
                                                   {0x05, 0x201, signalling(1)},
                                                   {0x05, 0x202, {}},
                                                   {0x1B, 0x203, {}}}));
    EXPECT_EQ(map.tablePids(), (std::vector<uint16_t>{0x200, 0x202}));
}

TEST(ProgramMap, TablesForHbbTVAreThoseInForceAndNotForTests)
{
    const Bytes body = {0xF0, 0, 0xF0, 0};
    EXPECT_TRUE(isHbbTVTable(makeSection({0x74, 0x0010, 1}, body)));
    EXPECT_FALSE(isHbbTVTable(makeSection({0x74, 0x8010, 1}, body)));
    EXPECT_FALSE(isHbbTVTable(makeSection({0x74, 0x0001, 1}, body)));
    EXPECT_FALSE(isHbbTVTable(makeSection({0x74, 0x0010, 1, false}, body)));
    EXPECT_FALSE(isHbbTVTable(makeSection({0x70, 0x0010, 1}, body)));
    EXPECT_FALSE(isHbbTVTable({}));
}

}  // namespace
}  // namespace receiver
