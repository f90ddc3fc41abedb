// Addresses of pages on the web, from the base of a transport and the location of an application.

#include <gtest/gtest.h>
#include <string>

#include "inspector/check/web_address.h"

namespace inspector::test {
namespace {

TEST(WebAddress, HasABaseWithAHost)
{
    for (const char* const base :
         {"http://a.example/", "https://a.example", "http://a.example:8080/a/?b=c#d",
          "http://user@a.example/", "http://[::1]:80/", "http://localhost/"})
        EXPECT_EQ(problemOfWebBase(base), "") << base;
    for (const char* const base : {"", "a.example", "ftp://a.example/", "/a/", "HTTP://a.example/"})
        EXPECT_EQ(problemOfWebBase(base), "neither http:// nor https://") << base;
    for (const char* const base :
         {"http://", "https:///a", "http://:80/", "http://@/", "http://user@:80/", "http://?a"})
        EXPECT_EQ(problemOfWebBase(base), "no host") << base;
    for (const char* const base : {"http://a b.example/", "http://a.example/ ", "http://a/\n"})
        EXPECT_EQ(problemOfWebBase(base), "a blank or control character") << base;
}

TEST(WebAddress, IsTheLocationRightAfterTheBase)
{
    const struct {
        const char* base;
        const char* location;
    } right[] = {
        {"http://a.example/", "i.html"},  {"http://a.example/", "http:i"},
        {"http://a.example", "/i.html"},  {"http://a.example", "?a=b"},
        {"http://a.example", "#a"},       {"http://a.example", ""},
        {"http://a.example/app", ".htm"}, {"http://a.example?page=", "1"},
    };
    for (const auto& [base, location] : right)
        EXPECT_EQ(problemOfJoint(base, location), "") << base << " " << location;
    EXPECT_EQ(problemOfJoint("http://a.example/", "http://a.example/i.html"),
              "an address of its own");
    EXPECT_EQ(problemOfJoint("http://a.example/", "my page.html"), "a blank or control character");
    EXPECT_EQ(problemOfJoint("http://a.example", "i.html"), "the path becomes part of the host");
    EXPECT_EQ(problemOfJoint("http://a.example:80", "80"), "the path becomes part of the host");
}

}  // namespace
}  // namespace inspector::test
