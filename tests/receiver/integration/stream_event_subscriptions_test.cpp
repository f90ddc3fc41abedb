#include <atomic>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "receiver/carousel/service_carousels.h"
#include "receiver/integration/stream_event_subscriptions.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

using namespace VestaHbbTV;

const uint16_t carouselPid = 0x200;
const uint16_t eventPid = 0x201;
const uint16_t otherPid = 0x202;

const char object[] = "20fa.441.1.2a/events";

Service service(uint16_t number = 1)
{
    Service service;
    service.programNumber = number;
    service.transportStreamId = 0x441;
    service.originalNetworkId = 0x20FA;
    return service;
}

StreamDescription stream(uint8_t type, uint16_t pid, uint8_t tag)
{
    StreamDescription description;
    description.streamType = type;
    description.pid = pid;
    description.componentTag = tag;
    return description;
}

std::vector<StreamDescription> streams()
{
    StreamDescription carousel = stream(0x0B, carouselPid, 0x2A);
    carousel.carouselId = 42;
    return {carousel, stream(0x0C, eventPid, 0x2B)};
}

class StreamEventSubscriptionsTest : public ::testing::Test {
protected:
    StreamEventSubscriptionsTest()
    {
        heard.clear();
        events_.setStreamEventCallback(hear);
        join();
    }

    void join(const std::vector<StreamDescription>& list = streams(), uint16_t number = 1)
    {
        carousels_.join(service(number), list);
        events_.join(service(number), list);
    }

    void leave()
    {
        carousels_.leave();
        events_.leave();
    }

    /// The carousel's directory and, in the second module, a stream-event object and a file.
    void feedCarousel(bool withObjects = true)
    {
        const auto ior = [](const char* type, const char* key) { return makeIor({type, 2, key}); };
        const Bytes gateway =
            makeGateway("g", {{"events", ior("ste", "e")}, {"file", ior("fil", "f")}});
        const Bytes objects =
            makeStreamEvents("e", {{"go", 7}, {"stop", 8}}) + makeFile("f", "text");
        feed(carouselPid, makeDsi(makeIor({"srg", 1, "g"})));
        feed(carouselPid,
             makeDii(0x80000002, {{1, uint32_t(gateway.size())}, {2, uint32_t(objects.size())}}));
        for (const Bytes& block : makeDdbs(1, 0, gateway))
            feed(carouselPid, block);
        for (const Bytes& block : makeDdbs(2, 0, objects)) {
            if (withObjects)
                feed(carouselPid, block);
        }
    }

    void feed(uint16_t pid, const Bytes& section)
    {
        if (pid == carouselPid)
            carousels_.feed(pid, section);
        events_.feed(pid, section);
        events_.update();
    }

    void fire(unsigned id, unsigned version, const std::string& data, uint16_t pid = eventPid)
    {
        feed(pid, makeStreamEventSection(id, version, data));
    }

    /// What was heard since the last call, as the application manager passes it on.
    std::string heardNow()
    {
        events_.update();
        for (const Outgoing& event : events_.takeEvents())
            passOn(event);
        return std::exchange(heard, {});
    }

    static void passOn(const Outgoing& event)
    {
        const auto& record = *static_cast<HBBTV_StreamEventData*>(event.record);
        record.callback(record.string1, record.value1, record.string2, record.string3,
                        record.string4, record.value2);
        discard(event);
    }

    static void hear(const char* name, uint32_t listener, const char* data, const char* text,
                     const char* status, uint32_t)
    {
        heard += (heard.empty() ? "" : ", ") + std::to_string(listener) + " " + name + " " + data +
                 " '" + text + "' " + status;
    }

    static std::string heard;
    std::ostringstream out_;
    EventLog log_{out_, false};
    ServiceCarousels carousels_{{}, log_};
    StreamEventSubscriptions events_{carousels_, log_};
};

std::string StreamEventSubscriptionsTest::heard;

TEST_F(StreamEventSubscriptionsTest, AnObjectsEventIsHeardOnTheStreamOfItsTap)
{
    feedCarousel();
    events_.subscribe(object, 5, "go");
    EXPECT_EQ(heardNow(), "");
    EXPECT_EQ(events_.pids(), std::set<uint16_t>{eventPid});
    fire(7, 0, "Hi");
    EXPECT_EQ(heardNow(), "5 go 4869 'Hi' trigger");
    fire(7, 0, "Hi");
    fire(8, 0, "another event");
    fire(7, 1, "another stream", otherPid);
    EXPECT_EQ(heardNow(), "");
    fire(7, 1, "");
    EXPECT_EQ(heardNow(), "5 go  '' trigger");
}

TEST_F(StreamEventSubscriptionsTest, AComponentsEventIsHeardWhateverItsStreamType)
{
    const uint8_t types[] = {0x0B, 0x0C, 0x0D};
    for (const uint8_t type : types) {
        join({stream(type, otherPid, 0x30)});
        events_.subscribe(1, 0x30, 9, 6, "xml");
        events_.update();
        fire(9, 0, "\xFF", otherPid);
        EXPECT_EQ(heardNow(), "6 xml FF '' trigger") << int(type);
        events_.unsubscribeAll(6);
        events_.update();
    }
}

TEST_F(StreamEventSubscriptionsTest, TheTextIsWhatIsUtf8OfTheData)
{
    events_.subscribe(1, 0x2B, 7, 1, "go");
    events_.update();
    fire(7, 0, std::string("a\x80\xC3\xA4\0b\xC3", 7));
    EXPECT_EQ(heardNow(), "1 go 6180C3A40062C3 'a\xC3\xA4"
                          "b' trigger");
}

TEST_F(StreamEventSubscriptionsTest, AssociationTagDescriptorsComeBeforeComponentTags)
{
    std::vector<StreamDescription> list = streams();
    list.push_back(stream(0x0C, otherPid, 0x31));
    list.back().associationTags = {0x2B};
    join(list);
    feedCarousel();
    events_.subscribe(object, 5, "go");
    events_.update();
    EXPECT_EQ(events_.pids(), std::set<uint16_t>{otherPid});
}

TEST_F(StreamEventSubscriptionsTest, ACarouselThatHasNotComeRoundIsWaitedFor)
{
    events_.subscribe(object, 5, "go");
    EXPECT_EQ(heardNow(), "");
    feedCarousel(false);
    EXPECT_EQ(heardNow(), "");
    EXPECT_TRUE(events_.pids().empty());
    feedCarousel();
    EXPECT_EQ(events_.pids(), std::set<uint16_t>{eventPid});
    fire(7, 0, "x");
    EXPECT_EQ(heardNow(), "5 go 78 'x' trigger");
}

TEST_F(StreamEventSubscriptionsTest, AStreamThatMayBeginACarouselIsWaitedForToo)
{
    std::vector<StreamDescription> list = streams();
    list[0].carouselId.reset();
    join(list);
    events_.subscribe(object, 5, "go");
    EXPECT_EQ(heardNow(), "");
    feedCarousel();
    EXPECT_EQ(events_.pids(), std::set<uint16_t>{eventPid});
}

TEST_F(StreamEventSubscriptionsTest, WhatCannotBeSubscribedToIsOneError)
{
    feedCarousel();
    const std::pair<const char*, const char*> cases[] = {
        {"20fa.441.1.2a/absent", "an object that is not there"},
        {"20fa.441.1.2a/file", "a file"},
        {"20fa.441.1.2a/", "a directory"},
        {"20fa.441.1.77/events", "a component without carousel"},
        {"20fa.441.2.2a/events", "another service"},
        {"events", "no path of a carousel"},
        {"", "nothing"},
    };
    for (const auto& [target, why] : cases) {
        events_.subscribe(target, 5, "go");
        EXPECT_EQ(heardNow(), "5 go  '' error") << why;
        EXPECT_EQ(heardNow(), "") << why;
    }
    events_.subscribe(object, 5, "no such event");
    EXPECT_EQ(heardNow(), "5 no such event  '' error");
    events_.subscribe(1, 0x77, 7, 5, "go");
    EXPECT_EQ(heardNow(), "5 go  '' error");
    events_.subscribe(2, 0x2B, 7, 5, "go");
    EXPECT_EQ(heardNow(), "5 go  '' error");
    EXPECT_TRUE(events_.pids().empty());
}

TEST_F(StreamEventSubscriptionsTest, AnObjectWhoseTapNamesNoStreamOfTheServiceIsAnError)
{
    join({streams()[0]});
    feedCarousel();
    events_.subscribe(object, 5, "go");
    EXPECT_EQ(heardNow(), "5 go  '' error");
}

TEST_F(StreamEventSubscriptionsTest, TargetsMayHaveEscapes)
{
    feedCarousel();
    events_.subscribe("20fa.441.1.2a/%65vents", 5, "go");
    events_.update();
    EXPECT_EQ(events_.pids(), std::set<uint16_t>{eventPid});
}

TEST_F(StreamEventSubscriptionsTest, NothingIsHeardAfterUnsubscribing)
{
    events_.subscribe(1, 0x2B, 7, 5, "go");
    events_.subscribe(1, 0x2B, 7, 6, "go");
    events_.subscribe(1, 0x2B, 7, 6, "other name");
    events_.update();
    fire(7, 0, "x");
    const std::vector<Outgoing> underWay = events_.takeEvents();
    ASSERT_EQ(underWay.size(), 3u);
    events_.unsubscribe(6, "go");
    for (const Outgoing& event : underWay)
        passOn(event);
    EXPECT_EQ(heardNow(), "5 go 78 'x' trigger, 6 other name 78 'x' trigger");
    events_.unsubscribeAll(6);
    fire(7, 1, "y");
    EXPECT_EQ(heardNow(), "5 go 79 'y' trigger");
    events_.unsubscribeAll(0);
    fire(7, 2, "z");
    EXPECT_EQ(heardNow(), "");
    EXPECT_TRUE(events_.pids().empty());
}

TEST_F(StreamEventSubscriptionsTest, ALaterListenerDoesNotHearWhatHappenedBefore)
{
    events_.subscribe(1, 0x2B, 7, 5, "go");
    events_.update();
    fire(7, 0, "x");
    events_.subscribe(1, 0x2B, 7, 6, "go");
    events_.update();
    fire(7, 0, "x");
    EXPECT_EQ(heardNow(), "5 go 78 'x' trigger");
    fire(7, 1, "y");
    EXPECT_EQ(heardNow(), "5 go 79 'y' trigger, 6 go 79 'y' trigger");
}

TEST_F(StreamEventSubscriptionsTest, OtherStreamsOfTheServiceChangeNothingForThoseThatStay)
{
    events_.subscribe(1, 0x2B, 7, 5, "go");
    events_.subscribe(1, 0x2A, 7, 6, "gone");
    events_.update();
    fire(7, 0, "x");
    join({streams()[1], stream(0x1B, 0x300, 0x01)});
    fire(7, 0, "x");
    EXPECT_EQ(heardNow(), "5 go 78 'x' trigger, 6 gone  '' error");
    fire(7, 1, "y");
    EXPECT_EQ(heardNow(), "5 go 79 'y' trigger");
}

TEST_F(StreamEventSubscriptionsTest, AnotherServiceEndsThemInSilenceAndTheSameOneKeepsThem)
{
    events_.subscribe(1, 0x2B, 7, 5, "go");
    events_.update();
    leave();
    EXPECT_EQ(heardNow(), "");
    EXPECT_TRUE(events_.pids().empty());
    join();
    fire(7, 0, "x");
    EXPECT_EQ(heardNow(), "5 go 78 'x' trigger");
    leave();
    events_.subscribe(1, 0x2B, 7, 6, "meant for the service before");
    join(streams(), 2);
    EXPECT_EQ(heardNow(), "6 meant for the service before  '' error");
    join(streams(), 1);
    fire(7, 1, "y");
    EXPECT_EQ(heardNow(), "");
}

TEST_F(StreamEventSubscriptionsTest, TheEndOfTheStreamIsAnErrorForWhatIsWaitedFor)
{
    events_.subscribe(object, 5, "go");
    events_.subscribe(1, 0x2B, 7, 6, "there");
    events_.update();
    events_.giveUp();
    EXPECT_EQ(heardNow(), "5 go  '' error");
}

TEST_F(StreamEventSubscriptionsTest, AnEventAtATimeOfTheProgrammeIsHeardThen)
{
    events_.subscribe(1, 0x2B, 0x8007, 5, "go");
    events_.subscribe(1, 0x2B, 0x8008, 5, "other");
    events_.update();
    events_.advance(99, false);
    feed(eventPid, makeSection({0x3D, 0x8000}, makeStreamEventDescriptor(0x8007, "now", 1000)));
    feed(eventPid, makeSection({0x3D, 0x4000}, makeTimeReference(100, 900)));
    EXPECT_EQ(heardNow(), "");
    events_.advance(199, false);
    EXPECT_EQ(heardNow(), "");
    events_.advance(200, false);
    EXPECT_EQ(heardNow(), "5 go 6E6F77 'now' trigger");
    events_.advance(201, false);
    EXPECT_EQ(heardNow(), "");
}

TEST_F(StreamEventSubscriptionsTest, AnEventAtATimeIsNotHeardAfterUnsubscribingOrInAnotherService)
{
    const auto announce = [this] {
        feed(eventPid, makeSection({0x3D, 0x4000}, makeTimeReference(0, 0)));
        feed(eventPid, makeSection({0x3D, 0x8000}, makeStreamEventDescriptor(0x8007, "", 100)));
        events_.advance(99, false);
    };
    events_.subscribe(1, 0x2B, 0x8007, 5, "go");
    events_.update();
    announce();
    events_.unsubscribe(5, "go");
    events_.advance(100, false);
    EXPECT_EQ(heardNow(), "");
    events_.subscribe(1, 0x2B, 0x8007, 5, "go");
    events_.update();
    announce();
    leave();
    join();
    events_.advance(100, false);
    EXPECT_EQ(heardNow(), "") << "what was held of the former service is gone";
}

TEST_F(StreamEventSubscriptionsTest, EventsAtATimeThatAreTooManyAreRemarkedOnOnce)
{
    events_.subscribe(1, 0x2B, 7, 5, "go");
    events_.update();
    for (unsigned index = 0; index < ScheduledEvents::mostEvents + 2; ++index)
        feed(eventPid, makeSection({0x3D, 0x8000 + index}, makeStreamEventDescriptor(7, "")));
    const std::string remark = "stream events at a time of the programme";
    const size_t first = out_.str().find(remark);
    EXPECT_NE(first, std::string::npos);
    EXPECT_EQ(out_.str().find(remark, first + 1), std::string::npos);
}

TEST_F(StreamEventSubscriptionsTest, ThereIsALimit)
{
    for (size_t count = 0; count < StreamEventSubscriptions::mostSubscriptions; ++count)
        EXPECT_TRUE(events_.subscribe(1, 0x2B, 7, 5, "go"));
    EXPECT_FALSE(events_.subscribe(1, 0x2B, 7, 6, "one more"));
    EXPECT_NE(out_.str().find("there are too many subscriptions"), std::string::npos);
    events_.unsubscribeAll(5);
    EXPECT_TRUE(events_.subscribe(1, 0x2B, 7, 6, "one more"));
}

TEST_F(StreamEventSubscriptionsTest, ScriptsSubscribeWhileSectionsCome)
{
    std::atomic<bool> isDone{false};
    std::thread middleware([this, &isDone] {
        for (unsigned round = 0; !isDone; ++round) {
            if (round % 64 == 0)
                leave();
            if (round % 64 == 0)
                join();
            if (round % 64 == 5)
                feedCarousel();
            fire(7, round % 32, "x");
            for (const Outgoing& event : events_.takeEvents())
                discard(event);
        }
    });
    for (uint32_t listener = 1; listener < 300; ++listener) {
        events_.subscribe(object, listener, "go");
        events_.subscribe(1, 0x2B, 7, listener, "go");
        events_.setStreamEventCallback(listener % 2 ? hear : nullptr);
        events_.unsubscribe(listener - 1, "go");
    }
    events_.unsubscribeAll(0);
    isDone = true;
    middleware.join();
    EXPECT_EQ(heardNow(), "");
    EXPECT_TRUE(events_.pids().empty());
}

TEST_F(StreamEventSubscriptionsTest, WithoutACallbackTheyAreWritten)
{
    events_.setStreamEventCallback(nullptr);
    events_.subscribe(1, 0x2B, 7, 5, "go");
    events_.update();
    fire(7, 0, "x");
    EXPECT_EQ(heardNow(), "");
    EXPECT_NE(out_.str().find("stream event \"go\" for listener 5"), std::string::npos);
}

}  // namespace
}  // namespace receiver
