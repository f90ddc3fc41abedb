#include <gtest/gtest.h>

#include "receiver/integration/channel_reference.h"

namespace receiver {
namespace {

TEST(ChannelReference, IsTheSameForAService)
{
    EXPECT_EQ(channelReference(0x441, 0x6DD0), channelReference(0x441, 0x6DD0));
    EXPECT_NE(channelReference(0x441, 0x6DD0), channelReference(0x441, 0x6DD1));
    EXPECT_NE(channelReference(0x441, 0x6DD0), channelReference(0x442, 0x6DD0));
}

TEST(ChannelReference, LeadsBackToTheService)
{
    EXPECT_EQ(serviceIdOf(channelReference(0xFFFF, 0xFFFF)), 0xFFFF);
    EXPECT_EQ(serviceIdOf(channelReference(0, 1)), 1);
}

TEST(ChannelReference, IsNullForNoService)
{
    EXPECT_EQ(channelReference(0x441, 0), nullptr);
    EXPECT_EQ(serviceIdOf(nullptr), 0);
}

}  // namespace
}  // namespace receiver
