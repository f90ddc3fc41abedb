#include <gtest/gtest.h>

#include "tests/receiver/support/played_session.h"

namespace receiver {
namespace {

TEST(StatusPage, SaysOnceWhatAllCarouselsTakeTogether)
{
    PlayedSession played;
    ASSERT_EQ(played.play({"wait end", "status"}), exitSuccess) << played.problem();
    EXPECT_TRUE(played.says(" modules\n")) << played.output();
    EXPECT_TRUE(played.says("carousels together: ")) << played.output();
}

}  // namespace
}  // namespace receiver
