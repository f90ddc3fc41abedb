#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <tuple>
#include <type_traits>
#include <vector>

#include "signalling/pmt.h"
#include "tests/signalling/pmt_content.h"
#include "tests/support/section_builder.h"

namespace VestaHbbTV {
namespace {

using vesta::test::Bytes;
using vesta::test::contentOf;
using vesta::test::descriptor;
using vesta::test::exactBlock;
using vesta::test::StreamContent;
using vesta::test::operator+;
using Contents = std::vector<StreamContent>;

static_assert(!std::is_polymorphic_v<Descriptor> && !std::is_polymorphic_v<ElementaryStream>);

void put16(Bytes& bytes, size_t at, size_t value)
{
    bytes[at] = static_cast<unsigned char>(value >> 8);
    bytes[at + 1] = static_cast<unsigned char>(value);
}

/// An entry of the stream loop. @param infoLength what it claims to carry
Bytes stream(unsigned char type, size_t pid, const Bytes& descriptors, size_t infoLength)
{
    Bytes entry = {type, 0, 0, 0, 0};
    put16(entry, 1, 0xE000 | pid);
    put16(entry, 3, 0xF000 | infoLength);
    return entry + descriptors;
}

Bytes stream(unsigned char type, size_t pid, const Bytes& descriptors = {})
{
    return stream(type, pid, descriptors, descriptors.size());
}

Bytes componentTag(unsigned char tag)
{
    return descriptor(0x52, {tag});
}

Bytes withSectionLength(Bytes section, size_t length)
{
    put16(section, 1, 0xB000 | length);
    return section;
}

/// A whole section with a CRC of 0xC1 0xC2 0xC3 0xC4.
Bytes section(const Bytes& streams, const Bytes& programInfo = {})
{
    Bytes bytes = {0x02, 0, 0, 0x12, 0x34, 0xC1, 0, 0, 0xE1, 0x00, 0, 0};
    put16(bytes, 10, 0xF000 | programInfo.size());
    bytes = bytes + programInfo + streams + Bytes{0xC1, 0xC2, 0xC3, 0xC4};
    return withSectionLength(bytes, bytes.size() - 3);
}

PMT parsed(const Bytes& bytes)
{
    return PMT(exactBlock(bytes).get());
}

/// What the table should hold, by plain indexes and comparisons with the section's end.
Contents expectedOf(const Bytes& s)
{
    Contents contents;
    const auto length = [&s](size_t at) { return (size_t{s[at]} << 8 | s[at + 1]) & 0xFFF; };
    const size_t end = 3 + length(1);
    if (end < 12)
        return contents;
    for (size_t at = 12 + (length(10) & 0x3FF); at + 4 < end; at += 5 + length(at + 3)) {
        StreamContent content;
        content.type = s[at];
        content.pid = (unsigned{s[at + 1]} << 8 | s[at + 2]) & 0x1FFF;
        const size_t infoEnd = std::min(end, at + 5 + length(at + 3));
        for (size_t d = at + 5; d + 2 <= infoEnd && d + 2 + s[d + 1] <= infoEnd;
             d += 2U + s[d + 1]) {
            content.hasAssociationTag |= s[d] == 0x14;
            content.hasDeferredAssociationTags |= s[d] == 0x15;
            content.hasApplicationSignalling |= s[d] == 0x6F;
            if (s[d] == 0x52 && s[d + 1] >= 1)
                content.componentTag = s[d + 2];
            if (s[d] == 0x13 && s[d + 1] >= 4)
                content.carouselId = uint32_t{s[d + 2]} << 24 | uint32_t{s[d + 3]} << 16 |
                                     uint32_t{s[d + 4]} << 8 | s[d + 5];
        }
        contents.push_back(content);
    }
    return contents;
}

const Bytes carouselDescriptors = componentTag(0x2A) + descriptor(0x14, {0, 1, 0, 0, 0}) +
                                  descriptor(0x15, {0, 0, 1, 2, 3, 4}) +
                                  descriptor(0x13, {0x81, 0x02, 0x03, 0x04, 0x00});

Bytes typicalSection()
{
    return section(stream(0x1B, 0x100, componentTag(1)) + stream(0x04, 0x101) +
                       stream(0x05, 0x1FFF, descriptor(0x6F, {0x00, 0x10, 0xE1})) +
                       stream(0x0B, 0x102, carouselDescriptors),
                   descriptor(0x09, {0x18, 0x62, 0xE1, 0x23}));
}

TEST(PMT, HoldsStreamsAndTheirDescriptorsInSectionOrder)
{
    PMT table = parsed(typicalSection());
    EXPECT_EQ(contentOf(table), Contents({{0x1B, 0x100, 1, {}, false, false, false},
                                          {0x04, 0x101, {}, {}, false, false, false},
                                          {0x05, 0x1FFF, {}, {}, false, false, true},
                                          {0x0B, 0x102, 0x2A, 0x81020304, true, true, false}}));
}

TEST(PMT, DescriptorsKnowTheirTags)
{
    PMT table = parsed(typicalSection());
    const ElementaryStream& carousel = table.getElementaryStreams()[3];
    const StreamIdentifierDescriptor* const identifier = carousel.getStreamIdentifierDescriptor();
    EXPECT_EQ(identifier->getTag(), 0x52);
    EXPECT_EQ(carousel.getAssociationTagDescriptor()->getTag(), 0x14);
    EXPECT_EQ(carousel.getDeferredAssociationTagsDescriptor()->getTag(), 0x15);
    EXPECT_EQ(carousel.getCarouselIdentifierDescriptor()->getTag(), 0x13);
    EXPECT_EQ(table.getElementaryStreams()[2].getApplicationSignallingDescriptor()->getTag(), 0x6F);
}

TEST(PMT, HasNoStreamsWhereTheLoopIsEmpty)
{
    EXPECT_TRUE(contentOf(parsed(section({}))).empty());
    EXPECT_TRUE(contentOf(parsed(section({}, descriptor(0x09, {1, 2, 3, 4})))).empty());
    EXPECT_TRUE(PMT(nullptr).getElementaryStreams().empty());
}

TEST(PMT, ProgramInfoLengthHasTenBits)
{
    const Bytes streams = stream(0x02, 0x31);
    Bytes bytes = section(streams, descriptor(0xC0, Bytes(198)));
    put16(bytes, 10, 0xFC00 | 200);
    EXPECT_EQ(contentOf(parsed(bytes)).size(), 1U);
    EXPECT_EQ(contentOf(parsed(section(streams, Bytes(1023)))).size(), 1U);
    // A length of 1024 reads as 0: the stream loop begins in the program's descriptors.
    EXPECT_EQ(contentOf(parsed(section({}, Bytes(1024)))).size(), 205U);
}

TEST(PMT, ProgramInfoThatLeavesTheSectionLeavesNoStreams)
{
    const Bytes whole = section(stream(0x02, 0x31) + stream(0x03, 0x32));
    const std::tuple<size_t, size_t> cases[] = {{0, 2},  {5, 1},  {9, 1},  {10, 0},  {11, 0},
                                                {13, 0}, {14, 0}, {15, 0}, {1023, 0}};
    for (const auto& [length, streams] : cases) {
        Bytes bytes = whole;
        put16(bytes, 10, 0xF000 | length);
        EXPECT_EQ(contentOf(parsed(bytes)).size(), streams) << length;
        EXPECT_EQ(contentOf(parsed(bytes)), expectedOf(bytes)) << length;
    }
}

TEST(PMT, AnEntryThatBeginsBeforeTheCrcIsReadEvenIfItEndsThere)
{
    PMT table = parsed(section(stream(0x02, 0x31) + Bytes{0x77}));
    ASSERT_EQ(table.getElementaryStreams().size(), 2U);
    EXPECT_EQ(contentOf(table)[1].type, 0x77U);
    EXPECT_EQ(contentOf(table)[1].pid, 0x01C2U);
}

TEST(PMT, SectionsCutAnywhereKeepWhatFits)
{
    const Bytes whole = typicalSection();
    for (size_t size = 3; size <= whole.size(); ++size) {
        const Bytes cut = withSectionLength(
            Bytes(whole.begin(), whole.begin() + static_cast<long>(size)), size - 3);
        EXPECT_EQ(contentOf(parsed(cut)), expectedOf(cut)) << size;
    }
}

TEST(PMT, LengthsThatLieKeepWhatFits)
{
    const Bytes whole = typicalSection();
    std::mt19937 random(7);
    for (int n = 0; n < 20000; ++n) {
        Bytes bytes = whole;
        for (auto change = random() % 3 + 1; change > 0; --change)
            bytes[3 + random() % (bytes.size() - 3)] = static_cast<unsigned char>(random());
        bytes.resize(3 + random() % (bytes.size() - 2));
        bytes = withSectionLength(bytes, bytes.size() - 3);
        ASSERT_EQ(contentOf(parsed(bytes)), expectedOf(bytes)) << testing::PrintToString(bytes);
    }
}

TEST(PMT, TakesTheLargestSection)
{
    Bytes streams;
    while (streams.size() + 5 <= 4098 - 16)
        streams = streams + stream(0x06, 0x50);
    Bytes bytes = section(streams);
    bytes.resize(4098, 0xFF);
    bytes = withSectionLength(bytes, 4095);
    EXPECT_EQ(contentOf(parsed(bytes)), expectedOf(bytes));
}

TEST(PMT, LooksUpTheFirstStreamWithAComponentTag)
{
    PMT table =
        parsed(section(stream(0x04, 1) + stream(0x06, 2, componentTag(7)) +
                       stream(0x06, 3, componentTag(7)) + stream(0x06, 4, componentTag(0))));
    ASSERT_NE(table.getElementaryStream(7), nullptr);
    EXPECT_EQ(table.getElementaryStream(7)->getElementaryPID(), 2);
    ASSERT_NE(table.getElementaryStream(0), nullptr);
    EXPECT_EQ(table.getElementaryStream(0)->getElementaryPID(), 4);
    EXPECT_EQ(table.getElementaryStream(8), nullptr);
}

TEST(PMT, LooksUpTheFirstStreamOfAType)
{
    PMT table = parsed(section(stream(0x04, 1) + stream(0x06, 2) + stream(0x06, 3)));
    ASSERT_NE(table.getElementaryStreamByStreamType(6), nullptr);
    EXPECT_EQ(table.getElementaryStreamByStreamType(6)->getElementaryPID(), 2);
    EXPECT_EQ(table.getElementaryStreamByStreamType(5), nullptr);
}

TEST(PMT, AppendsEveryStreamWithAComponentTagAndTellsWhetherThereIsAny)
{
    PMT table =
        parsed(section(stream(0x06, 1, componentTag(7)) + stream(0x06, 2) +
                       stream(0x06, 3, componentTag(7)) + stream(0x06, 4, componentTag(8))));
    std::vector<ElementaryStream*> found;
    EXPECT_FALSE(table.getElementaryStreams(9, found));
    EXPECT_TRUE(found.empty());
    EXPECT_TRUE(table.getElementaryStreams(7, found));
    const ElementaryStream* const all = table.getElementaryStreams().data();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0], &all[0]);
    EXPECT_EQ(found[1], &all[2]);
    EXPECT_TRUE(table.getElementaryStreams(9, found)) << "what was there before counts";
    EXPECT_EQ(found.size(), 2U);
    EXPECT_TRUE(table.getElementaryStreams(8, found));
    EXPECT_EQ(found.back(), &all[3]);
}

StreamContent parsedEntry(const Bytes& entry)
{
    return contentOf(ElementaryStream(exactBlock(entry).get()));
}

TEST(ElementaryStream, StopsAtTheFirstDescriptorThatDoesNotFit)
{
    const Bytes tag = componentTag(3);
    const std::tuple<const char*, Bytes, bool, bool> cases[] = {
        {"no descriptors", {}, false, false},
        {"half a header", {0x52}, false, false},
        {"a header whose body is missing", {0x52, 1}, false, false},
        {"the first one is a byte short", {0x6F, 2, 0}, false, false},
        {"the first one claims the maximum", Bytes{0x6F, 255} + tag, false, false},
        {"exact", tag, true, false},
        {"an empty one", tag + Bytes{0x6F, 0}, true, true},
        {"the second one is a byte short", tag + Bytes{0x6F, 2, 0}, true, false},
        {"half a header behind", tag + Bytes{0x6F}, true, false},
        {"the longest", tag + descriptor(0x6F, Bytes(255)), true, true},
        {"behind one of another kind", descriptor(0x0A, {1, 2, 3, 4}) + tag, true, false},
    };
    for (const auto& [why, descriptors, hasTag, hasSignalling] : cases) {
        const StreamContent content = parsedEntry(stream(0x0B, 0x1234, descriptors));
        EXPECT_EQ(content.componentTag.has_value(), hasTag) << why;
        EXPECT_EQ(content.hasApplicationSignalling, hasSignalling) << why;
        EXPECT_EQ(content.type, 0x0BU) << why;
        EXPECT_EQ(content.pid, 0x1234U) << why;
    }
}

TEST(ElementaryStream, DescriptorsEndWithTheEntryNotWithTheMemory)
{
    const Bytes descriptors = componentTag(3) + descriptor(0x6F, {0});
    for (size_t length = 0; length <= descriptors.size(); ++length) {
        const StreamContent content = parsedEntry(stream(0x0B, 1, descriptors, length));
        EXPECT_EQ(content.componentTag.has_value(), length >= 3) << length;
        EXPECT_EQ(content.hasApplicationSignalling, length >= 6) << length;
    }
}

TEST(ElementaryStream, ADescriptorTooShortForItsFieldIsSkipped)
{
    const Bytes shortOnes =
        descriptor(0x52, {}) + descriptor(0x13, {}) + descriptor(0x13, {1, 2, 3});
    StreamContent content = parsedEntry(stream(0x0B, 1, shortOnes + descriptor(0x14, {})));
    EXPECT_FALSE(content.componentTag);
    EXPECT_FALSE(content.carouselId);
    EXPECT_TRUE(content.hasAssociationTag) << "what follows still counts";
    content = parsedEntry(stream(0x0B, 1, carouselDescriptors + shortOnes));
    EXPECT_EQ(content.componentTag, 0x2AU) << "one before stays";
    EXPECT_EQ(content.carouselId, 0x81020304U);
    content = parsedEntry(stream(0x0B, 1, descriptor(0x13, {0xFF, 0xFF, 0xFF, 0xFF})));
    EXPECT_EQ(content.carouselId, 0xFFFFFFFFU);
}

TEST(ElementaryStream, KeepsTheLaterOfTwoEqualTags)
{
    const StreamContent content = parsedEntry(
        stream(0x0B, 1,
               componentTag(8) + descriptor(0x13, {0, 0, 0, 1}) + descriptor(0x6F, {}) +
                   descriptor(0x13, {0, 0, 0, 2, 9}) + descriptor(0x6F, {}) + componentTag(9)));
    EXPECT_EQ(content.componentTag, 9U);
    EXPECT_EQ(content.carouselId, 2U);
    EXPECT_TRUE(content.hasApplicationSignalling);
}

TEST(ElementaryStream, IgnoresReservedBits)
{
    EXPECT_EQ(parsedEntry({0x0B, 0xFF, 0xFF, 0xF0, 0x00}).pid, 0x1FFFU);
    EXPECT_EQ(parsedEntry({0x0B, 0x1F, 0xFF, 0x00, 0x00}).pid, 0x1FFFU);
    EXPECT_EQ(parsedEntry({0x0B, 0x00, 0x00, 0x00, 0x03, 0x52, 1, 5}).componentTag, 5U);
}

TEST(ElementaryStream, TakesInfoLongerThanAByteCounts)
{
    const Bytes filling = descriptor(0xC0, Bytes(255));
    Bytes descriptors;
    while (descriptors.size() + filling.size() + 3 <= 0xFFF)
        descriptors = descriptors + filling;
    EXPECT_EQ(parsedEntry(stream(1, 1, descriptors + componentTag(6))).componentTag, 6U);
}

TEST(ElementaryStream, OfNothingHoldsNothing)
{
    const unsigned char* const nothing = nullptr;
    EXPECT_EQ(contentOf(ElementaryStream(nothing)), StreamContent());
    const Bytes entry = stream(0x0B, 1, componentTag(3));
    for (size_t size = 0; size < 5; ++size) {
        const auto block =
            exactBlock(Bytes(entry.begin(), entry.begin() + static_cast<long>(size)));
        ByteReader reader(block.get(), size);
        EXPECT_FALSE(contentOf(ElementaryStream(reader)).componentTag) << size;
        EXPECT_TRUE(reader.empty()) << size;
    }
}

TEST(CarouselIdentifierDescriptor, EqualsOneOfTheSameCarousel)
{
    CarouselIdentifierDescriptor one(1);
    CarouselIdentifierDescriptor same(1);
    CarouselIdentifierDescriptor other(0x01000001);
    EXPECT_TRUE(one.equals(&one));
    EXPECT_TRUE(one.equals(&same));
    EXPECT_FALSE(one.equals(&other));
    EXPECT_FALSE(one.equals(nullptr));
}

}  // namespace
}  // namespace VestaHbbTV
