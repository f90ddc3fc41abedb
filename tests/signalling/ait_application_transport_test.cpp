#include <gtest/gtest.h>
#include <string>
#include <tuple>

#include "foundation/ref_ptr.h"
#include "signalling/ait_application.h"
#include "signalling/ait_application_transport.h"
#include "signalling/hbbtv_url.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// What a transport says of itself, in one line.
std::string describe(const AITApplicationTransport& transport)
{
    return std::to_string(transport.getProtocol()) + " label " +
           std::to_string(transport.getLabel()) + " base '" + transport.getURLBase() + "' remote " +
           std::to_string(transport.isRemote()) + " ids " +
           std::to_string(transport.getOriginalNetworkId()) + "." +
           std::to_string(transport.getTransportStreamId()) + "." +
           std::to_string(transport.getServiceId()) + "." +
           std::to_string(transport.getComponentTag());
}

std::string describe(const Bytes& descriptor)
{
    const AITApplicationTransport transport(exactBlock(descriptor).get());
    return describe(transport);
}

constexpr char nothing[] = "0 label 0 base '' remote 0 ids 0.0.0.0";

}  // namespace

TEST(AITApplicationTransport, IsEmptyWhenNew)
{
    AITApplicationTransport transport;
    EXPECT_EQ(describe(transport), nothing);
    EXPECT_EQ(transport.getURL("a.html"), "");
    EXPECT_EQ(transport.getHostname(), "");
    EXPECT_FALSE(transport.isCounted());
}

TEST(AITApplicationTransport, OfNoDescriptorIsEmpty)
{
    const unsigned char* const none = nullptr;
    AITApplicationTransport transport(none);
    transport.parseTransportDescriptor(none);
    EXPECT_EQ(describe(transport), nothing);
}

TEST(AITApplicationTransport, ReadsEachProtocol)
{
    const std::tuple<const char*, Bytes, std::string> cases[] = {
        {"HTTP", httpTransport(7, "http://a.example/"),
         "3 label 7 base 'http://a.example/' remote 0 ids 0.0.0.0"},
        {"a carousel of the same service", carouselTransport(2, 0x10),
         "1 label 2 base '' remote 0 ids 0.0.0.16"},
        {"a carousel of another service", remoteCarouselTransport(255, 0x1234, 0xFFFF, 0x0102, 9),
         "1 label 255 base '' remote 1 ids 4660.65535.258.9"},
        {"IP over MPE keeps the label only", otherTransport(5, 2, {0xFF, 1, 2, 3, 4, 5, 6, 7}),
         "0 label 5 base '' remote 0 ids 0.0.0.0"},
        {"a private protocol whose low byte is that of HTTP", otherTransport(6, 0x0103, {1, 'a'}),
         "0 label 6 base '' remote 0 ids 0.0.0.0"},
        {"a private protocol whose low byte is that of the carousel",
         otherTransport(6, 0x0101, {0x80, 0, 1, 0, 2, 0, 3, 4}),
         "0 label 6 base '' remote 0 ids 0.0.0.0"},
    };
    for (const auto& [why, bytes, expected] : cases)
        EXPECT_EQ(describe(bytes), expected) << why;
}

TEST(AITApplicationTransport, IgnoresTheReservedBitsOfTheRemoteFlag)
{
    EXPECT_EQ(describe(otherTransport(1, 1, {0x00, 4})), describe(otherTransport(1, 1, {0x7F, 4})));
    EXPECT_EQ(describe(otherTransport(1, 1, {0x80, 0, 1, 0, 2, 0, 3, 4})),
              "1 label 1 base '' remote 1 ids 1.2.3.4");
}

TEST(AITApplicationTransport, KeepsFieldByFieldWhatAShortDescriptorHolds)
{
    const Bytes remote = remoteCarouselTransport(9, 0x0102, 0x0304, 0x0506, 7);
    const std::string expected[] = {
        nothing,                                       // no payload
        nothing,                                       // half a protocol_id
        "1 label 0 base '' remote 0 ids 0.0.0.0",      // no label
        "1 label 9 base '' remote 0 ids 0.0.0.0",      // no remote flag
        "1 label 9 base '' remote 1 ids 0.0.0.0",      // no ids
        "1 label 9 base '' remote 1 ids 0.0.0.0",      // half an id
        "1 label 9 base '' remote 1 ids 258.0.0.0",    //
        "1 label 9 base '' remote 1 ids 258.0.0.0",    //
        "1 label 9 base '' remote 1 ids 258.772.0.0",  //
        "1 label 9 base '' remote 1 ids 258.772.0.0",  //
        "1 label 9 base '' remote 1 ids 258.772.1286.0",
        "1 label 9 base '' remote 1 ids 258.772.1286.7",
    };
    for (size_t length = 0; length < std::size(expected); ++length) {
        Bytes bytes(remote.begin(), remote.begin() + 2 + static_cast<ptrdiff_t>(length));
        bytes[1] = static_cast<unsigned char>(length);
        EXPECT_EQ(describe(bytes), expected[length]) << length;
    }
}

TEST(AITApplicationTransport, ReadsALocalCarouselWithoutComponentTagAsTagZero)
{
    EXPECT_EQ(describe(otherTransport(3, 1, {0x7F})), "1 label 3 base '' remote 0 ids 0.0.0.0");
}

TEST(AITApplicationTransport, KeepsAnHTTPBaseOnlyIfItFitsIntoTheDescriptor)
{
    const std::tuple<const char*, Bytes, std::string> cases[] = {
        {"no length", otherTransport(1, 3), ""},
        {"length 0", otherTransport(1, 3, {0}), ""},
        {"length 0 with extensions", otherTransport(1, 3, {0, 1, 1, 'x'}), ""},
        {"one short of the end", otherTransport(1, 3, {2, 'a', 'b', 'c'}), "ab"},
        {"exactly to the end", otherTransport(1, 3, {3, 'a', 'b', 'c'}), "abc"},
        {"one over", otherTransport(1, 3, {4, 'a', 'b', 'c'}), ""},
        {"maximum length", otherTransport(1, 3, {0xFF, 'a', 'b', 'c'}), ""},
        {"a NUL inside", otherTransport(1, 3, {3, 'a', 0, 'c'}), std::string("a\0c", 3)},
    };
    for (const auto& [why, bytes, base] : cases) {
        const AITApplicationTransport transport(exactBlock(bytes).get());
        EXPECT_EQ(transport.getProtocol(), AITApplicationTransport::HTTP) << why;
        EXPECT_EQ(transport.getURLBase(), base) << why;
    }
}

TEST(AITApplicationTransport, ReadsTheLongestBase)
{
    const std::string base(251, 'u');
    EXPECT_EQ(describe(otherTransport(0, 3, Bytes{251} + Bytes(base.begin(), base.end()))),
              "3 label 0 base '" + base + "' remote 0 ids 0.0.0.0");
}

TEST(AITApplicationTransport, ReadsTheFirstOfSeveralURLItems)
{
    const Bytes items = {4, 'a', '/', 'b', '/', 1, 3, 'e', 'x', 't', 2, 'c', '/', 0};
    EXPECT_EQ(describe(otherTransport(1, 3, items)), "3 label 1 base 'a/b/' remote 0 ids 0.0.0.0");
}

TEST(AITApplicationTransport, BuildsAnHTTPAddressWithoutAddingASeparator)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"http://a.example/", "index.html?x=1", "http://a.example/index.html?x=1"},
        {"http://a.example", "index.html", "http://a.exampleindex.html"},
        {"http://a.example/", "/index.html", "http://a.example//index.html"},
        {"http://a.example/", "", "http://a.example/"},
        {"", "a.html", "a.html"},
    };
    for (const auto& [base, location, url] : cases) {
        const AITApplicationTransport transport(exactBlock(httpTransport(1, base)).get());
        EXPECT_EQ(transport.getURL(location), url);
        EXPECT_EQ(transport.getHostname(), "");
    }
}

TEST(AITApplicationTransport, BuildsACarouselAddressInShortLowercaseHexadecimal)
{
    const AITApplicationTransport transport(
        exactBlock(remoteCarouselTransport(1, 0x1, 0x3F, 0x2A01, 0xA)).get());
    EXPECT_EQ(transport.getURL("index.html"), "dvb://1.3f.2a01.a/index.html");
    EXPECT_EQ(transport.getURL(""), "dvb://1.3f.2a01.a/");
    EXPECT_EQ(transport.getHostname(), "1.3f.2a01.a");

    const AITApplicationTransport largest(
        exactBlock(remoteCarouselTransport(1, 0xFFFF, 0xFFFF, 0xFFFF, 0xFF)).get());
    EXPECT_EQ(largest.getURL("x"), "dvb://ffff.ffff.ffff.ff/x");

    const AITApplicationTransport zero(exactBlock(carouselTransport(1, 0)).get());
    EXPECT_EQ(zero.getURL("x"), "dvb://0.0.0.0/x");
}

TEST(AITApplicationTransport, OfAnUnknownProtocolHasNeitherAddressNorHost)
{
    const AITApplicationTransport transport(exactBlock(otherTransport(4, 2, {0, 1, 2})).get());
    EXPECT_EQ(transport.getURL("index.html"), "");
    EXPECT_EQ(transport.getHostname(), "");
}

TEST(AITApplicationTransport, TakesTheServiceThatItIsGiven)
{
    AITApplicationTransport transport(exactBlock(carouselTransport(1, 0x10)).get());
    transport.setService(0x22, 0x7, 0x1);
    EXPECT_EQ(transport.getURL(""), "dvb://22.7.1.10/");
}

TEST(AITApplicationTransport, ReadIntoAgainAppendsTheBaseAndACarouselClearsIt)
{
    AITApplicationTransport transport(exactBlock(httpTransport(1, "http://a/")).get());
    transport.parseTransportDescriptor(exactBlock(httpTransport(2, "b/")).get());
    EXPECT_EQ(describe(transport), "3 label 2 base 'http://a/b/' remote 0 ids 0.0.0.0");
    transport.parseTransportDescriptor(exactBlock(carouselTransport(3, 4)).get());
    EXPECT_EQ(describe(transport), "1 label 3 base '' remote 0 ids 0.0.0.4");
}

TEST(AITApplicationTransport, ReadIntoAgainLosesTheFieldsThatAShortDescriptorLacks)
{
    const auto readAgain = [](const Bytes& first, const Bytes& second) {
        AITApplicationTransport transport(exactBlock(first).get());
        transport.parseTransportDescriptor(exactBlock(second).get());
        return describe(transport);
    };
    const Bytes http = httpTransport(1, "http://a/");
    const Bytes carousel = remoteCarouselTransport(9, 1, 2, 3, 4);
    EXPECT_EQ(readAgain(http, {0x02, 0}), "3 label 0 base 'http://a/' remote 0 ids 0.0.0.0");
    EXPECT_EQ(readAgain(http, otherTransport(6, 2)),
              "3 label 6 base 'http://a/' remote 0 ids 0.0.0.0");
    EXPECT_EQ(readAgain(http, otherTransport(6, 3, {9, 'b'})),
              "3 label 6 base 'http://a/' remote 0 ids 0.0.0.0");
    EXPECT_EQ(readAgain(carousel, otherTransport(5, 1)), "1 label 5 base '' remote 0 ids 1.2.3.0");
    EXPECT_EQ(readAgain(carousel, otherTransport(5, 1, {0x80, 0, 7})),
              "1 label 5 base '' remote 1 ids 7.0.0.0");
    EXPECT_EQ(readAgain(carousel, http), "3 label 1 base 'http://a/' remote 1 ids 1.2.3.4");
}

TEST(AITApplicationTransport, CanBeFilledByHand)
{
    AITApplicationTransport carousel;
    carousel.setProtocol(AITApplicationTransport::OBJECT_CAROUSEL);
    carousel.setLabel(4);
    carousel.setRemote(true);
    carousel.setService(1, 2, 3);
    carousel.setComponentTag(5);
    EXPECT_EQ(describe(carousel), describe(remoteCarouselTransport(4, 1, 2, 3, 5)));

    AITApplicationTransport http;
    http.setProtocol(AITApplicationTransport::HTTP);
    http.setLabel(6);
    http.setURLBase("http://a.example/");
    EXPECT_EQ(describe(http), describe(httpTransport(6, "http://a.example/")));
}

TEST(AITApplicationTransport, IsFoundByTheAddressOfTheInitialPage)
{
    AITApplication application(nullptr);
    ASSERT_TRUE(application.parse(AITEntry(1, 1)
                                      .http(1, "http://a.example/%41/")
                                      .remoteCarousel(2, 1, 2, 3, 4)
                                      .http(3, "http://b.example/")
                                      .http(4, "http://b.example/")
                                      .location("i.html?from=ait#top")
                                      .exactBlock()
                                      .get()));
    const auto& transports = application.getTransports();
    const std::tuple<const char*, const AITApplicationTransport*> cases[] = {
        {"http://b.example/i.html", transports[2].get()},  // the first of two equal ones
        {"http://b.example/i.html?from=elsewhere", transports[2].get()},
        {"http://b.example/i.html#part", transports[2].get()},
        {"http://b.example/i.html?x=1#part", transports[2].get()},
        {"http://a.example/A/i.html", transports[0].get()},
        {"http://a.example/%41/i.html", transports[0].get()},
        {"dvb://1.2.3.4/i.html", transports[1].get()},
        {"http://B.example/i.html", nullptr},
        {"http://b.example/i.htm", nullptr},
        {"http://b.example/i.html/", nullptr},
        {"", nullptr},
    };
    for (const auto& [url, expected] : cases)
        EXPECT_EQ(application.getTransportMatchingURL(HbbTVURL(url)), expected) << url;
}

TEST(AITApplicationTransport, OfAnUnknownProtocolMatchesTheEmptyAddress)
{
    AITApplication application(nullptr);
    ASSERT_TRUE(
        application.parse(AITEntry(1, 1).labels({5}).raw(otherTransport(5, 2)).exactBlock().get()));
    ASSERT_EQ(application.getNumTransports(), 1U);
    EXPECT_EQ(application.getTransportMatchingURL(HbbTVURL("")),
              application.getTransports()[0].get());
    EXPECT_EQ(application.getTransportMatchingURL(HbbTVURL("http://a/")), nullptr);
}

TEST(AITApplicationTransport, LivesAsLongAsItsLastReference)
{
    ref_ptr<AITApplicationTransport> kept;
    {
        AITApplication application(nullptr);
        ASSERT_TRUE(
            application.parse(AITEntry(1, 1).http(1, "http://a.example/").exactBlock().get()));
        kept = application.getTransports()[0];
    }
    EXPECT_EQ(kept->getURL("x"), "http://a.example/x");
}
