// Subscriptions of scripts to stream events, and which carousel they mean.

#include <cmath>
#include <limits>

#include "lifecycle/application.h"
#include "tests/oipf/natives/natives_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

void* value(uintptr_t number)
{
    return reinterpret_cast<void*>(number);
}

class StreamEventNatives : public NativesTest {
protected:
    /// The carousel 1.2.3.a of the service.
    void startInCarousel() { start(AITEntry(1, 1).carousel(1, 0x0A).location("dir/index.html")); }

    static int add(const char* target, long windowId = 1)
    {
        return native_BroadcastAddStreamEventListener(target, value(11), value(12), value(13),
                                                      value(14), windowId);
    }

    static int addXML(double d1, double d2, long windowId = 1)
    {
        return native_BroadcastAddXMLStreamEventListener(value(21), value(22), d1, d2, value(23),
                                                         value(24), value(25), windowId);
    }

    static Lines subscribed(const std::string& path)
    {
        return {"dsmcc_stream_event_subscribe(" + path + ", 11, 12, 13, 14)"};
    }

    static Lines subscribedXML(int d1, int serviceId, int d2)
    {
        std::ostringstream line;
        line << "dsmcc_xml_stream_event_subscribe(21, 22, " << d1 << ", " << serviceId << ", " << d2
             << ", 23, 24, 25)";
        return {line.str()};
    }

    void expectNobodyCanSubscribe(long windowId = 1)
    {
        EXPECT_EQ(add("dvb://1.2.3/stream", windowId), 4);
        EXPECT_EQ(add("events/ev1", windowId), 4);
        EXPECT_EQ(addXML(1, 2, windowId), 4);
        EXPECT_EQ(journal(), Lines());
        EXPECT_EQ(log().lines(), Lines());
    }
};

TEST_F(StreamEventNatives, TargetWithTheSchemeLosesItsFirstSixCharacters)
{
    startInCarousel();
    const std::pair<const char*, const char*> absolute[] = {
        {"dvb://1.2.3/stream", "1.2.3/stream"},
        {"dvb://1", "1"},
        {"xdvb://1.2.3", "/1.2.3"},  // the scheme is assumed to stand at the front
        {"events/dvb://", "/dvb://"},
    };
    for (const auto& [target, path] : absolute) {
        EXPECT_EQ(add(target), 0);
        EXPECT_EQ(journal(), subscribed(path));
    }
    EXPECT_EQ(log().lines(), Lines());
}

TEST_F(StreamEventNatives, AnyOtherTargetIsRelativeToTheCarouselOfTheApplication)
{
    startInCarousel();
    for (const char* const target : {"events/ev1", "dvb://", "", "dvb:/ev", "DVB://1.2.3/ev"}) {
        EXPECT_EQ(add(target), 0);
        EXPECT_EQ(journal(), subscribed("1.2.3.a/" + std::string(target)));
    }
    EXPECT_EQ(add(nullptr), 0);
    EXPECT_EQ(journal(), subscribed("1.2.3.a/"));
}

TEST_F(StreamEventNatives, RelativeTargetOfAnApplicationOverHTTPHasNoHost)
{
    start(httpApplication(1, 1));
    EXPECT_EQ(add("events/ev1"), 0);
    EXPECT_EQ(journal(), subscribed("/events/ev1"));
}

TEST_F(StreamEventNatives, RelativeTargetNeedsACurrentTransportAndAnAbsoluteOneDoesNot)
{
    startInCarousel();
    running()->setTransport(nullptr);
    EXPECT_EQ(add("events/ev1"), 4);
    EXPECT_EQ(add("dvb://"), 4);
    EXPECT_EQ(addXML(1, 2), 4);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(add("dvb://1.2.3/ev"), 0);
    EXPECT_EQ(journal(), subscribed("1.2.3/ev"));
}

TEST_F(StreamEventNatives, XMLNumbersKeepTheirLowSixteenBits)
{
    startInCarousel();
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<double, int> numbers[] = {
        {0, 0},
        {1.99, 1},
        {-0.5, 0},
        {65535, 0xFFFF},
        {65536, 0},
        {65537.9, 1},
        {-1, 0xFFFF},
        {-2.5, 0xFFFE},
        {4294967296.0 * 8 + 5, 5},
        {9223372036854774784.0, 0xFC00},
        {9223372036854775808.0, 0},
        {-9223372036854775808.0, 0},
        {-9223372036854777856.0, 0},
        {1e300, 0},
        {infinity, 0},
        {-infinity, 0},
        {std::nan(""), 0},
    };
    for (const auto& [number, low] : numbers) {
        EXPECT_EQ(addXML(number, 7), 0);
        EXPECT_EQ(journal(), subscribedXML(low, 3, 7)) << number;
        EXPECT_EQ(addXML(7, number), 0);
        EXPECT_EQ(journal(), subscribedXML(7, 3, low)) << number;
    }
}

TEST_F(StreamEventNatives, XMLServiceIsThatOfTheCurrentTransport)
{
    start(AITEntry(1, 1).remoteCarousel(1, 0x11, 0x22, 0xFEDC, 0x0A).location("i"));
    EXPECT_EQ(addXML(1, 2), 0);
    EXPECT_EQ(journal(), subscribedXML(1, 0xFEDC, 2));
    start(httpApplication(1, 2));
    EXPECT_EQ(addXML(1, 2), 0);
    EXPECT_EQ(journal(), subscribedXML(1, 3, 2));  // HTTP transports carry the service too
}

TEST_F(StreamEventNatives, WindowThatTheBrowserDoesNotKnowCannotSubscribe)
{
    startInCarousel();
    for (const long windowId : {0L, -1L, 64L, 1000L})
        expectNobodyCanSubscribe(windowId);
}

TEST_F(StreamEventNatives, HandleDecidesAndNotTheStatus)
{
    startInCarousel();
    browser().results["ve_get_window"] = 1;
    EXPECT_EQ(add("ev"), 0);
    EXPECT_EQ(addXML(1, 2), 0);
    forgetJournal();
    browser().results["ve_get_window"] = 0;
    expectNobodyCanSubscribe(0);  // success without a handle
}

TEST_F(StreamEventNatives, WindowThatIsNotTheLibrarysCannotSubscribe)
{
    startInCarousel();
    expectNobodyCanSubscribe(5);
}

TEST_F(StreamEventNatives, WindowWithoutAnApplicationCannotSubscribe)
{
    registerEmptyWindow(9);
    expectNobodyCanSubscribe(9);
}

TEST_F(StreamEventNatives, ApplicationByURLCannotSubscribe)
{
    startByURL("http://b.example/");
    expectNobodyCanSubscribe();
}

TEST_F(StreamEventNatives, NobodyCanSubscribeWithoutABrowser)
{
    startInCarousel();
    vesta_hbbtv_init(nullptr);
    forgetJournal();
    expectNobodyCanSubscribe();
}

TEST_F(StreamEventNatives, NobodyCanSubscribeOutsideTheLifeOfTheLibrary)
{
    shutdown();
    forgetJournal();
    log().clear();
    expectNobodyCanSubscribe();
}

TEST_F(StreamEventNatives, AnswerOfThePlatformIsIgnored)
{
    startInCarousel();
    for (const char* const hook :
         {"dsmcc_stream_event_subscribe", "dsmcc_xml_stream_event_subscribe",
          "dsmcc_stream_event_unsubscribe", "dsmcc_stream_event_unsubscribe_all"})
        platform().results[hook] = DSMCC_ERROR;
    EXPECT_EQ(add("ev"), 0);
    EXPECT_EQ(addXML(1, 2), 0);
    EXPECT_EQ(
        native_BroadcastRemoveStreamEventListener("ev", nullptr, nullptr, nullptr, nullptr, 1), 0);
    EXPECT_EQ(native_BroadcastRemoveAllStreamEventListeners(nullptr, 1), 0);
}

TEST_F(StreamEventNatives, RemovingPassesEverythingOnUnchanged)
{
    EXPECT_EQ(native_BroadcastRemoveStreamEventListener("dvb://1.2.3/ev", value(1), value(2),
                                                        value(3), value(4), -5),
              0);
    EXPECT_EQ(
        native_BroadcastRemoveStreamEventListener(nullptr, nullptr, nullptr, nullptr, nullptr, 0),
        0);
    EXPECT_EQ(native_BroadcastRemoveAllStreamEventListeners(value(6), 7), 0);
    EXPECT_EQ(journal(), Lines({"dsmcc_stream_event_unsubscribe(dvb://1.2.3/ev, 1, 2, 3, 4, -5)",
                                "dsmcc_stream_event_unsubscribe((null), 0, 0, 0, 0, 0)",
                                "dsmcc_stream_event_unsubscribe_all(6, 7)"}));
    EXPECT_EQ(log().lines(), Lines());
    shutdown();
    EXPECT_EQ(native_BroadcastRemoveAllStreamEventListeners(nullptr, 7), 0);
}

}  // namespace
