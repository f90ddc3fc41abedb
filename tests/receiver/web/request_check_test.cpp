#include <gtest/gtest.h>

#include "receiver/web/request_check.h"

namespace receiver {
namespace {

constexpr uint16_t port = 8080;

RequestHead usual(const char* method = "GET")
{
    RequestHead head;
    head.method = method;
    head.host = "127.0.0.1:8080";
    return head;
}

unsigned statusOf(const RequestHead& head)
{
    const auto refusal = refusalOf(head, port);
    return refusal ? refusal->status : 0;
}

TEST(RequestCheck, ProgramsAndTheOwnPageAreAnswered)
{
    for (const char* const method : {"GET", "HEAD", "POST"}) {
        RequestHead head = usual(method);
        EXPECT_EQ(statusOf(head), 0u) << method;
        head.origin = "http://127.0.0.1:8080";
        head.fetchSite = "same-origin";
        EXPECT_EQ(statusOf(head), 0u) << method;
        head.origin.reset();
        head.fetchSite = "none";  // typed by a person
        EXPECT_EQ(statusOf(head), 0u) << method;
    }
}

TEST(RequestCheck, NamesThatSomebodyMayLetLeadHereAreRefused)
{
    RequestHead head = usual();
    head.host = "evil.example:8080";
    head.origin = "http://evil.example:8080";
    head.fetchSite = "same-origin";
    EXPECT_EQ(statusOf(head), 421u);
    head.host.reset();
    EXPECT_EQ(statusOf(head), 421u);
}

TEST(RequestCheck, OtherOriginsAreRefused)
{
    for (const char* const origin :
         {"http://evil.example", "null", "", "https://127.0.0.1:8080", "http://127.0.0.1",
          "http://127.0.0.1:80", "http://localhost:8080", "http://127.0.0.1:8080/",
          "http://127.0.0.1:8080.evil.example"}) {
        for (const char* const method : {"GET", "POST"}) {
            RequestHead head = usual(method);
            head.origin = origin;
            EXPECT_EQ(statusOf(head), 403u) << origin;
        }
    }
}

TEST(RequestCheck, OtherSitesAreRefusedWhereTheBrowserSaysSo)
{
    for (const char* const site : {"cross-site", "same-site", "", "anything"}) {
        RequestHead head = usual();
        head.fetchSite = site;
        EXPECT_EQ(statusOf(head), 403u) << site;
    }
}

TEST(RequestCheck, OtherMethodsAreRefused)
{
    for (const char* const method : {"PUT", "DELETE", "OPTIONS", "CONNECT", "TRACE", "get", ""})
        EXPECT_EQ(statusOf(usual(method)), 405u) << method;
}

TEST(RequestCheck, BodiesAreBounded)
{
    RequestHead head = usual("POST");
    head.contentLength = "65536";
    EXPECT_EQ(statusOf(head), 0u);
    for (const char* const length : {"65537", "99999999999999999999", "-1", "x", "", "1,1"}) {
        head.contentLength = length;
        EXPECT_EQ(statusOf(head), 413u) << length;
    }
    head.contentLength.reset();
    head.hasTransferEncoding = true;
    EXPECT_EQ(statusOf(head), 411u);
}

TEST(RequestCheck, EachRefusalSaysWhy)
{
    RequestHead head = usual("PUT");
    EXPECT_EQ(refusalOf(head, port)->reason, "GET, HEAD and POST are answered");
    head.fetchSite = "cross-site";
    EXPECT_EQ(refusalOf(head, port)->reason, "the request comes from another site");
    head.origin = "http://evil.example";
    EXPECT_EQ(refusalOf(head, port)->reason, "the request comes from another origin");
    head.host = "evil.example";
    EXPECT_EQ(refusalOf(head, port)->reason,
              "the Host header names neither an IP address nor localhost");
}

}  // namespace
}  // namespace receiver
