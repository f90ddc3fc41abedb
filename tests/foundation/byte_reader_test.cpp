#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <tuple>

#include "foundation/byte_reader.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// A reader of its own heap block, so that a sanitizer sees one byte too far.
class Block {
public:
    Block(std::initializer_list<unsigned char> bytes)
        : bytes_(exactBlock(bytes)), reader(bytes_.get(), bytes.size())
    {
    }

private:
    std::unique_ptr<unsigned char[]> bytes_;

public:
    ByteReader reader;
};

}  // namespace

TEST(ByteReader, OfNothingIsEmptyAndOk)
{
    ByteReader reader;
    EXPECT_TRUE(reader.ok());
    EXPECT_TRUE(reader.empty());
    EXPECT_EQ(reader.peek(), 0);
    EXPECT_TRUE(reader.take(0).ok());
    EXPECT_EQ(reader.text(0), "");
    reader.skip(0);
    EXPECT_TRUE(reader.ok());
}

TEST(ByteReader, ReadsBigEndianFields)
{
    Block block({0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0xF1, 0x23, 'a', 0, 'b'});
    ByteReader& reader = block.reader;
    EXPECT_EQ(reader.peek(), 0xFE);
    EXPECT_EQ(reader.u8(), 0xFE);
    EXPECT_EQ(reader.u16(), 0xDCBA);
    EXPECT_EQ(reader.u32(), 0x98765432U);
    EXPECT_EQ(reader.length12(), 0x123) << "the upper four bits are no part of a length";
    EXPECT_EQ(reader.remaining(), 3U);
    EXPECT_EQ(reader.text(3), std::string("a\0b", 3));
    EXPECT_TRUE(reader.ok());
    EXPECT_TRUE(reader.empty());
}

TEST(ByteReader, AReadThatDoesNotFitYieldsZeroAndEndsTheReader)
{
    const std::tuple<const char*, unsigned (*)(ByteReader&)> reads[] = {
        {"u8", [](ByteReader& reader) { return unsigned{reader.u8()}; }},
        {"u16", [](ByteReader& reader) { return unsigned{reader.u16()}; }},
        {"u32", [](ByteReader& reader) { return unsigned{reader.u32()}; }},
        {"length12", [](ByteReader& reader) { return unsigned{reader.length12()}; }},
    };
    const size_t sizes[] = {1, 2, 4, 2};
    for (size_t i = 0; i < std::size(reads); ++i) {
        const auto& [name, read] = reads[i];
        Block block({1, 2, 3, 4});
        ByteReader reader(block.reader.data(), sizes[i] - 1);
        EXPECT_EQ(read(reader), 0U) << name;
        EXPECT_FALSE(reader.ok()) << name;
        EXPECT_TRUE(reader.empty()) << name;
        EXPECT_EQ(reader.u8(), 0) << name;
        EXPECT_TRUE(reader.take(0).empty()) << name;
        EXPECT_FALSE(reader.ok()) << name;
    }
}

TEST(ByteReader, TakesAPartAsAReaderOfItsOwn)
{
    Block block({1, 2, 3});
    ByteReader part = block.reader.take(2);
    EXPECT_EQ(block.reader.remaining(), 1U);
    EXPECT_EQ(part.u16(), 0x0102);
    EXPECT_EQ(part.u8(), 0) << "what follows it is its parent's";
    EXPECT_FALSE(part.ok());
    EXPECT_TRUE(block.reader.ok());
    EXPECT_EQ(block.reader.u8(), 3);
}

TEST(ByteReader, APartBeyondTheEndIsEmptyAndNeitherIsOk)
{
    for (const size_t count : {size_t{4}, size_t{0xFFFF}, ~size_t{0}}) {
        Block block({1, 2, 3});
        const ByteReader part = block.reader.take(count);
        EXPECT_TRUE(part.empty());
        EXPECT_FALSE(part.ok());
        EXPECT_FALSE(block.reader.ok());
        EXPECT_TRUE(block.reader.empty());
    }
}

TEST(ByteReader, SkippingAndTextsBeyondTheEndEndTheReader)
{
    Block skipped({1, 2, 3});
    skipped.reader.skip(4);
    EXPECT_FALSE(skipped.reader.ok());
    EXPECT_EQ(skipped.reader.u8(), 0);
    Block text({'a', 'b'});
    EXPECT_EQ(text.reader.text(3), "");
    EXPECT_FALSE(text.reader.ok());
    Block exact({'a', 'b'});
    exact.reader.skip(2);
    EXPECT_TRUE(exact.reader.ok());
}
