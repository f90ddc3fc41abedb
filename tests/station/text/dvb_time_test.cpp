#include <gtest/gtest.h>
#include <string>
#include <utility>

#include "station/text/dvb_time.h"

namespace station {

namespace {

// The example of ETSI EN 300 468, 5.2.5.
TEST(DvbTime, WritesTheDayAndTheTime)
{
    EXPECT_EQ(encodeUtc(parseUtc("1993-10-13T12:45:00Z").value()),
              (Bytes{0xC0, 0x79, 0x12, 0x45, 0x00}));
    EXPECT_EQ(encodeDuration(1 * 3600 + 45 * 60 + 30), (Bytes{0x01, 0x45, 0x30}));
    EXPECT_EQ(encodeDuration(99 * 3600 + 59 * 60 + 59), (Bytes{0x99, 0x59, 0x59}));
    EXPECT_EQ(encodeHoursAndMinutes(150), (Bytes{0x02, 0x30}));
}

TEST(DvbTime, ReadsOnlyTimesThatThereAre)
{
    EXPECT_EQ(parseUtc("1970-01-01T00:00:00Z"), 0);
    EXPECT_EQ(parseUtc("2024-02-29T23:59:59Z"), 1'709'251'199);
    for (const char* const wrong :
         {"", "2026-01-01", "2026-02-29T00:00:00Z", "2026-13-01T00:00:00Z", "2026-00-01T00:00:00Z",
          "2026-01-32T00:00:00Z", "2026-01-01T24:00:00Z", "2026-01-01T00:60:00Z",
          "2026-01-01T00:00:60Z", "2026-01-01T00:00:00", "1969-12-31T23:59:59Z",
          "2038-01-01T00:00:00Z", "2026-01-01 00:00:00Z", "2026-0a-01T00:00:00Z"})
        EXPECT_FALSE(parseUtc(wrong)) << wrong;
}

TEST(DvbTime, ReadsDurations)
{
    EXPECT_EQ(parseDuration("1:30:05"), 5405);
    EXPECT_EQ(parseDuration("90:00"), 5400);
    EXPECT_EQ(parseDuration("90"), 90);
    for (const char* const wrong :
         {"", ":", "1:", ":1", "1:60", "1:00:60", "1:2:3:4", "-1", "1.5", "1234567"})
        EXPECT_FALSE(parseDuration(wrong)) << wrong;
}

}  // namespace

}  // namespace station
