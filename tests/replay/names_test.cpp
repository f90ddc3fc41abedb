#include <gtest/gtest.h>

#include "replay/names.h"

namespace replay {
namespace {

using recorder::Handle;

TEST(Names, AreOfTheirKind)
{
    EXPECT_TRUE(isNameOf(Handle::window, "window:1"));
    EXPECT_TRUE(isNameOf(Handle::window, "window:4294967296"));
    for (const char* const name :
         {"", "window", "window:", "window:x", "window:1 ", "page:1", "window1"})
        EXPECT_FALSE(isNameOf(Handle::window, name)) << name;
}

TEST(Names, HaveValuesOfTheirOwn)
{
    Names names;
    const auto first = names.valueOf(Handle::page, "page:1");
    const auto second = names.valueOf(Handle::page, "page:2");
    ASSERT_TRUE(first && second);
    EXPECT_NE(*first, 0u);
    EXPECT_NE(*first, *second);
    EXPECT_EQ(names.valueOf(Handle::page, "page:1"), first);
    EXPECT_EQ(names.nameFor(Handle::page, *first, false, "page:2"), "page:1");
}

TEST(Names, AreBoundToWhatTheLibraryMakes)
{
    Names names;
    EXPECT_EQ(names.nameFor(Handle::window, 77, true, "window:1"), "window:1");
    EXPECT_EQ(names.nameFor(Handle::window, 77, false, "window:2"), "window:1");
    EXPECT_EQ(names.valueOf(Handle::window, "window:1"), 77u);
    EXPECT_EQ(names.nameFor(Handle::window, 77, true, "window:2"), "window:2") << "made anew";
    EXPECT_EQ(names.nameFor(Handle::window, 77, false, "window:1"), "window:2");
}

TEST(Names, AreNotBoundTwice)
{
    Names names;
    EXPECT_EQ(names.nameFor(Handle::application, 1, false, "application:1"), "application:1");
    EXPECT_EQ(names.nameFor(Handle::application, 2, false, "application:1"), "application:?");
    EXPECT_EQ(names.nameFor(Handle::application, 2, false, ""), "application:?");
    EXPECT_EQ(names.nameFor(Handle::application, 2, false, "page:1"), "application:?");
}

TEST(Names, OfTheProgramsHandlesAreNotTheLibrarysToBind)
{
    Names names;
    ASSERT_TRUE(names.valueOf(Handle::page, "page:1"));
    EXPECT_EQ(names.nameFor(Handle::page, 77, false, "page:1"), "page:?");
}

TEST(Names, OfTheLibrarysThatTheProgramMadeUpGiveWay)
{
    Names names;
    ASSERT_TRUE(names.valueOf(Handle::application, "application:1"));
    EXPECT_EQ(names.nameFor(Handle::application, 5, false, "application:1"), "application:1");
    EXPECT_EQ(names.valueOf(Handle::application, "application:1"), 5u);
}

TEST(Names, AreNotWithoutNumber)
{
    Names names;
    const int tooMany = 2000000;
    int count = 0;
    while (count < tooMany && names.valueOf(Handle::load, "load:" + std::to_string(count)))
        count++;
    EXPECT_GT(count, 100000);
    EXPECT_LT(count, tooMany);
}

}  // namespace
}  // namespace replay
