#include <gtest/gtest.h>

#include "station/carousel/download_sections.h"
#include "tests/station/support/section_check.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

const CarouselIdentity carousel = {42, 0x2A};

TEST(DownloadSections, TheFirstMessageLeadsToTheGateway)
{
    const ObjectPlace gateway = {ObjectKind::ServiceGateway, 1, 1, 0x80000002};
    const Bytes reference = makeObjectReference(carousel, gateway);
    ASSERT_EQ(reference.size(), 0x3FU);
    const Bytes head = {0x3B, 0xB0, 0x70, 0x00, 0x00, 0xC1, 0x00, 0x00,              //
                        0x11, 0x03, 0x10, 0x06, 0x80, 0x00, 0x00, 0x00, 0xFF, 0x00,  //
                        0x00, 0x5B};
    const Bytes serverId(20, 0xFF);
    EXPECT_EQ(makeServerInitiate(carousel, gateway),
              checked(head + serverId + Bytes{0, 0, 0, 0x43} + reference + Bytes{0, 0, 0, 0}));
}

TEST(DownloadSections, AListAnnouncesModules)
{
    const std::vector<Module> modules = {{1, 7, {1, 2, 3}, {}}, {2, 7, {4}, 0x01020304}};
    EXPECT_EQ(makeInfoIndication(carousel, 0x80070003, modules),
              checked({0x3B, 0xB0, 0x6C, 0x00, 0x03, 0xC1, 0x00, 0x00,              //
                       0x11, 0x03, 0x10, 0x02, 0x80, 0x07, 0x00, 0x03, 0xFF, 0x00,  //
                       0x00, 0x57, 0x00, 0x00, 0x00, 0x2A, 0x0F, 0xE2,              //
                       0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  //
                       0x00, 0x00, 0x00, 0x02,                                      //
                       0x00, 0x01, 0x00, 0x00, 0x00, 0x03, 0x07, 0x15,              //
                       0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00,
                       0x00, 0x01, 0x00, 0x00, 0x00, 0x17, 0x00, 0x2A, 0x00, 0x00,  //
                       0x00, 0x02, 0x00, 0x00, 0x00, 0x01, 0x07, 0x1C,              //
                       0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00,
                       0x00, 0x01, 0x00, 0x00, 0x00, 0x17, 0x00, 0x2A, 0x00, 0x07, 0x09,
                       0x05, 0x78, 0x01, 0x02, 0x03, 0x04,  //
                       0x00, 0x00}));
}

TEST(DownloadSections, ALongListStillFits)
{
    std::vector<Module> modules(modulesPerList, {1, 0, {1}, 2});
    EXPECT_LE(makeInfoIndication(carousel, 0x80000002, modules).size(), 4096U);
}

TEST(DownloadSections, ListsHaveTransactionIdsOfTheirOwn)
{
    EXPECT_EQ(listTransactionId(0, 0), 0x80000002U);
    EXPECT_EQ(listTransactionId(0, 1), 0x80010003U) << "the lowest bit toggles with the version";
    EXPECT_EQ(listTransactionId(2, 0), 0x80000006U);
}

TEST(DownloadSections, BlocksHoldTheWholeModule)
{
    EXPECT_EQ(makeDataBlocks(carousel, {3, 5, {0xAA, 0xBB}, {}}),
              (std::vector<Bytes>{
                  checked({0x3C, 0xB0, 0x1D, 0x00, 0x03, 0xCB, 0x00, 0x00,              //
                           0x11, 0x03, 0x10, 0x03, 0x00, 0x00, 0x00, 0x2A, 0xFF, 0x00,  //
                           0x00, 0x08, 0x00, 0x03, 0x05, 0xFF, 0x00, 0x00, 0xAA, 0xBB})}));
    const auto whole = makeDataBlocks(carousel, {3, 5, Bytes(2 * blockSize, 1), {}});
    ASSERT_EQ(whole.size(), 2U);
    EXPECT_EQ(whole[0].size(), 4096U) << "the longest section there is";
    EXPECT_EQ(whole[1][25], 1) << "block number";
}

TEST(DownloadSections, TwoHundredAndFiftySixBlocksAreATable)
{
    const auto sections = makeDataBlocks(carousel, {3, 0, Bytes(257 * blockSize, 1), {}});
    ASSERT_EQ(sections.size(), 257U);
    EXPECT_EQ(sections[255][6], 255);
    EXPECT_EQ(sections[255][7], 255);
    EXPECT_EQ(sections[256][6], 0) << "section_number begins again";
    EXPECT_EQ(sections[256][7], 0) << "last_section_number of the second table";
    EXPECT_EQ(sections[256][24], 1) << "block number 256";
    EXPECT_EQ(sections[256][25], 0);
}

}  // namespace

}  // namespace station
