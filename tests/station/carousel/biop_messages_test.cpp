#include <gtest/gtest.h>

#include "station/carousel/biop_messages.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

const CarouselIdentity carousel = {42, 0x2A};

// The type, then one profile of two components: where the object is, and where its DII is.
const Bytes reference = {0x00, 0x00, 0x00, 0x04, 'f',  'i',  'l',  0x00,                          //
                         0x00, 0x00, 0x00, 0x01, 0x49, 0x53, 0x4F, 0x06, 0x00, 0x00, 0x00, 0x2B,  //
                         0x00, 0x02,                                                              //
                         0x49, 0x53, 0x4F, 0x50, 0x0D, 0x00, 0x00, 0x00, 0x2A, 0x00, 0x03, 0x01,
                         0x00, 0x04, 0x00, 0x00, 0x01, 0x02,  //
                         0x49, 0x53, 0x4F, 0x40, 0x12, 0x01, 0x00, 0x00, 0x00, 0x16, 0x00, 0x2A,
                         0x0A, 0x00, 0x01, 0x80, 0x00, 0x00, 0x02, 0xFF, 0xFF, 0xFF, 0xFF};

TEST(BiopMessages, AReferenceSaysWhereObjectAndListAre)
{
    EXPECT_EQ(makeObjectReference(carousel, {ObjectKind::File, 3, 0x102, 0x80000002}), reference);
}

TEST(BiopMessages, AFileHasItsSizeAndType)
{
    EXPECT_EQ(makeFile(5, bytesOf("abc"), "t/p"),
              (Bytes{'B', 'I', 'O', 'P', 1, 0, 0, 0, 0, 0,   0,    0x28,                 //
                     4,   0,   0,   0,   5, 0, 0, 0, 4, 'f', 'i',  'l',  0,              //
                     0,   13,  0,   0,   0, 0, 0, 0, 0, 3,   0x72, 3,    't', '/', 'p',  //
                     0,   0,   0,   0,   7, 0, 0, 0, 3, 'a', 'b',  'c'}));
    EXPECT_EQ(makeFile(5, {}, ""), (Bytes{'B', 'I', 'O', 'P', 1, 0, 0, 0, 0, 0,   0,   0x20,     //
                                          4,   0,   0,   0,   5, 0, 0, 0, 4, 'f', 'i', 'l',  0,  //
                                          0,   8,   0,   0,   0, 0, 0, 0, 0, 0,                  //
                                          0,   0,   0,   0,   4, 0, 0, 0, 0}));
}

TEST(BiopMessages, ADirectoryBindsNamesToReferences)
{
    const ObjectPlace place = {ObjectKind::File, 3, 0x102, 0x80000002};
    const Bytes head = {'B', 'I', 'O', 'P', 1,   0, 0,    0,   0,   0,   0,   0x69,     //
                        4,   0,   0,   0,   1,   0, 0,    0,   4,   's', 'r', 'g',  0,  //
                        0,   0,   0,   0,   0,   0, 0x55,                               //
                        0,   1,   1,   2,   'a', 0, 4,    'f', 'i', 'l', 0,   1};
    const Bytes info = {0, 8, 0, 0, 0, 1, 0, 0, 0, 2};
    EXPECT_EQ(
        makeDirectory(ObjectKind::ServiceGateway, 1, carousel, {{"a", place, 0x1'0000'0002, ""}}),
        head + reference + info);
}

TEST(BiopMessages, StreamEventsHaveNamesIdsAndATap)
{
    StreamEventObject object;
    object.componentTag = 0x2B;
    object.events = {{"a", 1}, {"bc", 0x3FFF}};
    EXPECT_EQ(makeStreamEvents(2, object),
              (Bytes{'B', 'I', 'O', 'P', 1,    0, 0,    0,   0, 0,   0,   0x34,     //
                     4,   0,   0,   0,   2,    0, 0,    0,   4, 's', 't', 'e',  0,  //
                     0,   19,  0,   0,   0,    0, 0,    0,   0, 0,   0,   1,        //
                     0,   2,   2,   'a', 0,    3, 'b',  'c', 0,                     //
                     0,   0,   0,   0,   13,                                        //
                     1,   0,   0,   0,   0x0D, 0, 0x2B, 0,   2, 0,   1,   0x3F, 0xFF}));
}

}  // namespace

}  // namespace station
