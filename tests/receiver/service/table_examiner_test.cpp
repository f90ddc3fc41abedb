#include <gtest/gtest.h>
#include <random>
#include <string>
#include <tuple>

#include "receiver/service/table_examiner.h"
#include "signalling/ait.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

struct Lengths {
    unsigned common;
    unsigned loop;
};

/// @param lie added to the lengths that are true
Bytes table(const Bytes& common, const Bytes& applications, Lengths lie = {0, 0},
            SectionFields fields = {0x74, 0x0010})
{
    return makeSection(fields, ByteWriter()
                                   .u16(0xF000 | unsigned(common.size() + lie.common))
                                   .add(common)
                                   .u16(0xF000 | unsigned(applications.size() + lie.loop))
                                   .add(applications));
}

Bytes application(const Bytes& descriptors, unsigned lie = 0)
{
    return ByteWriter()
        .u32(0x0A)
        .u16(1)
        .u8(1)
        .u16(0xF000 | unsigned(descriptors.size() + lie))
        .add(descriptors);
}

const Bytes wellFormed = makeDescriptor(0x00, ByteWriter().u8(0).u8(0xFF).u8(1).u8(1)) +
                         makeDescriptor(0x01, ByteWriter().add(std::string("eng")).u8(1).u8('A'));

bool isTaken(const Bytes& section)
{
    return VestaHbbTV::AIT(1, 2, 3, nullptr).parse(section.data());
}

TEST(TableExaminer, AFaultIsSaidWithItsPlace)
{
    const Bytes good = application(wellFormed);
    const std::tuple<const char*, Bytes, const char*> cases[] = {
        {"nothing", table({}, {}), ""},
        {"whole", table(makeDescriptor(0x02, {0, 3, 1, 0, 0}), good), ""},
        {"the common loop is too long", table({}, {}, {100, 0}),
         "the common loop at offset 8 leaves the section"},
        {"a common descriptor is too long", table({0x02, 9, 0x00}, good),
         "descriptor 0x02 at offset 10 leaves the common loop"},
        {"a common descriptor is half", table({0x66}, good),
         "descriptor 0x66 at offset 10 leaves the common loop"},
        {"the application loop is too long", table({}, good, {0, 5}),
         "the application loop at offset 10 leaves the section"},
        {"an entry is too long", table({}, application({}, 100)),
         "the descriptors of application a.1 at offset 12 leave the section"},
        {"an entry is half", table({}, {0, 0, 0}),
         "the application at offset 12 leaves the section"},
        {"a descriptor is too long", table({}, application(wellFormed + Bytes{0x15, 9, 'x'})),
         "descriptor 0x15 of application a.1 at offset 34 leaves its loop"},
        {"a descriptor is empty", table({}, application(wellFormed + Bytes{0x05, 0})),
         "descriptor 0x05 of application a.1 at offset 34 is empty"},
        {"a name is too long", table({}, application({0x01, 5, 'e', 'n', 'g', 9, 'A'})),
         "descriptor 0x01 of application a.1 at offset 21 has a name that leaves its loop"},
    };
    for (const auto& [why, section, fault] : cases) {
        EXPECT_EQ(faultOfTableSection(section), fault) << why;
        EXPECT_EQ(isTaken(section), *fault == '\0') << why;
    }
}

TEST(TableExaminer, ItFindsAFaultWhereTheApplicationManagerRefusesASectionAndNowhereElse)
{
    const Bytes good = table(makeDescriptor(0x02, {0, 3, 1, 1, 'x', 0}),
                             application(wellFormed) + application(wellFormed));
    std::mt19937 random(1);
    unsigned faults = 0;
    const unsigned rounds = 20000;
    for (unsigned round = 0; round < rounds; ++round) {
        Bytes section = good;
        for (auto changes = 1 + random() % 3; changes > 0; --changes)
            section[8 + random() % (section.size() - 8)] =
                static_cast<unsigned char>(random() % 2 == 0 ? random() % 12 : random());
        const std::string fault = faultOfTableSection(section);
        ASSERT_EQ(isTaken(section), fault.empty()) << fault;
        faults += fault.empty() ? 0u : 1u;
    }
    EXPECT_GT(faults, rounds / 10);
    EXPECT_LT(faults, rounds);
}

TEST(TableExaminer, ShortSectionsAreRead)
{
    for (size_t size = 0; size < 14; ++size)
        faultOfTableSection(Bytes(size, 0x74));
}

TEST(TableExaminer, DescriptorsAreVisited)
{
    std::string visited;
    faultOfTableSection(table({}, application(wellFormed)), [&visited](const TableEntry& entry,
                                                                       uint8_t tag, auto payload) {
        visited += std::to_string(entry.applicationId) + ":" + std::to_string(tag) + ":" +
                   std::to_string(payload.remaining()) + " ";
    });
    EXPECT_EQ(visited, "1:0:4 1:1:5 ");
}

Bytes part(unsigned version, unsigned number, unsigned last, const Bytes& applications = {})
{
    return table({}, applications, {0, 0}, {0x74, 0x0010, version, true, number, last});
}

TEST(TableExaminer, WholeTablesAreNothingToTalkAbout)
{
    TableExaminer examiner;
    for (const Bytes& section : {part(1, 0, 0), part(1, 0, 0), part(2, 1, 1), part(2, 1, 1),
                                 part(2, 0, 1), part(2, 0, 1), part(2, 1, 1), part(3, 0, 0)})
        EXPECT_EQ(examiner.examine(section), "");
    EXPECT_EQ(examiner.lack(), "");
}

TEST(TableExaminer, ATableIsInForceWhenItIsWholeUntilAnotherBegins)
{
    TableExaminer examiner;
    examiner.examine(part(2, 1, 1));
    EXPECT_FALSE(examiner.isInForce(2));
    examiner.examine(part(2, 0, 1));
    EXPECT_TRUE(examiner.isInForce(2));
    EXPECT_FALSE(examiner.isInForce(3));
    examiner.examine(part(3, 0, 1));
    EXPECT_FALSE(examiner.isInForce(2));
    examiner.examine(part(3, 1, 1));
    EXPECT_TRUE(examiner.isInForce(3));
}

TEST(TableExaminer, ATableThatNeverCompletesIsSaidWhenItHasComeRound)
{
    TableExaminer examiner;
    const char* const lack =
        "AIT version 2 is not complete: of 4 sections, number 2, 3 did not come";
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(examiner.examine(part(2, 0, 3)), "");
        EXPECT_EQ(examiner.examine(part(2, 3, 3)), "");
    }
    EXPECT_EQ(examiner.lack(), lack);
    EXPECT_EQ(examiner.examine(part(2, 0, 3)), lack);
    EXPECT_EQ(examiner.examine(part(3, 0, 0)), std::string("AIT version 3 is not taken: ") + lack);
    examiner.clear();
    EXPECT_EQ(examiner.lack(), "");
    EXPECT_EQ(examiner.examine(part(3, 0, 0)), "");
}

TEST(TableExaminer, ARefusedSectionBarsTheWayOnlyIfItCompletesTheTable)
{
    const Bytes faulty = part(2, 0, 1, {0, 0, 0});
    const std::string refused = "section 1 of 2: the application at offset 12 leaves the section";
    TableExaminer examiner;
    EXPECT_EQ(examiner.examine(part(1, 0, 0)), "");
    EXPECT_EQ(examiner.examine(part(2, 1, 1)), "");
    EXPECT_EQ(examiner.examine(faulty), "AIT version 2 is refused in " + refused);
    EXPECT_EQ(examiner.examine(part(2, 1, 1)), "AIT version 2 is not taken any more: " + refused);
    EXPECT_EQ(examiner.examine(part(3, 0, 0)),
              "AIT version 3 is not taken: AIT version 2 was refused in " + refused);

    examiner.clear();
    EXPECT_EQ(examiner.examine(faulty), "AIT version 2 is refused in " + refused);
    EXPECT_EQ(examiner.examine(part(2, 1, 1)), "");
    EXPECT_EQ(examiner.examine(part(3, 0, 0)), "");
}

TEST(TableExaminer, ANumberBeyondTheLastOneIsSaid)
{
    TableExaminer examiner;
    EXPECT_EQ(examiner.examine(part(1, 5, 1)), "");
    EXPECT_EQ(examiner.lack(),
              "AIT version 1 is not complete: of 2 sections, number 1, 2 did not come");
    examiner.clear();
    for (const unsigned number : {5u, 0u, 1u})
        examiner.examine(part(1, number, 1));
    EXPECT_EQ(examiner.lack(), "");  // two of two sections had come before the third
    for (const unsigned number : {0u, 5u})
        examiner.examine(part(2, number, 2));
    EXPECT_EQ(examiner.lack(),
              "AIT version 2 is not complete: of 3 sections, number 2, 3 did not come");
}

}  // namespace
}  // namespace receiver
