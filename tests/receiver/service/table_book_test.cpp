#include <gtest/gtest.h>
#include <string>

#include "receiver/service/table_book.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

using namespace std::string_literals;

Bytes entryWith(unsigned id, const Bytes& descriptors)
{
    return ByteWriter()
        .u32(0x0A)
        .u16(id)
        .u8(1)
        .u16(0xF000 | unsigned(descriptors.size()))
        .add(descriptors);
}

Bytes entry(unsigned id, const Bytes& profiles, const std::string& name)
{
    return entryWith(id, makeDescriptor(0x00, ByteWriter().with8(profiles).u8(0xFF).u8(1).u8(1)) +
                             makeDescriptor(0x01, ByteWriter().add("eng"s).with8(name)));
}

Bytes table(unsigned version, unsigned number, const Bytes& entries)
{
    return makeSection(
        {0x74, 0x0010, version, true, number, 1},
        ByteWriter().u16(0xF000).u16(0xF000 | unsigned(entries.size())).add(entries));
}

using Texts = std::vector<std::string>;

TEST(TableBook, ProfilesAreKnownFromAllSectionsOfAVersion)
{
    TableBook book;
    book.note(table(1, 0, entry(1, {0, 0, 1, 2, 1, 0, 3, 1, 1, 1, 9}, "A")));
    book.note(table(1, 1, entry(2, {}, "B") + entry(1, {0, 9, 9, 9, 9}, "second of its ids")));
    EXPECT_EQ(book.profilesOf(0x0A, 1),
              (Texts{"0x0000 with version 1.2.1", "0x0003 with version 1.1.1"}));
    EXPECT_EQ(book.profilesOf(0x0A, 2), Texts());
    EXPECT_EQ(book.profilesOf(0x0A, 3), Texts());
    book.note(table(2, 0, entry(3, {0, 1, 1, 1, 1}, "C")));
    EXPECT_EQ(book.profilesOf(0x0A, 1), Texts());
    EXPECT_EQ(book.profilesOf(0x0A, 3), Texts{"0x0001 with version 1.1.1"});
    book.clear();
    EXPECT_EQ(book.profilesOf(0x0A, 3), Texts());
}

TEST(TableBook, BoundariesAreTheUrlsOfTheFirstDescriptorThatHasSome)
{
    const auto boundary = [](const Bytes& urls, unsigned count) {
        return makeDescriptor(0x17, ByteWriter().u8(count).add(urls));
    };
    const Bytes two = ByteWriter().with8("http://a.example/"s).with8("https://b.example"s);
    const Bytes other = ByteWriter().with8("http://other.example/"s);
    Bytes cut = two;
    cut.pop_back();
    TableBook book;
    book.note(table(1, 0,
                    entryWith(1, boundary(two, 2) + boundary(other, 1)) +
                        entryWith(2, boundary(cut, 2)) + entryWith(3, boundary({}, 0)) +
                        entryWith(4, makeDescriptor(0x17, {}))));
    EXPECT_EQ(book.boundaryOf(0x0A, 1), (Texts{"http://a.example/", "https://b.example"}));
    EXPECT_EQ(book.boundaryOf(0x0A, 2), Texts{"http://a.example/"});
    for (const uint16_t id : {uint16_t(3), uint16_t(4), uint16_t(5)})
        EXPECT_EQ(book.boundaryOf(0x0A, id), Texts());
}

TEST(TableBook, ASectionThatIsReplacedIsForgotten)
{
    TableBook book;
    book.note(table(1, 0, entry(1, {0, 0, 1, 2, 1}, "name\0A"s)));
    book.note(table(1, 1, entry(2, {0, 0, 1, 2, 1}, "B")));
    book.note(table(1, 0, entry(3, {0, 0, 1, 2, 1}, "C")));
    EXPECT_EQ(book.profilesOf(0x0A, 1), Texts());
    EXPECT_EQ(book.wholeName(0x0A, 1, "name"), "name");
    EXPECT_EQ(book.profilesOf(0x0A, 2), Texts{"0x0000 with version 1.2.1"});
    EXPECT_EQ(book.profilesOf(0x0A, 3), Texts{"0x0000 with version 1.2.1"});
}

TEST(TableBook, ANameThatAZeroEndedIsWholeAgain)
{
    const std::string latin = "\x10\0\x01\xE9"s;
    TableBook book;
    book.note(table(1, 0, entry(1, {}, latin) + entry(2, {}, "plain")));
    EXPECT_EQ(book.wholeName(0x0A, 1, latin.c_str()), latin);
    EXPECT_EQ(book.wholeName(0x0A, 2, "plain"), "plain");
    EXPECT_EQ(book.wholeName(0x0A, 2, "another"), "another");
    EXPECT_EQ(book.wholeName(0x0A, 3, "stranger"), "stranger");
}

}  // namespace
}  // namespace receiver
