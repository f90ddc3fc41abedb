#include <gtest/gtest.h>
#include <string>
#include <utility>

#include "kit/url_reference.h"

using namespace VestaHbbTV;

namespace {

std::string resolved(const std::string& base, const std::string& reference)
{
    return resolveURL(base, reference).value_or("nothing");
}

// RFC 3986, 5.4.1 and 5.4.2, for a base with an authority.
TEST(URLReference, IsResolvedAsTheStandardShows)
{
    const std::pair<const char*, const char*> examples[] = {
        {"g:h", "g:h"},
        {"g", "http://a/b/c/g"},
        {"./g", "http://a/b/c/g"},
        {"g/", "http://a/b/c/g/"},
        {"/g", "http://a/g"},
        {"//g", "http://g"},
        {"?y", "http://a/b/c/d;p?y"},
        {"g?y", "http://a/b/c/g?y"},
        {"#s", "http://a/b/c/d;p?q#s"},
        {"g#s", "http://a/b/c/g#s"},
        {"g?y#s", "http://a/b/c/g?y#s"},
        {";x", "http://a/b/c/;x"},
        {"g;x", "http://a/b/c/g;x"},
        {"g;x?y#s", "http://a/b/c/g;x?y#s"},
        {"", "http://a/b/c/d;p?q"},
        {".", "http://a/b/c/"},
        {"./", "http://a/b/c/"},
        {"..", "http://a/b/"},
        {"../", "http://a/b/"},
        {"../g", "http://a/b/g"},
        {"../..", "http://a/"},
        {"../../", "http://a/"},
        {"../../g", "http://a/g"},
        {"../../../g", "http://a/g"},
        {"../../../../g", "http://a/g"},
        {"/./g", "http://a/g"},
        {"/../g", "http://a/g"},
        {"g.", "http://a/b/c/g."},
        {".g", "http://a/b/c/.g"},
        {"g..", "http://a/b/c/g.."},
        {"..g", "http://a/b/c/..g"},
        {"./../g", "http://a/b/g"},
        {"./g/.", "http://a/b/c/g/"},
        {"g/./h", "http://a/b/c/g/h"},
        {"g/../h", "http://a/b/c/h"},
        {"g;x=1/./y", "http://a/b/c/g;x=1/y"},
        {"g;x=1/../y", "http://a/b/c/y"},
        {"g?y/./x", "http://a/b/c/g?y/./x"},
        {"g?y/../x", "http://a/b/c/g?y/../x"},
        {"g#s/./x", "http://a/b/c/g#s/./x"},
        {"g#s/../x", "http://a/b/c/g#s/../x"},
        {"http:g", "http:g"},
    };
    for (const auto& [reference, absolute] : examples)
        EXPECT_EQ(resolved("http://a/b/c/d;p?q", reference), absolute) << reference;
}

TEST(URLReference, ThatIsAbsoluteStaysButForTheCaseOfItsScheme)
{
    EXPECT_EQ(resolved("", "HTTPS://A.Example/%7e/../x?Y#Z"), "https://A.Example/%7e/../x?Y#Z");
    EXPECT_EQ(resolved("http://b.example/", "dvb://1.2.3"), "dvb://1.2.3");
}

TEST(URLReference, FollowsABaseWithoutAPathOrWithAQueryAndAFragment)
{
    EXPECT_EQ(resolved("http://a.example", "g"), "http://a.example/g");
    EXPECT_EQ(resolved("http://a.example", ""), "http://a.example");
    EXPECT_EQ(resolved("HTTP://a.example:8080/x?q#f", "?r"), "http://a.example:8080/x?r");
    EXPECT_EQ(resolved("http://a.example/x?q/r#f/g", "y"), "http://a.example/y");
    EXPECT_EQ(resolved("http://a.example?q", "y"), "http://a.example/y");
    EXPECT_EQ(resolved("http://a.example/a//b", "../y"), "http://a.example/a/y");
}

TEST(URLReference, ThatIsRelativeNeedsABaseWithSchemeAndAuthority)
{
    for (const char* const base : {"", "a.example", "/lists/ait.xml", "//a.example/", "http:",
                                   "http:///x", "file:/x", "1http://a.example/", ":", "://a"})
        for (const char* const reference : {"", "g", "/g", "//g", "?g", "#g"})
            EXPECT_EQ(resolveURL(base, reference), std::nullopt) << base << " " << reference;
}

TEST(URLReference, HasPartsThatAreNotDecoded)
{
    const URLParts parts("http://u@a.example:80/p%2Fq/r?s?t#u#v");
    EXPECT_EQ(parts.scheme, "http");
    EXPECT_TRUE(parts.hasAuthority);
    EXPECT_EQ(parts.authority, "u@a.example:80");
    EXPECT_EQ(parts.path, "/p%2Fq/r");
    EXPECT_EQ(parts.query, "?s?t");
    EXPECT_EQ(parts.fragment, "#u#v");
    EXPECT_FALSE(URLParts("http:a").hasAuthority);
    EXPECT_EQ(URLParts("a/b:c").scheme, "") << "a colon in a path";
    EXPECT_EQ(URLParts("a+b-c.1:x").scheme, "a+b-c.1");
    EXPECT_EQ(URLParts("").path, "");
}

TEST(URLReference, HasAHostBetweenUserAndPort)
{
    const std::pair<const char*, const char*> cases[] = {{"http://a.example/", "a.example"},
                                                         {"http://a.example:80/", "a.example"},
                                                         {"http://u:p@a.example:80", "a.example"},
                                                         {"http://u@v@a?q", "a"},
                                                         {"http://[::1]:80/", "[::1]"},
                                                         {"http://[::1]/", "[::1]"},
                                                         {"http://:80/", ""},
                                                         {"http://@/", ""},
                                                         {"http://u@:80", ""},
                                                         {"http:///a", ""},
                                                         {"a", ""}};
    for (const auto& [url, host] : cases)
        EXPECT_EQ(URLParts(url).host(), host) << url;
}

TEST(URLReference, HasNoBlanksOrControlCharacters)
{
    for (const char* const url : {"a b", " ", "a\n", "\x01", "a\x7F"})
        EXPECT_TRUE(hasBlanks(url));
    for (const char* const url : {"", "http://a.example/%20", "\xc3\x84"})
        EXPECT_FALSE(hasBlanks(url));
}

}  // namespace
