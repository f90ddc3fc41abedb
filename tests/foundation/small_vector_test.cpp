#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>

#include "foundation/small_vector.h"

using namespace VestaHbbTV;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(SmallVector, KeepsItsElementsWhenItOutgrowsItsPlace)
{
    SmallVector<int, 2> list;
    EXPECT_THAT(list, IsEmpty());
    list.push_back(1);
    list.push_back(2);
    EXPECT_THAT(list, ElementsAre(1, 2));
    list.push_back(3);
    list.push_back(4);
    EXPECT_THAT(list, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(list[3], 4);
    EXPECT_EQ(list.size(), 4U);
}

TEST(SmallVector, IsReplacedBothWays)
{
    const int many[] = {5, 6, 7};
    SmallVector<int, 2> list;
    list.assign(many, 3);
    EXPECT_THAT(list, ElementsAre(5, 6, 7));
    list.push_back(8);
    EXPECT_THAT(list, ElementsAre(5, 6, 7, 8));
    list.assign(many, 1);
    EXPECT_THAT(list, ElementsAre(5));
    list.push_back(9);
    list.push_back(10);
    EXPECT_THAT(list, ElementsAre(5, 9, 10));
    list.assign(many, 0);
    EXPECT_TRUE(list.empty());
}

TEST(SmallVector, IsCopied)
{
    SmallVector<int, 1> list;
    list.push_back(1);
    SmallVector<int, 1> copy = list;
    copy.push_back(2);
    list = copy;
    copy.push_back(3);
    EXPECT_THAT(list, ElementsAre(1, 2));
    EXPECT_THAT(copy, ElementsAre(1, 2, 3));
}

TEST(SmallVector, KeepsItsElementsWhenItIsAssignedToItself)
{
    SmallVector<int, 1> list;
    const SmallVector<int, 1>& same = list;
    for (const int element : {1, 2}) {
        list.push_back(element);
        list = same;
    }
    EXPECT_THAT(list, ElementsAre(1, 2));
}

TEST(SmallVector, StaysUsableAfterItsElementsMovedAway)
{
    for (const size_t count : {0U, 1U, 2U, 3U, 9U}) {
        SmallVector<int, 2> from;
        for (size_t i = 0; i < count; ++i)
            from.push_back(7);
        SmallVector<int, 2> constructed = std::move(from);
        EXPECT_EQ(constructed.size(), count);
        EXPECT_THAT(from, Each(7));  // NOLINT(bugprone-use-after-move): that is what is tested
        from.push_back(7);
        EXPECT_THAT(from, Each(7));
        SmallVector<int, 2> assigned;
        assigned = std::move(constructed);
        EXPECT_EQ(assigned.size(), count);
        EXPECT_THAT(constructed, Each(7));  // NOLINT(bugprone-use-after-move)
    }
}
