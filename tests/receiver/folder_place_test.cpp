#include <gtest/gtest.h>
#include <string>

#include "receiver/folder_place.h"

namespace receiver {
namespace {

TEST(FolderPlace, NamesStayInsideTheFolder)
{
    EXPECT_EQ(placeInFolder("out", "a/b.html"), "out/a/b.html");
    EXPECT_EQ(placeInFolder("out", "a/../b"), "out/b");
    EXPECT_EQ(placeInFolder("out", "./a//b"), "out/a/b");
    EXPECT_EQ(placeInFolder("out", "..."), "out/...");
    const std::string names[] = {"",     "/etc/passwd", "..",
                                 "../a", "a/../../b",   std::string("a\0b", 3)};
    for (const std::string& name : names)
        EXPECT_EQ(placeInFolder("out", name), "") << name;
}

}  // namespace
}  // namespace receiver
