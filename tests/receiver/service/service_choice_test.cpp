#include <gtest/gtest.h>
#include <set>

#include "receiver/service/service_choice.h"
#include "tests/receiver/support/recording_listener.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

const unsigned hbbtv = 0x0010;
const uint16_t pid = 0x200;
const uint16_t otherPid = 0x201;

ProgramMap mapWith(const std::vector<uint16_t>& pids)
{
    ProgramMap map;
    for (const uint16_t one : pids) {
        StreamDescription stream;
        stream.streamType = 0x05;
        stream.pid = one;
        map.streams.push_back(stream);
    }
    return map;
}

Bytes table(size_t size, unsigned version = 0)
{
    return makeSection({0x74, hbbtv, version}, Bytes(size, 0));
}

class ServiceChoiceTest : public ::testing::Test {
protected:
    std::set<uint16_t> pids() const
    {
        std::set<uint16_t> list;
        choice_.addPidsTo(list);
        return list;
    }

    RecordingListener listener_;
    TransportStream stream_{listener_};
    ServiceChoice choice_{stream_};
    const size_t size_ = table(100).size();
};

TEST_F(ServiceChoiceTest, ListensWhereTheTablesOfItsCandidatesMayBe)
{
    choice_.follow(1, mapWith({pid}));
    choice_.follow(2, mapWith({pid, otherPid, otherPid}));
    EXPECT_EQ(pids(), (std::set<uint16_t>{pid, otherPid}));
    EXPECT_EQ(stream_.subscriptions(), (std::set<uint16_t>{pid, otherPid}));
    choice_.take(2);
    EXPECT_EQ(pids(), std::set<uint16_t>{pid});
    choice_.follow(1, mapWith({}));
    EXPECT_TRUE(pids().empty()) << "it signals no applications any more";
}

TEST_F(ServiceChoiceTest, WhatIsHeldIsWhatCameOfTheTables)
{
    choice_.follow(1, mapWith({pid}));
    choice_.follow(2, mapWith({pid, otherPid}));
    EXPECT_FALSE(choice_.hear(pid, table(100)));
    EXPECT_EQ(choice_.heldBytes(), 2 * size_);
    EXPECT_TRUE(choice_.hear(pid, table(200))) << "it has come round";
    EXPECT_EQ(choice_.heldBytes(), 2 * (size_ + 100));
    EXPECT_FALSE(choice_.hear(otherPid, table(100))) << "a second table of the second service";
    EXPECT_EQ(choice_.heldBytes(), 2 * (size_ + 100) + size_);
    EXPECT_FALSE(choice_.hear(0x300, table(100))) << "nobody's";
    EXPECT_FALSE(choice_.hear(pid, makeSection({0x74, 1, 0}, Bytes(100, 0)))) << "another type";
    EXPECT_FALSE(choice_.hear(pid, makeSection({0x74, hbbtv, 0, false}, Bytes(100, 0))));
    EXPECT_EQ(choice_.heldBytes(), 2 * (size_ + 100) + size_);
    EXPECT_EQ(choice_.take(1).heldBytes(), size_ + 100);
    EXPECT_EQ(choice_.heldBytes(), size_ + 100 + size_);
    choice_.dropUnlisted();
    EXPECT_EQ(choice_.heldBytes(), 0u) << "the stream lists none";
}

TEST_F(ServiceChoiceTest, WhatIsHeldOfAPidGoesWithIt)
{
    choice_.follow(1, mapWith({pid, otherPid}));
    choice_.hear(otherPid, table(100));
    choice_.hear(pid, table(200));
    EXPECT_EQ(choice_.heldBytes(), size_ + size_ + 100);
    choice_.follow(1, mapWith({pid}));
    EXPECT_EQ(choice_.heldBytes(), size_ + 100);
    EXPECT_EQ(choice_.take(1).tables.count(pid), 1u);
    EXPECT_EQ(choice_.heldBytes(), 0u);
    choice_.follow(1, mapWith({pid}));
    choice_.hear(pid, table(100));
    choice_.clear();
    EXPECT_EQ(choice_.heldBytes(), 0u);
}

}  // namespace
}  // namespace receiver
