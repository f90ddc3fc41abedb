#include <gtest/gtest.h>

#include "station/text/dvb_text.h"

namespace station {

namespace {

TEST(DvbText, SaysWhenItIsMoreThanAscii)
{
    EXPECT_EQ(encodeDvbText(""), "");
    EXPECT_EQ(encodeDvbText("News ~ 12"), "News ~ 12");
    EXPECT_EQ(encodeDvbText("Fu\xC3\x9F"
                            "ball"),
              "\x15"
              "Fu\xC3\x9F"
              "ball");
    EXPECT_EQ(encodeDvbText("a\nb"), "\x15"
                                     "a\nb");
}

}  // namespace

}  // namespace station
