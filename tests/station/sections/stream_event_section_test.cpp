#include <gtest/gtest.h>

#include "station/sections/stream_event_section.h"
#include "tests/station/support/section_check.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

TEST(StreamEventSection, CarriesOneEvent)
{
    EXPECT_EQ(makeStreamEventSection({0, 0x0102, 3, "1:0"}),
              checked({0x3D, 0xB0, 0x18, 0x01, 0x02, 0xC7, 0x00, 0x00,  // header
                       0x1A, 0x0D, 0x01, 0x02, 0xFF, 0xFF, 0xFF, 0xFE,
                       0x00, 0x00, 0x00, 0x00, '1',  ':',  '0'}));
}

}  // namespace

}  // namespace station
