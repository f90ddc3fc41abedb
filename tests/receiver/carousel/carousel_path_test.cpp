#include <gtest/gtest.h>

#include "receiver/carousel/carousel_path.h"

namespace receiver {
namespace {

TEST(CarouselPath, IdsAreHexadecimalAndTheRestIsThePath)
{
    const auto path = parseCarouselPath("20fa.441.6dd0.a/x/y.html");
    ASSERT_TRUE(path);
    EXPECT_EQ(path->originalNetworkId, 0x20FA);
    EXPECT_EQ(path->transportStreamId, 0x0441);
    EXPECT_EQ(path->serviceId, 0x6DD0);
    EXPECT_EQ(path->componentTag, 0x0A);
    EXPECT_EQ(path->path, "x/y.html");
}

TEST(CarouselPath, ThePathStaysAsItStands)
{
    EXPECT_EQ(parseCarouselPath("1.2.3.4/a?b/c#d")->path, "a?b/c#d");
    EXPECT_EQ(parseCarouselPath("1.2.3.4/?a")->path, "?a");
    EXPECT_EQ(parseCarouselPath("1.2.3.4?a/b")->path, "?a/b");
    EXPECT_EQ(parseCarouselPath("1.2.3.4#a")->path, "#a");
    EXPECT_EQ(parseCarouselPath("1.2.3.4/a%3Fb")->path, "a%3Fb");
    EXPECT_EQ(parseCarouselPath("1.2.3.4/")->path, "");
    EXPECT_EQ(parseCarouselPath("1.2.3.4")->path, "");
}

TEST(CarouselPath, TheTransportStreamMayBeLeftOut)
{
    const auto path = parseCarouselPath("FFFF..1.FF/x");
    ASSERT_TRUE(path);
    EXPECT_FALSE(path->transportStreamId);
    EXPECT_EQ(path->originalNetworkId, 0xFFFF);
    EXPECT_EQ(path->componentTag, 0xFF);
}

TEST(CarouselPath, AnythingElseIsRefused)
{
    for (const char* text : {"", "/", "1.2.3/x", "1.2.3.4.5/x", ".2.3.4/x", "1.2..4/x", "1.2.3./x",
                             "10000.2.3.4/x", "1.2.3.100/x", "1.2.3.g/x", "1. 2.3.4/x",
                             "-1.2.3.4/x", "0x1.2.3.4/x", "fffffffffffffffffffff1.2.3.4/x"})
        EXPECT_FALSE(parseCarouselPath(text)) << text;
}

}  // namespace
}  // namespace receiver
