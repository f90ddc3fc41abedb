#include <gtest/gtest.h>

#include "lifecycle/application_policy.h"

using namespace VestaHbbTV;

namespace {

TEST(ApplicationPolicyHbbTV, AllowsAnyNumberOfWindowsAndCountsThem)
{
    ApplicationPolicyHbbTV policy;
    EXPECT_EQ(policy.getWindowCount(), 0);
    for (int windows = 1; windows <= 1000; ++windows) {
        EXPECT_TRUE(policy.requestNewWindow());
        EXPECT_EQ(policy.getWindowCount(), windows);
    }
}

TEST(ApplicationPolicyHbbTV, ReleasingStopsAtNone)
{
    ApplicationPolicyHbbTV policy;
    policy.requestNewWindow();
    policy.releaseWindow();
    policy.releaseWindow();
    EXPECT_EQ(policy.getWindowCount(), 0);
    policy.requestNewWindow();
    EXPECT_EQ(policy.getWindowCount(), 1);
}

}  // namespace
