#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "lifecycle/window.h"
#include "receiver/browser/console_browser.h"
#include "receiver/integration/integrator.h"
#include "receiver/service/table_feed.h"
#include "signalling/ait.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

using namespace VestaHbbTV;

const uint16_t pid = 0x200;
const uint16_t otherPid = 0x201;
const unsigned hbbtv = 0x0010;

Bytes entry(unsigned id, const Bytes& profile = {0, 0, 1, 1, 1})
{
    const Bytes descriptors =
        makeDescriptor(0x00, ByteWriter().with8(profile).u8(0xFF).u8(1).u8(1)) +
        makeDescriptor(0x02,
                       ByteWriter().u16(3).u8(1).with8(std::string("http://a.example/")).u8(0)) +
        makeDescriptor(0x15, ByteWriter().add(std::string("index.html")));
    return ByteWriter()
        .u32(0x0A)
        .u16(id)
        .u8(1)
        .u16(0xF000 | unsigned(descriptors.size()))
        .add(descriptors);
}

Bytes table(unsigned version, const Bytes& entries, unsigned number = 0, unsigned last = 0)
{
    return makeSection(
        {0x74, hbbtv, version, true, number, last},
        ByteWriter().u16(0xF000).u16(0xF000 | unsigned(entries.size())).add(entries));
}

Service service(unsigned id, std::optional<uint16_t> network = 0x20FA)
{
    Service made;
    made.programNumber = static_cast<uint16_t>(id);
    made.transportStreamId = 0x441;
    made.originalNetworkId = network;
    return made;
}

class TableFeedTest : public ::testing::Test {
protected:
    TableFeedTest()
    {
        vesta_hbbtv_init(browser_.handle());
        window_ = static_cast<Window*>(vesta_hbbtv_create_window());
        vesta_hbbtv_set_broadcast_window(window_);
        vesta_hbbtv_add_notification_listener(Integrator::listen);
    }
    ~TableFeedTest() override { vesta_hbbtv_shutdown(); }

    /// Tunes to the service 1, whose PMT lists these PIDs for tables.
    void join(const std::vector<uint16_t>& pids = {pid}, unsigned version = 0,
              std::optional<uint16_t> network = 0x20FA)
    {
        std::vector<PmtStream> streams;
        for (const uint16_t each : pids)
            streams.push_back({0x05, each, {}});
        feed().join(service(1, network), readProgramMap(makePmt(1, version, streams)));
    }

    void take(const Bytes& section, uint16_t from = pid) { feed().take(from, section); }

    /// The ids of the applications of the table in force; "-" without one.
    std::string inForce()
    {
        while (vesta_hbbtv_tick()) {
        }
        const AIT* const ait = window_->getAIT();
        if (!ait || ait->isStale())
            return "-";
        std::string ids;
        for (unsigned index = 0; index < ait->getNumApplications(); ++index)
            ids += (index == 0 ? "" : " ") +
                   std::to_string(ait->getAITApplication(index)->getApplicationId());
        return ids;
    }

    TableFeed& feed()
    {
        if (!feed_)
            feed_.emplace(carried_, log_, book_,
                          [this](const char* event, const std::string& text) {
                              remarks_.push_back(event + (": " + text));
                          });
        return *feed_;
    }

    using Lines = std::vector<std::string>;
    Lines takeRemarks() { return std::exchange(remarks_, {}); }
    bool says(const std::string& text) const { return out_.str().find(text) != std::string::npos; }

    HbbTVVersion carried_;
    std::ostringstream out_;
    EventLog log_{out_, false};
    ConsoleBrowser browser_{log_, {}};
    TableBook book_;
    Integrator integrator_{log_, browser_, &book_};
    Window* window_ = nullptr;
    Lines remarks_;
    std::optional<TableFeed> feed_;
};

TEST_F(TableFeedTest, ATableIsSaidWhenItComesAndWhenItIsSent)
{
    join();
    EXPECT_FALSE(feed().hasCome());
    for (int round = 0; round < 3; ++round)
        take(table(7, entry(5)));
    EXPECT_EQ(inForce(), "5");
    EXPECT_TRUE(feed().hasCome());
    EXPECT_TRUE(feed().hasSent());
    EXPECT_TRUE(feed().isInForce());
    EXPECT_EQ(out_.str().find("AIT version 7, "), out_.str().rfind("AIT version 7, ")) << "once";
    EXPECT_TRUE(says("AIT version 7 is sent as version 1"));
    EXPECT_EQ(takeRemarks(), Lines());
}

TEST_F(TableFeedTest, ATableOfANumberOfItsOwnAndTheSameContentIsNotSentAgain)
{
    join();
    take(table(7, entry(5)));
    take(table(8, entry(5)));
    EXPECT_EQ(inForce(), "5");
    EXPECT_TRUE(says("AIT version 8, "));
    EXPECT_FALSE(says("AIT version 8 is sent"));
}

TEST_F(TableFeedTest, ARefusedSectionIsSaidWithItsPlaceAndBarsNothing)
{
    join();
    take(makeSection({0x74, hbbtv, 1}, {0xF0, 0, 0xF0, 3, 1, 2, 3}));
    EXPECT_EQ(takeRemarks(), Lines{"ait-problem: a section of the AIT on PID 512 is refused: an "
                                   "application leaves the application loop at offset 12"});
    take(makeSection({0x74, hbbtv, 1}, {0xF0, 2, 0x1F, 9, 0xF0, 0}));
    EXPECT_EQ(takeRemarks().back(), "ait-problem: a section of the AIT on PID 512 is refused: a "
                                    "descriptor leaves its loop at offset 10, tag 0x1f");
    EXPECT_FALSE(feed().hasCome());
    take(table(2, entry(5)));
    EXPECT_EQ(inForce(), "5");
}

TEST_F(TableFeedTest, WhatIsForOthersIsLeftOut)
{
    join({pid, otherPid});
    take(makeSection({0x74, 1, 1}, {0xF0, 0, 0xF0, 0}));
    take(makeSection({0x74, hbbtv, 1, false}, {0xF0, 0, 0xF0, 0}));
    take(makeSection({0x70, hbbtv, 1}, {0xF0, 0, 0xF0, 0}));
    take(table(1, entry(5)));
    take(table(1, entry(6)), otherPid);
    EXPECT_EQ(takeRemarks(),
              (Lines{"left-out: left out: PID 512, another application type",
                     "left-out: left out: PID 512, not in force yet (current_next_indicator is 0)",
                     "left-out: left out: PID 512, another table",
                     "left-out: left out: PID 513, a second AIT of the service"}));
    EXPECT_EQ(inForce(), "5");
    EXPECT_EQ(out_.str().find("AIT version"), out_.str().rfind("AIT version 1, ")) << "not theirs";
}

TEST_F(TableFeedTest, AWholeTableThatIsRefusedIsSaid)
{
    join();
    Bytes entries;
    for (unsigned id = 1; id <= 10; ++id)
        entries = entries + entry(id);
    for (unsigned number = 0; number < 26; ++number)
        take(table(1, entries, number, 25));
    EXPECT_EQ(takeRemarks(),
              Lines{"ait-problem: AIT version 1 is refused: more applications than the limit"});
    EXPECT_EQ(inForce(), "-");
    EXPECT_TRUE(feed().hasCome());
    EXPECT_FALSE(feed().hasSent());
}

TEST_F(TableFeedTest, ATableThatLacksASectionIsSaidWhenItHasComeRound)
{
    join();
    for (int round = 0; round < 5; ++round)
        take(table(1, entry(5), 2, 2));
    EXPECT_EQ(
        takeRemarks(),
        Lines{"ait-problem: AIT version 1 is not complete: of 3 sections, number 1 did not come"});
}

TEST_F(TableFeedTest, ATableThatChangesAllTheTimeIsSaid)
{
    join();
    for (unsigned id = 1; id <= 12; ++id)
        take(table(1, entry(id)));
    EXPECT_EQ(takeRemarks(), Lines{"ait-problem: the AIT changes all the time"});
    EXPECT_EQ(inForce(), "12");
}

TEST_F(TableFeedTest, ATableThatStaysAwayIsWithdrawnByTheStreamsTime)
{
    join();
    take(table(1, entry(5)));
    EXPECT_EQ(inForce(), "5");
    EXPECT_NE(window_->getRunningApplication(), nullptr);
    feed().setTime(19999);
    inForce();
    EXPECT_NE(window_->getRunningApplication(), nullptr);
    feed().setTime(20000);
    inForce();
    EXPECT_EQ(window_->getRunningApplication(), nullptr);
    EXPECT_FALSE(feed().isInForce());
    take(table(1, entry(5)));
    inForce();
    EXPECT_NE(window_->getRunningApplication(), nullptr);
    EXPECT_NE(out_.str().find("AIT version 1, "), out_.str().rfind("AIT version 1, ")) << "again";
}

TEST_F(TableFeedTest, AVersionOfHbbTVUpToTheTerminalsIsCarried)
{
    const Bytes modern = entry(5, {0, 0, 1, 4, 1});
    join();
    take(table(1, modern));
    inForce();
    EXPECT_EQ(window_->getRunningApplication(), nullptr);
    EXPECT_EQ(book_.profilesOf(0x0A, 5), Lines{"0x0000 with version 1.4.1"});
    feed_.reset();
    carried_ = {1, 4, 1};
    join();
    take(table(1, modern));
    inForce();
    EXPECT_NE(window_->getRunningApplication(), nullptr);
    EXPECT_EQ(book_.profilesOf(0x0A, 5), Lines{"0x0000 with version 1.4.1"}) << "as broadcast";
}

TEST_F(TableFeedTest, TablesThatComeBeforeTheNetworkIsKnownAreHeldWithinALimit)
{
    join({pid}, 0, std::nullopt);
    const Bytes filler = makeDescriptor(0x40, Bytes(250, 1));
    const Bytes entries = ByteWriter()
                              .u32(0x0A)
                              .u16(5)
                              .u8(1)
                              .u16(0xF000 | unsigned(3 * filler.size()))
                              .add(filler + filler + filler);
    unsigned taken = 0;
    while (!says("is sent as version 1") && taken < 1000) {
        take(table(1, entries, taken % 256, 255), static_cast<uint16_t>(pid + taken / 256));
        ++taken;
    }
    EXPECT_EQ(taken, TableFeed::mostHeldBytes / table(1, entries).size() + 1);
    EXPECT_EQ(takeRemarks().front(), "left-out: held back: an AIT before the network is known");
}

TEST_F(TableFeedTest, AServiceThatIsLeftIsToldAtOnceAndOnlyOnce)
{
    join();
    take(table(1, entry(5)));
    EXPECT_EQ(inForce(), "5");
    Service next = service(1);
    feed().leave(next);
    EXPECT_EQ(inForce(), "-");
    EXPECT_FALSE(feed().hasCome());
    EXPECT_EQ(book_.profilesOf(0x0A, 5), Lines());
    join();
    take(table(1, entry(6)));
    EXPECT_EQ(inForce(), "6");
}

}  // namespace
}  // namespace receiver
