#include <gtest/gtest.h>

#include "receiver/text/url.h"

namespace receiver {
namespace {

TEST(URL, WithoutQueryEndsAtTheFirstMark)
{
    EXPECT_EQ(withoutQuery("a?b#c"), "a");
    EXPECT_EQ(withoutQuery("a#b?c"), "a");
    EXPECT_EQ(withoutQuery("?a"), "");
    EXPECT_EQ(withoutQuery("a/b"), "a/b");
}

TEST(URL, EscapesAreDecodedWhereTheyAreWhole)
{
    const std::pair<const char*, const char*> cases[] = {
        {"a%20b", "a b"}, {"%41%2e", "A."}, {"%C3%BC", "\xC3\xBC"}, {"100%", "100%"},
        {"%2", "%2"},     {"%zz", "%zz"},   {"%%41", "%A"},         {"", ""},
    };
    for (const auto& [text, decoded] : cases)
        EXPECT_EQ(withoutEscapes(text), decoded) << text;
}

}  // namespace
}  // namespace receiver
