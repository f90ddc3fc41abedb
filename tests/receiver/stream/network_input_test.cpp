#include <chrono>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <thread>

#include "receiver/stream/network_input.h"
#include "tests/receiver/support/datagram_sender.h"

namespace receiver {
namespace {

using Events = std::vector<std::string>;

Bytes bytes(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

Events takeEvents(NetworkInput& input)
{
    Events events;
    for (const StreamInput::Remark& remark : input.takeRemarks())
        events.emplace_back(remark.event);
    return events;
}

/// Reads until so many bytes have come.
std::string read(NetworkInput& input, size_t wanted)
{
    std::string text;
    while (text.size() < wanted) {
        unsigned char buffer[5];
        const std::optional<size_t> count = input.read(buffer, sizeof(buffer));
        if (count && *count == 0)
            return text + " and the end";
        text.append(buffer, buffer + count.value_or(0));
    }
    return text;
}

/// An input on a port of its own, and who sends there.
class NetworkInputTest : public ::testing::Test {
protected:
    NetworkInputTest() : problem_(input_.open()), sender_("127.0.0.1", input_.port()) {}

    void send(const std::string& text) const { ASSERT_TRUE(sender_.send(bytes(text))); }
    void send(unsigned sequenceNumber, const std::string& text) const
    {
        ASSERT_TRUE(sender_.send(rtpDatagram(sequenceNumber, bytes(text))));
    }

    NetworkInput input_{"udp://127.0.0.1:0"};
    const std::string problem_;
    const DatagramSender sender_;
};

TEST_F(NetworkInputTest, DatagramsAreHandedOnAsTheyCame)
{
    ASSERT_EQ(problem_, "");
    send("G12345678");
    send("");
    send("not a packet");
    EXPECT_EQ(read(input_, 21), "G12345678not a packet");
    EXPECT_EQ(input_.bytesRead(), 21u);
    const auto counts = input_.networkStatistics();
    ASSERT_TRUE(counts);
    EXPECT_EQ(counts->datagrams, 3u);
    EXPECT_EQ(counts->rtpPackets, 0u);
    EXPECT_EQ(counts->overflows, 0u);
}

TEST_F(NetworkInputTest, ItSaysWhereItListensAndThatItNeverEnds)
{
    EXPECT_NE(input_.port(), 0);
    const auto remarks = input_.takeRemarks();
    ASSERT_EQ(remarks.size(), 1u);
    EXPECT_EQ(remarks[0].text, "listening to 127.0.0.1:" + std::to_string(input_.port()));
    EXPECT_TRUE(input_.isEndless());
    EXPECT_FALSE(input_.rewind());
    EXPECT_EQ(input_.size(), 0u);
}

TEST_F(NetworkInputTest, RtpIsKnownByItselfAndPutInOrder)
{
    send(10, "a");
    send(12, "c");
    send(12, "c");
    send(11, "b");
    send(9, "never");
    ASSERT_TRUE(sender_.send({0x81, 33, 0, 13}));
    send(13, "d");
    send("plain");
    EXPECT_EQ(read(input_, 9), "abcdplain");
    const auto counts = input_.networkStatistics();
    ASSERT_TRUE(counts);
    EXPECT_EQ(counts->datagrams, 8u);
    EXPECT_EQ(counts->rtpPackets, 7u);
    EXPECT_EQ(counts->reordered, 1u);
    EXPECT_EQ(counts->duplicates, 1u);
    EXPECT_EQ(counts->late, 1u);
    EXPECT_EQ(counts->damaged, 1u);
    EXPECT_EQ(counts->lost, 0u);
}

TEST_F(NetworkInputTest, APacketThatDoesNotComeIsGivenUpThoughNothingElseComes)
{
    send(1, "a");
    send(3, "c");
    EXPECT_EQ(read(input_, 2), "ac");
    EXPECT_EQ(input_.networkStatistics()->lost, 1u);
}

TEST_F(NetworkInputTest, ALongDatagramIsReadInPieces)
{
    const std::string text(60000, 'x');
    send(text);
    EXPECT_EQ(read(input_, text.size()), text);
}

TEST_F(NetworkInputTest, ACallReachesAReadThatWaits)
{
    std::thread caller([this] { input_.wake(); });
    unsigned char buffer[1];
    EXPECT_FALSE(input_.read(buffer, 1));
    caller.join();
}

TEST_F(NetworkInputTest, AFloodOfNothingDoesNotKeepACallFromItsReader)
{
    for (int count = 0; count < 200; ++count)
        send("");
    input_.wake();
    unsigned char buffer[1];
    EXPECT_FALSE(input_.read(buffer, 1));
    EXPECT_EQ(input_.networkStatistics()->datagrams, 0u) << "the call comes first";
    EXPECT_FALSE(input_.read(buffer, 1));
    EXPECT_LT(input_.networkStatistics()->datagrams, 100u) << "and may come again";
}

TEST_F(NetworkInputTest, DatagramsThatNobodyTookInTimeAreCounted)
{
    const unsigned sent = 200;  // twelve million bytes
    const std::string text(60000, 'x');
    for (unsigned count = 0; count < sent; ++count)
        send(text);
    // The system says so with a datagram that came afterwards.
    unsigned char buffer[60000];
    while (input_.networkStatistics()->overflows == 0) {
        input_.read(buffer, sizeof(buffer));
        send("more");
    }
    EXPECT_LT(input_.networkStatistics()->overflows, sent);
}

TEST(NetworkInput, SilenceIsSaidOnceUntilSomethingIsHeard)
{
    NetworkInput input("udp://127.0.0.1:0", std::chrono::milliseconds(1));
    ASSERT_EQ(input.open(), "");
    const DatagramSender sender("127.0.0.1", input.port());
    EXPECT_EQ(takeEvents(input), (Events{"listening"}));
    unsigned char buffer[1];
    EXPECT_FALSE(input.read(buffer, 1)) << "returns to say it";
    EXPECT_EQ(takeEvents(input), (Events{"silent"}));
    ASSERT_TRUE(sender.send(bytes("a")));
    EXPECT_EQ(input.read(buffer, 1), 1u) << "and does not return to say it again";
    EXPECT_EQ(takeEvents(input), (Events{"heard-again"}));
    EXPECT_FALSE(input.read(buffer, 1));
    EXPECT_EQ(takeEvents(input), (Events{"silent"}));
}

TEST(NetworkInput, AnAddressThatCannotBeUsedIsSaid)
{
    EXPECT_EQ(NetworkInput("udp://127.0.0.1").open().rfind("udp://127.0.0.1: expected", 0), 0u);
    EXPECT_EQ(NetworkInput("udp://192.0.2.1:0").open(),
              "udp://192.0.2.1:0: Cannot assign requested address");
    NetworkInput first("udp://127.0.0.1:0");
    ASSERT_EQ(first.open(), "");
    const std::string taken = "rtp://127.0.0.1:" + std::to_string(first.port());
    EXPECT_EQ(NetworkInput(taken).open(), taken + ": Address already in use");
    const std::string foreign = "udp://239.255.77.1:0?interface=192.0.2.1";
    EXPECT_EQ(NetworkInput(foreign).open(), foreign + ": cannot join the group: No such device");
}

TEST(NetworkInput, SixIsAsGoodAsFour)
{
    NetworkInput input("udp://[::1]:0");
    if (const std::string problem = input.open(); !problem.empty())
        GTEST_SKIP() << "no IPv6 here: " << problem;
    const DatagramSender sender("::1", input.port());
    ASSERT_TRUE(sender.send(bytes("six")));
    EXPECT_EQ(read(input, 3), "six");
}

struct Group {
    const char* name;
    const char* address;
    const char* url;
};

void PrintTo(const Group& group, std::ostream* out)
{
    *out << group.url;
}

class NetworkInputGroup : public ::testing::TestWithParam<Group> {};

TEST_P(NetworkInputGroup, IsJoinedOnTheInterfaceAndMayBeHeardByTwo)
{
    NetworkInput input(GetParam().url);
    if (const std::string problem = input.open(); !problem.empty())
        GTEST_SKIP() << "no group can be joined here: " << problem;
    std::string again = GetParam().url;
    again.replace(again.find(":0?"), 2, ":" + std::to_string(input.port()));
    NetworkInput other(again);
    ASSERT_EQ(other.open(), "");
    const DatagramSender sender(GetParam().address, input.port());
    if (!sender.send(bytes("to all")))
        GTEST_SKIP() << "nothing can be sent to a group here";
    EXPECT_EQ(read(input, 6), "to all");
    EXPECT_EQ(read(other, 6), "to all");
}

INSTANTIATE_TEST_SUITE_P(
    Loopback, NetworkInputGroup,
    ::testing::Values(Group{"ByName", "239.255.77.1", "udp://@239.255.77.1:0?interface=lo"},
                      Group{"ByAddress", "239.255.77.2",
                            "udp://239.255.77.2:0?interface=127.0.0.1"},
                      Group{"Six", "ff01::7701", "udp://@[ff01::7701]:0?interface=lo"}),
    [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace receiver
