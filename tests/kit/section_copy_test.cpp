#include <gtest/gtest.h>
#include <ostream>

#include "kit/section_copy.h"
#include "tests/support/section_builder.h"

namespace VestaHbbTV {
namespace {

using vesta::test::AITEntry;
using vesta::test::AITSection;
using vesta::test::Bytes;
using vesta::test::descriptor;
using vesta::test::Profile;

const Bytes empty = descriptor(0x77, {});

Bytes copied(const AITSection& section, const CopyChanges& changes = {})
{
    const Bytes bytes = section.bytes();
    const auto block = section.exactBlock();
    Section copy = copySection(ByteReader(block.get(), bytes.size()), changes);
    setChecksum(copy);
    return copy;
}

AITEntry entry(uint16_t id = 1)
{
    return AITEntry(0x0A, id).name("Launcher").http(1, "http://a.example/").location("i.html");
}

TEST(SectionCopy, OfAnOrdinarySectionIsTheSame)
{
    const AITSection section = AITSection()
                                   .version(3)
                                   .number(1, 2)
                                   .common(vesta::test::carouselTransport(2, 7))
                                   .add(entry(1))
                                   .add(entry(2));
    EXPECT_EQ(copied(section), section.bytes());
}

TEST(SectionCopy, IsWithoutTheEmptyDescriptorsOfApplications)
{
    const AITSection section =
        AITSection().add(AITEntry(0x0A, 1).raw(empty).name("N").raw(empty)).add(entry(2));
    EXPECT_EQ(copied(section), AITSection().add(AITEntry(0x0A, 1).name("N")).add(entry(2)).bytes());
}

TEST(SectionCopy, HasTheEmptyDescriptorsThatHarmNobody)
{
    const AITSection section = AITSection().common(empty).add(entry());
    EXPECT_EQ(copied(section), section.bytes());
}

TEST(SectionCopy, HasThemAllWhereTheyAreNotToBeTakenOut)
{
    const AITSection section = AITSection().add(entry().raw(empty));
    CopyChanges changes;
    changes.takesOutEmptyDescriptors = false;
    EXPECT_EQ(copied(section, changes), section.bytes());
}

TEST(SectionCopy, KeepsWhatFollowsTheLoop)
{
    const auto length = static_cast<uint16_t>(entry().bytes().size());
    const AITSection section =
        AITSection().add(entry()).add(Bytes{1, 2}).applicationLoopLength(length);
    EXPECT_EQ(copied(section), section.bytes());
}

struct VersionRow {
    HbbTVVersion carried;
    Profile asked;
    Profile inCopy;
};

// A case is named by its members: what is between them has no value.
void PrintTo(const VersionRow& row, std::ostream* out)
{
    const auto& [major, minor, micro] = row.carried;
    *out << "HbbTV " << int{major} << '.' << int{minor} << '.' << int{micro} << ", asked "
         << int{row.asked.major} << '.' << int{row.asked.minor} << '.' << int{row.asked.micro};
}

class CarriedVersions : public ::testing::TestWithParam<VersionRow> {};

TEST_P(CarriedVersions, AskForTheFirstInTheCopy)
{
    CopyChanges changes;
    changes.carriedVersion = GetParam().carried;
    const auto with = [](const Profile& profile) {
        return AITSection().add(entry().profiles({{0x0002, 9, 9, 9}, profile}));
    };
    EXPECT_EQ(copied(with(GetParam().asked), changes), with(GetParam().inCopy).bytes());
}

INSTANTIATE_TEST_SUITE_P(Profile, CarriedVersions,
                         ::testing::Values(VersionRow{{1, 4, 1}, {1, 1, 4, 1}, {1, 1, 1, 1}},
                                           VersionRow{{1, 4, 1}, {1, 1, 2, 1}, {1, 1, 1, 1}},
                                           VersionRow{{1, 4, 1}, {1, 1, 5, 1}, {1, 1, 5, 1}},
                                           VersionRow{{1, 4, 1}, {1, 1, 4, 2}, {1, 1, 4, 2}},
                                           VersionRow{{1, 4, 1}, {1, 2, 0, 0}, {1, 2, 0, 0}},
                                           VersionRow{{1, 4, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}},
                                           VersionRow{{1, 4, 1}, {1, 0, 9, 0}, {1, 0, 9, 0}},
                                           VersionRow{{0, 0, 0}, {1, 1, 4, 1}, {1, 1, 4, 1}}));

TEST(CarriedVersion, LeavesWhatIsCutOffAlone)
{
    CopyChanges changes;
    changes.carriedVersion = {1, 7, 1};
    // Of the second profile one byte is missing.
    const Bytes cut = descriptor(0x00, {10, 0, 0, 1, 4, 1, 0, 0, 1, 5});
    const Bytes lowered = descriptor(0x00, {10, 0, 0, 1, 1, 1, 0, 0, 1, 5});
    const auto with = [](const Bytes& bytes) {
        return AITSection().add(AITEntry(1, 1).withoutApplicationDescriptor().raw(bytes));
    };
    EXPECT_EQ(copied(with(cut), changes), with(lowered).bytes());
}

}  // namespace
}  // namespace VestaHbbTV
