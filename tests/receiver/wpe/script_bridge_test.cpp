#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include "receiver/wpe/bridge_protocol.h"
#include "receiver/wpe/script_bridge.h"

namespace receiver {
namespace {

std::string framed(const std::string& message)
{
    const auto length = bridgeLength(message.size());
    return std::string(length.begin(), length.end()) + message;
}

/// The web process's end.
class Client {
public:
    explicit Client(const std::string& path) : socket_(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, path.c_str());
        isConnected_ =
            ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() { ::close(socket_); }

    bool isConnected() const { return isConnected_; }

    void send(const std::string& bytes)
    {
        ASSERT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

    /// What came by now. @return "closed" when the other end closed it
    std::string received()
    {
        for (int round = 0; round < 100; ++round)
            g_main_context_iteration(nullptr, FALSE);
        char bytes[65536];
        const ssize_t count = ::recv(socket_, bytes, sizeof bytes, MSG_DONTWAIT);
        if (count == 0)
            return "closed";
        return count < 0 ? "" : std::string(bytes, static_cast<size_t>(count));
    }

private:
    int socket_;
    bool isConnected_ = false;
};

class ScriptBridgeTest : public ::testing::Test {
protected:
    std::vector<std::string> calls_;
    ScriptBridge bridge_{[this](const Caller& caller, const std::string& call) {
        calls_.push_back(std::to_string(caller.page) + "/" + std::to_string(caller.document) +
                         (caller.isMainFrame ? " main " : " frame ") + call);
        return "answer to " + call;
    }};
};

TEST_F(ScriptBridgeTest, ACallIsAnswered)
{
    Client client(bridge_.path());
    ASSERT_TRUE(client.isConnected());
    client.send(framed("7 3 1\n{}"));
    EXPECT_EQ(client.received(), framed("answer to {}"));
    EXPECT_EQ(calls_, std::vector<std::string>{"7/3 main {}"});
}

TEST_F(ScriptBridgeTest, ACallOfAnotherFrameSaysSo)
{
    Client client(bridge_.path());
    client.send(framed("7 3 0\n{}"));
    client.received();
    EXPECT_EQ(calls_, std::vector<std::string>{"7/3 frame {}"});
}

TEST_F(ScriptBridgeTest, ACallMayComeInPieces)
{
    Client client(bridge_.path());
    const std::string whole = framed("1 1 1\nabc");
    for (const char byte : whole) {
        EXPECT_TRUE(calls_.empty());
        client.send(std::string(1, byte));
        const std::string answer = client.received();
        EXPECT_TRUE(answer.empty() || !calls_.empty());
    }
    EXPECT_EQ(calls_.size(), 1u);
}

TEST_F(ScriptBridgeTest, SeveralCallsAreAnsweredInTheirOrder)
{
    Client client(bridge_.path());
    client.send(framed("1 1 1\na") + framed("1 1 1\nb"));
    EXPECT_EQ(client.received(), framed("answer to a") + framed("answer to b"));
}

TEST_F(ScriptBridgeTest, EveryProcessHasItsOwnConnection)
{
    Client one(bridge_.path());
    Client other(bridge_.path());
    one.send(framed("1 1 1\na"));
    other.send(framed("2 1 1\nb"));
    EXPECT_EQ(one.received(), framed("answer to a"));
    EXPECT_EQ(other.received(), framed("answer to b"));
}

TEST_F(ScriptBridgeTest, ALargeCallAndItsAnswerComeWhole)
{
    Client client(bridge_.path());
    const std::string text(100000, 'x');
    client.send(framed("1 1 1\n" + text));
    std::string answer = client.received();
    while (answer.size() < framed("answer to " + text).size()) {
        const std::string more = client.received();
        ASSERT_FALSE(more.empty());
        answer += more;
    }
    EXPECT_EQ(answer, framed("answer to " + text));
}

TEST_F(ScriptBridgeTest, ACallThatIsTooLongEndsTheConnection)
{
    Client client(bridge_.path());
    const auto length = bridgeLength(size_t(mostCallBytes) + 1);
    client.send(std::string(length.begin(), length.end()));
    EXPECT_EQ(client.received(), "closed");
    EXPECT_TRUE(calls_.empty());
}

TEST_F(ScriptBridgeTest, ACallWithoutItsFirstLineEndsTheConnection)
{
    for (const char* const message : {"", "no line", "1 2\n{}", "a b c\n{}"}) {
        Client client(bridge_.path());
        client.send(framed(message));
        EXPECT_EQ(client.received(), "closed") << message;
    }
    EXPECT_TRUE(calls_.empty());
}

TEST_F(ScriptBridgeTest, AProcessThatDiesInTheMiddleOfACallIsForgotten)
{
    {
        Client client(bridge_.path());
        client.send(framed("1 1 1\nabc").substr(0, 6));
        client.received();
    }
    Client client(bridge_.path());
    client.send(framed("1 1 1\na"));
    EXPECT_EQ(client.received(), framed("answer to a"));
}

TEST(ScriptBridgeFolder, GoesWithTheBridge)
{
    std::string path;
    {
        const ScriptBridge bridge([](const Caller&, const std::string&) { return std::string(); });
        path = bridge.path();
        EXPECT_EQ(::access(path.c_str(), F_OK), 0);
    }
    EXPECT_NE(::access(path.c_str(), F_OK), 0);
    EXPECT_NE(::access(path.substr(0, path.rfind('/')).c_str(), F_OK), 0);
}

}  // namespace
}  // namespace receiver
