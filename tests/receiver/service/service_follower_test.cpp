#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "lifecycle/window.h"
#include "receiver/browser/console_browser.h"
#include "receiver/integration/channel_reference.h"
#include "receiver/service/service_follower.h"
#include "signalling/ait.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/information_builder.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

using namespace VestaHbbTV;

const unsigned hbbtv = 0x0010;
const unsigned network = 0x20FA;

/// The PMT's PID of a service, and the PIDs of its tables.
unsigned pmtPid(unsigned service)
{
    return 0x100 + service;
}
unsigned tablePid(unsigned service)
{
    return 0x200 + service;
}

Bytes signalling(unsigned type)
{
    return makeDescriptor(0x6F, ByteWriter().u16(0x8000 | type).u8(0xE0));
}

/// A stream of tables; without a type the PMT does not say what they are.
PmtStream tables(unsigned pid)
{
    return {0x05, pid, {}};
}
PmtStream tables(unsigned pid, unsigned type)
{
    return {0x05, pid, signalling(type)};
}

/// A section of a table with one application, whose id is hexadecimal "<version><number>".
Bytes table(unsigned version, unsigned number = 0, unsigned last = 0, unsigned type = hbbtv)
{
    const Bytes entry = ByteWriter().u32(0x0A).u16(version * 16 + number).u8(2).u16(0xF000);
    return makeSection({0x74, type, version, true, number, last},
                       ByteWriter().u16(0xF000).u16(0xF000 | unsigned(entry.size())).add(entry));
}

/// A carousel that has one file, "f".
PmtStream carousel(unsigned pid)
{
    return {0x0B, pid, makeDescriptor(0x52, {0x2A}) + makeDescriptor(0x13, {0, 0, 0, 42, 0})};
}
std::vector<Bytes> carouselSections()
{
    const Bytes module =
        makeGateway("g", {{"f", makeIor({"fil", 1, "f"})}}) + makeFile("f", std::string(500, 'x'));
    std::vector<Bytes> sections = makeDdbs(1, 0, module);
    sections.insert(sections.begin(), {makeDsi(makeIor({"srg", 1, "g"})),
                                       makeDii(0x80000002, {{1, uint32_t(module.size())}})});
    return sections;
}

class ServiceFollowerTest : public ::testing::Test {
protected:
    ServiceFollowerTest()
    {
        vesta_hbbtv_init(browser_.handle());
        window_ = vesta_hbbtv_create_window();
        vesta_hbbtv_set_broadcast_window(window_);
        vesta_hbbtv_add_notification_listener(hear);
    }
    ~ServiceFollowerTest() override { vesta_hbbtv_shutdown(); }

    static HBBTV_STATUS hear(HBBTV_NotificationType type, HBBTV_NotificationData* data)
    {
        if (type != HBBTV_NOTIFICATION_AIT_UPDATE)
            return HBBTV_STATUS_OK;
        for (int index = 0; index < data->ait.numApplications; ++index) {
            std::ostringstream id;
            id << " " << std::hex << data->ait.applications[index].applicationId;
            ids_ += id.str();
        }
        return HBBTV_STATUS_OK;
    }

    /// PAT (and SDT) of these services.
    void services(const std::vector<unsigned>& ids, bool withNetwork = true)
    {
        std::vector<PatEntry> programs;
        std::vector<std::pair<unsigned, std::string>> names;
        for (const unsigned id : ids) {
            programs.push_back({id, pmtPid(id)});
            names.emplace_back(id, "");
        }
        play(0, makePat(0x441, 0, programs));
        if (withNetwork)
            play(0x11, makeSdt(0x441, network, names));
    }

    void pmt(unsigned service, const std::vector<PmtStream>& streams, unsigned version = 0)
    {
        play(pmtPid(service), makePmt(service, version, streams));
    }

    void play(unsigned pid, const Bytes& section)
    {
        const size_t before = stream_.bytes().size();
        stream_.add(pid, section).pause();
        follower_.feed(stream_.bytes().data() + before, stream_.bytes().size() - before);
    }

    void end()
    {
        follower_.finish();
        follower_.giveUpWaiting();
    }

    /// "service: id id" of the applications of the tables that came in force since the last call.
    std::string sent()
    {
        for (const Outgoing& event : follower_.takeEvents())
            discard(event);
        std::string text;
        while (vesta_hbbtv_tick()) {
            if (ids_.empty())
                continue;
            const AIT& table = *static_cast<Window*>(window_)->getAIT();
            text += (text.empty() ? "" : ", ") + std::to_string(table.getServiceId()) + ":" +
                    std::exchange(ids_, "");
            network_ = table.getOriginalNetworkId();
            EXPECT_EQ(table.getChannelHandle(), channelReference(0x441, table.getServiceId()));
        }
        return text;
    }

    void goOnToASecondServiceAmidItsCarousel(unsigned firstPid, unsigned secondPid);

    unsigned tuned() const { return follower_.tuned() ? follower_.tuned()->programNumber : 0; }

    static std::string ids_;
    std::ostringstream out_;
    EventLog log_{out_, false};
    ConsoleBrowser browser_{log_, {}};
    void* window_ = nullptr;
    StreamClock clock_;
    ServiceFollower follower_{{}, log_, clock_};
    StreamWriter stream_;
    unsigned network_ = 0;
};

std::string ServiceFollowerTest::ids_;

TEST_F(ServiceFollowerTest, TunesInTheOrderOfThePatNotOfArrival)
{
    services({1, 2, 3});
    pmt(3, {tables(tablePid(3), hbbtv)});
    pmt(2, {tables(tablePid(2), hbbtv)});
    EXPECT_EQ(tuned(), 0u);
    pmt(1, {{0x1B, 0x300, {}}});
    EXPECT_EQ(tuned(), 2u);
}

TEST_F(ServiceFollowerTest, PrefersAServiceThatSaysHbbTVToOneThatDoesNotSay)
{
    services({1, 2, 3});
    pmt(1, {tables(tablePid(1))});
    pmt(2, {tables(tablePid(2), 1)});
    pmt(3, {tables(tablePid(3), 1), tables(0x300, hbbtv)});
    EXPECT_EQ(tuned(), 3u);
}

TEST_F(ServiceFollowerTest, AServiceThatSaysOtherTypesAloneIsNotTunedTo)
{
    services({1, 2});
    pmt(1, {tables(tablePid(1), 1)});
    pmt(2, {{0x1B, 0x300, signalling(hbbtv)}});
    end();
    EXPECT_EQ(tuned(), 0u);
    follower_.remarkAtEnd();
    EXPECT_NE(out_.str().find("no service of the stream signals HbbTV applications"),
              std::string::npos);
}

TEST_F(ServiceFollowerTest, DoesNotWaitForAPmtThatIsMissing)
{
    services({1, 2});
    pmt(2, {tables(tablePid(2), hbbtv)});
    EXPECT_EQ(tuned(), 0u);
    pmt(2, {tables(tablePid(2), hbbtv)});
    EXPECT_EQ(tuned(), 2u) << "the tables have come round";
}

TEST_F(ServiceFollowerTest, ATableThatComesBeforeTheChoiceIsSentAfterIt)
{
    services({1, 2});
    pmt(2, {tables(tablePid(2))});
    play(tablePid(2), table(7));
    EXPECT_EQ(sent(), "");
    pmt(1, {{0x1B, 0x300, {}}});
    EXPECT_EQ(sent(), "2: 70");
}

TEST_F(ServiceFollowerTest, AtTheEndOfTheStreamTheChoiceIsMadeWithWhatIsThere)
{
    services({1, 2});
    pmt(2, {tables(tablePid(2))});
    play(tablePid(2), table(7));
    end();
    EXPECT_EQ(tuned(), 2u);
    EXPECT_EQ(sent(), "2: 70");
}

TEST_F(ServiceFollowerTest, GoesOnToTheNextServiceWhileNoTableComes)
{
    services({1, 2, 3});
    pmt(1, {tables(tablePid(1), hbbtv)});
    pmt(2, {tables(tablePid(2), hbbtv)});
    pmt(3, {tables(tablePid(3))});
    EXPECT_EQ(tuned(), 1u);
    play(tablePid(1), table(0, 0, 0, 1));
    play(tablePid(2), table(5));
    EXPECT_EQ(tuned(), 1u) << "its table may still come";
    play(tablePid(2), table(5));
    EXPECT_EQ(tuned(), 2u);
    EXPECT_EQ(sent(), "2: 50");
    EXPECT_NE(out_.str().find("no AIT for HbbTV came in service 1"), std::string::npos);
    play(tablePid(1), table(6));
    EXPECT_EQ(sent(), "") << "the choice is made";
}

TEST_F(ServiceFollowerTest, StaysWhereTheTableCame)
{
    services({1, 2});
    pmt(1, {tables(tablePid(1))});
    pmt(2, {tables(tablePid(2), hbbtv)});
    EXPECT_EQ(tuned(), 2u);
    play(tablePid(2), table(5));
    for (int round = 0; round < 3; ++round)
        play(tablePid(1), table(6));
    EXPECT_EQ(tuned(), 2u);
    EXPECT_EQ(sent(), "2: 50");
}

TEST_F(ServiceFollowerTest, AWholeTableIsSentOnceUntilItChanges)
{
    services({1});
    pmt(1, {tables(tablePid(1), hbbtv)});
    for (int round = 0; round < 2; ++round) {
        play(tablePid(1), table(5, 0, 1));
        play(tablePid(1), table(5, 1, 1));
    }
    play(tablePid(1), table(6, 0, 1));
    play(tablePid(1), table(5, 0, 1));
    EXPECT_EQ(sent(), "1: 50 51");
    play(tablePid(1), table(6));
    play(tablePid(1), table(6));
    EXPECT_EQ(sent(), "1: 60");
}

TEST_F(ServiceFollowerTest, AtTheEndOfTheStreamTheNextServiceWithATableIsTakenWhenItCameOnce)
{
    services({1, 2, 3});
    for (const unsigned service : {1u, 2u, 3u})
        pmt(service, {tables(tablePid(service))});
    play(tablePid(3), table(3));
    play(tablePid(2), table(2));
    EXPECT_EQ(tuned(), 1u);
    end();
    EXPECT_EQ(tuned(), 2u);
    EXPECT_EQ(sent(), "2: 20");
}

TEST_F(ServiceFollowerTest, ServicesMayShareTheirTable)
{
    services({1, 2, 3});
    for (const unsigned service : {3u, 2u, 1u})
        pmt(service, {tables(0x300, hbbtv)});
    play(0x300, table(5));
    EXPECT_EQ(tuned(), 1u);
    EXPECT_EQ(sent(), "1: 50");
    EXPECT_EQ(follower_.heldBytes(), 0u) << "the choice is made";
}

TEST_F(ServiceFollowerTest, ATableThatMovesToAnotherPidIsHeardThereAlone)
{
    services({1, 2});
    pmt(1, {tables(tablePid(1), hbbtv)});
    pmt(2, {tables(tablePid(2), hbbtv)});
    pmt(2, {tables(0x300, hbbtv)}, 1);
    play(tablePid(2), table(4));
    play(tablePid(2), table(4));
    EXPECT_EQ(follower_.heldBytes(), 0u);
    EXPECT_EQ(tuned(), 1u);
    play(0x300, table(5));
    play(0x300, table(5));
    EXPECT_EQ(tuned(), 2u);
    EXPECT_EQ(sent(), "2: 50");
}

TEST_F(ServiceFollowerTest, WhatIsHeldOfServicesThatAreNotChosenIsBounded)
{
    const unsigned count = 100;
    std::vector<unsigned> ids;
    for (unsigned service = 1; service <= count; ++service)
        ids.push_back(service);
    ids.push_back(0x80);  // its PMT does not come
    services(ids);
    for (unsigned service = 1; service <= count; ++service)
        pmt(service, {tables(0x300, hbbtv)});
    size_t most = 0;
    for (unsigned number = 0; number < 100; ++number) {
        play(0x300, makeSection({0x74, hbbtv, 0, true, number, 255}, Bytes(1000, 0)));
        most = std::max(most, follower_.heldBytes());
    }
    EXPECT_LE(most, ServiceChoice::mostHeldBytes);
    EXPECT_GT(most, ServiceChoice::mostHeldBytes / 2);
    EXPECT_EQ(tuned(), 0u);
}

TEST_F(ServiceFollowerTest, TheServiceThatWasAskedForIsNotLeft)
{
    follower_.tune(1);
    services({1, 2});
    pmt(2, {tables(tablePid(2), hbbtv)});
    EXPECT_EQ(tuned(), 0u);
    pmt(1, {tables(tablePid(1))});
    EXPECT_EQ(tuned(), 1u);
    for (int round = 0; round < 3; ++round)
        play(tablePid(2), table(6));
    end();
    EXPECT_EQ(tuned(), 1u);
    EXPECT_EQ(sent(), "");
}

TEST_F(ServiceFollowerTest, SaysWhichServicesSignalHbbTV)
{
    services({1, 2, 3, 4});
    pmt(1, {tables(tablePid(1), hbbtv)});
    pmt(2, {tables(tablePid(2))});
    pmt(3, {tables(tablePid(3), 1)});
    EXPECT_EQ(follower_.signallingOf(1), ApplicationSignalling::HbbTV);
    EXPECT_EQ(follower_.signallingOf(2), ApplicationSignalling::Unsaid);
    EXPECT_EQ(follower_.signallingOf(3), ApplicationSignalling::None);
    EXPECT_EQ(follower_.signallingOf(4), std::nullopt) << "its PMT is not there";
    EXPECT_EQ(follower_.signallingOf(5), std::nullopt);
}

TEST_F(ServiceFollowerTest, ACarouselThatNobodyCouldAskForIsNamedOnceAService)
{
    const auto timesNamed = [this] {
        const std::string text = out_.str();
        const std::string name = "PID 768 ";
        size_t count = 0;
        for (size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1))
            ++count;
        return count;
    };
    services({1});
    pmt(1, {tables(tablePid(1), hbbtv), {0x0B, 0x300, {}}, carousel(0x301)});
    EXPECT_EQ(timesNamed(), 1u);
    EXPECT_NE(out_.str().find("--carousel-pid 768"), std::string::npos) << "which helps";
    pmt(1, {tables(tablePid(1), hbbtv), {0x0B, 0x300, {}}}, 1);
    EXPECT_EQ(timesNamed(), 1u);
    follower_.tune(1);
    pmt(1, {tables(tablePid(1), hbbtv), {0x0B, 0x300, {}}}, 1);
    EXPECT_EQ(timesNamed(), 2u);
    follower_.tune(1);
    pmt(1, {tables(tablePid(1), hbbtv), carousel(0x300)}, 2);
    EXPECT_EQ(timesNamed(), 2u);
}

TEST_F(ServiceFollowerTest, ListensToACarouselWithoutAnyTable)
{
    FollowerOptions options;
    options.carousels.push_back({0x76A, std::nullopt});
    ServiceFollower follower(options, log_, clock_);
    StreamWriter stream;
    const Bytes gateway = makeGateway("g", {});
    stream.add(0x76A, makeDsi(makeIor({"srg", 1, "g"}))).pause();
    stream.add(0x76A, makeDii(0x80000002, {{1, uint32_t(gateway.size())}})).pause();
    for (const Bytes& block : makeDdbs(1, 0, gateway))
        stream.add(0x76A, block).pause();
    follower.feed(stream.bytes().data(), stream.bytes().size());
    ASSERT_EQ(follower.carousels().status().size(), 1u);
    EXPECT_EQ(follower.carousels().status()[0].progress.modulesComplete, 1u);
}

TEST_F(ServiceFollowerTest, WhatTheCarouselCarriedBeforeTheTablesIsNotLost)
{
    const unsigned pid = 0x300;
    std::vector<Bytes> sections = carouselSections();
    const Bytes last = sections.back();
    sections.pop_back();
    for (const Bytes& section : sections)
        play(pid, section);
    services({1});
    const uint64_t before = follower_.statistics().sections;
    pmt(1, {tables(tablePid(1), hbbtv), carousel(pid)});
    EXPECT_EQ(follower_.statistics().sections, before + 1) << "the PMT alone is new";
    EXPECT_FALSE(follower_.carousels().hasFile("f"));
    play(pid, last);
    EXPECT_TRUE(follower_.carousels().hasFile("f"));
    EXPECT_EQ(follower_.statistics().continuityErrors, 0u);
}

/// @param firstPid, secondPid of the services' carousels
void ServiceFollowerTest::goOnToASecondServiceAmidItsCarousel(unsigned firstPid, unsigned secondPid)
{
    const std::vector<Bytes> sections = carouselSections();
    const size_t half = sections.size() / 2;
    for (size_t index = 0; index < half; ++index)
        play(secondPid, sections[index]);
    services({1, 2});
    pmt(1, {tables(tablePid(1), hbbtv), carousel(firstPid)});
    pmt(2, {tables(tablePid(2), hbbtv), carousel(secondPid)});
    EXPECT_EQ(tuned(), 1u);
    for (size_t index = half; index < sections.size(); ++index)
        play(secondPid, sections[index]);
    play(tablePid(2), table(5));
    play(tablePid(2), table(5));
    EXPECT_EQ(tuned(), 2u);
}

TEST_F(ServiceFollowerTest, WhatTheNextServicesCarouselCarriedBeforeIsNotLost)
{
    goOnToASecondServiceAmidItsCarousel(0x300, 0x301);
    EXPECT_TRUE(follower_.carousels().hasFile("f"));
}

TEST_F(ServiceFollowerTest, WhatACarouselOfTwoServicesCarriedBeforeIsTheNextOnesToo)
{
    goOnToASecondServiceAmidItsCarousel(0x300, 0x300);
    EXPECT_TRUE(follower_.carousels().hasFile("f"));
}

TEST_F(ServiceFollowerTest, ATableThatCameOnceBeforeItsPmtIsSent)
{
    play(tablePid(1), table(4));
    services({1});
    play(tablePid(1), table(5, 0, 1));
    play(tablePid(1), table(5, 1, 1));
    pmt(1, {tables(tablePid(1), hbbtv)});
    EXPECT_EQ(sent(), "1: 50 51") << "the latest version";
    play(tablePid(1), table(6));
    EXPECT_EQ(sent(), "1: 60");
}

TEST_F(ServiceFollowerTest, ATableOfTheServiceThatWasAskedForIsSentThoughItCameBeforeThePmt)
{
    follower_.tune(2);
    services({1, 2});
    play(tablePid(2), table(5));
    pmt(1, {tables(tablePid(1), hbbtv)});
    EXPECT_EQ(sent(), "");
    pmt(2, {tables(tablePid(2), hbbtv)});
    EXPECT_EQ(sent(), "2: 50");
}

TEST_F(ServiceFollowerTest, TuningToNoServiceLeavesTheOneThatWasTunedTo)
{
    services({1});
    pmt(1, {tables(tablePid(1), hbbtv)});
    play(tablePid(1), table(5));
    EXPECT_EQ(sent(), "1: 50");
    follower_.tune(0);
    pmt(1, {tables(tablePid(1), hbbtv)});
    play(tablePid(1), table(6));
    EXPECT_EQ(sent(), "");
    EXPECT_FALSE(follower_.tuned());
    EXPECT_FALSE(follower_.lacksWantedService()) << "none was wanted";
    EXPECT_EQ(follower_.lack(), "");
}

TEST_F(ServiceFollowerTest, WhatComesBeforeThePmtIsNotLostAfterAZapEither)
{
    services({1, 2});
    pmt(1, {tables(tablePid(1), hbbtv)});
    pmt(2, {tables(tablePid(2), hbbtv)});
    play(tablePid(1), table(5));
    play(tablePid(2), table(6));
    EXPECT_EQ(sent(), "1: 50");
    follower_.tune(2);
    play(tablePid(2), table(7));
    for (const Bytes& section : carouselSections())
        play(0x300, section);
    pmt(2, {tables(tablePid(2), hbbtv), carousel(0x300)});
    EXPECT_EQ(sent(), "2: 70");
    EXPECT_TRUE(follower_.carousels().hasFile("f"));
}

TEST_F(ServiceFollowerTest, ATableThatBeganBeforeItsPmtIsContinued)
{
    services({1});
    PacketWriter writer(tablePid(1));
    Bytes name = ByteWriter().u8(0x40).u8(200).fill(200, 0);  // a descriptor that says nothing
    const Bytes entry =
        ByteWriter().u32(0x0A).u16(0x50).u8(2).u16(0xF000 | unsigned(name.size())).add(name);
    const Bytes packets = writer.section(
        makeSection({0x74, hbbtv, 5},
                    ByteWriter().u16(0xF000).u16(0xF000 | unsigned(entry.size())).add(entry)));
    follower_.feed(packets.data(), 188);
    pmt(1, {tables(tablePid(1), hbbtv)});
    EXPECT_EQ(sent(), "");
    follower_.feed(packets.data() + 188, packets.size() - 188);
    EXPECT_EQ(sent(), "1: 50");
}

TEST_F(ServiceFollowerTest, ATableThatCameBeforeThePmtOfTheNextServiceHasComeRoundWithTheNext)
{
    services({1, 2});
    play(tablePid(2), table(5));
    pmt(2, {tables(tablePid(2), hbbtv)});
    pmt(1, {tables(tablePid(1), hbbtv)});
    EXPECT_EQ(tuned(), 1u) << "it came once";
    play(tablePid(2), table(5));
    EXPECT_EQ(tuned(), 2u);
    EXPECT_EQ(sent(), "2: 50");
}

TEST_F(ServiceFollowerTest, ATableThatCameOnceBeforeThePmtOfTheNextServiceIsTakenAtTheEnd)
{
    services({1, 2});
    play(tablePid(2), table(5));
    pmt(1, {tables(tablePid(1), hbbtv)});
    pmt(2, {tables(tablePid(2), hbbtv)});
    end();
    EXPECT_EQ(tuned(), 2u);
    EXPECT_EQ(sent(), "2: 50");
}

TEST_F(ServiceFollowerTest, ASectionThatBeganBeforeTheTablesIsContinued)
{
    const unsigned pid = 0x300;
    const Bytes gateway =
        makeGateway("g", {{"f", makeIor({"fil", 1, "f"})}}) + makeFile("f", std::string(900, 'x'));
    services({1});
    play(pid, makeDsi(makeIor({"srg", 1, "g"})));
    play(pid, makeDii(0x80000002, {{1, uint32_t(gateway.size())}}, 4000));
    const size_t half = 188 * 3;
    // The counter goes on after the two sections before.
    PacketWriter writer(pid);
    writer.skipCounter(2);
    const Bytes packets = writer.section(makeDdbs(1, 0, gateway, 4000).front());
    ASSERT_GT(packets.size(), half);
    follower_.feed(packets.data(), half);
    pmt(1, {tables(tablePid(1), hbbtv), carousel(pid)});
    follower_.feed(packets.data() + half, packets.size() - half);
    EXPECT_TRUE(follower_.carousels().hasFile("f"));
}

TEST_F(ServiceFollowerTest, ATableThatComesOnceOnASecondPidIsSent)
{
    services({1});
    pmt(1, {tables(tablePid(1)), tables(0x300)});
    for (unsigned number = 0; number < 3; ++number)
        play(0x300, table(5, number, 2));
    EXPECT_EQ(sent(), "1: 50 51 52");
}

TEST_F(ServiceFollowerTest, ATableOfManySectionsIsSentWholeWithoutANetwork)
{
    services({1}, false);
    pmt(1, {tables(tablePid(1), hbbtv)});
    const unsigned last = 11;
    for (unsigned number = 0; number <= last; ++number)
        play(tablePid(1), table(5, number, last));
    EXPECT_EQ(sent(), "");
    end();
    EXPECT_EQ(sent(), "1: 50 51 52 53 54 55 56 57 58 59 5a 5b");
    EXPECT_EQ(network_, 0u);
}

TEST_F(ServiceFollowerTest, ATableThatWaitedForTheNetworkIsSentWithItWhenItComes)
{
    services({1}, false);
    pmt(1, {tables(tablePid(1), hbbtv)});
    play(tablePid(1), table(5, 0, 1));
    play(tablePid(1), table(5, 1, 1));
    EXPECT_EQ(sent(), "");
    services({1});
    EXPECT_EQ(sent(), "1: 50 51");
    EXPECT_EQ(network_, network);
}

TEST_F(ServiceFollowerTest, ATableWaitsEightRoundsForTheNetworkAndNoMore)
{
    services({1}, false);
    pmt(1, {tables(tablePid(1), hbbtv)});
    for (int round = 0; round < 8; ++round) {
        play(tablePid(1), table(5));
        EXPECT_EQ(sent(), "");
    }
    play(tablePid(1), table(5));
    EXPECT_EQ(sent(), "1: 50");
    play(tablePid(1), table(6));
    EXPECT_EQ(sent(), "1: 60");
}

TEST_F(ServiceFollowerTest, StreamEventsOfAComponentThatIsListenedToAreSent)
{
    services({1});
    pmt(1, {tables(tablePid(1), hbbtv), {0x0C, 0x300, makeDescriptor(0x52, {0x2B})}});
    play(tablePid(1), table(0));
    sent();
    play(0x300, makeStreamEventSection(7, 0, "nobody listens"));
    follower_.streamEvents().subscribe(1, 0x2B, 7, 5, "go");
    play(0x1FF0, makeStreamEventSection(7, 1, "another PID"));
    play(0x300, makeStreamEventSection(7, 1, "x"));
    play(0x300, makeStreamEventSection(7, 1, "x"));
    const std::vector<Outgoing> events = follower_.takeEvents();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].type, E_DSMCC_STREAM_EVENT);
    EXPECT_STREQ(static_cast<HBBTV_StreamEventData*>(events[0].record)->string2, "78");
    discard(events[0]);
    follower_.streamEvents().unsubscribeAll(5);
    play(0x300, makeStreamEventSection(7, 2, "y"));
    EXPECT_TRUE(follower_.takeEvents().empty());
}

TEST_F(ServiceFollowerTest, KnowsWhatTheStreamTellsOfItsServices)
{
    EventFields present;
    present.id = 7;
    play(0x12, makePresentFollowing(1, 0, present));
    services({1, 2});
    pmt(1, {tables(tablePid(1), hbbtv), {0x1B, 0x300, {}}});
    play(0x10, makeNit(0x3001, {{0x441, network, makeDescriptor(0x44, {1})}}));
    const ServiceInformation& information = follower_.information();
    EXPECT_EQ(information.programmesOf(1).size(), 1u) << "it came before the PAT";
    EXPECT_EQ(information.componentsOf(1).size(), 1u);
    EXPECT_EQ(information.detailsOf(1).serviceType, 1);
    EXPECT_EQ(information.detailsOf(1).networkId, 0x3001);
    EXPECT_EQ(information.detailsOf(1).deliverySystem, makeDescriptor(0x44, {1}));
    services({2});
    EXPECT_TRUE(information.programmesOf(1).empty());
}

TEST_F(ServiceFollowerTest, ServiceInformationIsNewsOnlyWhereItChangesWhatIsOnNowAndNext)
{
    services({1});
    follower_.takeNews();
    EventFields event;
    play(0x12, makePresentFollowing(1, 0, event));
    EXPECT_TRUE(follower_.takeNews());
    play(0x12, makePresentFollowing(1, 0, event));
    EXPECT_FALSE(follower_.takeNews());
    EitFields fields;
    fields.tableId = fields.lastTable = 0x50;
    play(0x12, makeEit(fields, {event}));
    play(0x10, makeNit(1, {}));
    EXPECT_FALSE(follower_.takeNews());
    play(0x11, makeSdt(0x441, network, {{1, "a name"}}));
    EXPECT_TRUE(follower_.takeNews());
}

}  // namespace
}  // namespace receiver
