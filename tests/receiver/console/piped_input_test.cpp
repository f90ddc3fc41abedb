#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>

#include "receiver/console/commands.h"
#include "receiver/console/piped_input.h"
#include "tests/receiver/support/played_session.h"

namespace receiver {
namespace {

/// A session whose commands come through a pipe.
class PipedInputTest : public ::testing::Test {
protected:
    PipedInputTest()
    {
        EXPECT_EQ(::pipe(ends_), 0);
        played_.session().setCommander(Session::Commander::Program);
    }
    ~PipedInputTest() override
    {
        closeWriter();
        ::close(ends_[0]);
    }

    void write(const std::string& text)
    {
        EXPECT_EQ(::write(ends_[1], text.data(), text.size()), ssize_t(text.size()));
    }

    void closeWriter()
    {
        if (ends_[1] >= 0)
            ::close(ends_[1]);
        ends_[1] = -1;
    }

    PlayedSession played_;
    int ends_[2] = {-1, -1};
};

TEST_F(PipedInputTest, LinesAreObeyedTheLastWithoutAnEndToo)
{
    write("wait running\nsay one\n\nsay t");
    write("wo");
    closeWriter();
    const PipedInput input(played_.session(), ends_[0]);
    EXPECT_EQ(played_.session().run(), exitSuccess);
    EXPECT_TRUE(played_.says("user      one\n"));
    EXPECT_TRUE(played_.says("user      two\n"));
}

TEST_F(PipedInputTest, ALineThatHasNoEndIsRefused)
{
    std::thread writer([this] {
        write("say " + std::string(mostLineBytes, 'a') + "\n");
        closeWriter();
    });
    {
        const PipedInput input(played_.session(), ends_[0]);
        EXPECT_EQ(played_.session().run(), exitUsage);
    }
    writer.join();
    EXPECT_EQ(played_.session().problem(), "standard input:1: a line is longer than 65,536 bytes");
}

TEST_F(PipedInputTest, TheLongestLineIsObeyed)
{
    const std::string text(mostLineBytes - 4, 'a');
    std::thread writer([&] {
        write("say " + text + "\n");
        closeWriter();
    });
    {
        const PipedInput input(played_.session(), ends_[0]);
        EXPECT_EQ(played_.session().run(), exitSuccess);
    }
    writer.join();
    EXPECT_TRUE(played_.says(text));
}

TEST_F(PipedInputTest, AnEndAtOnceLetsTheStreamPlay)
{
    closeWriter();
    const PipedInput input(played_.session(), ends_[0]);
    EXPECT_EQ(played_.session().run(), exitSuccess);
    EXPECT_TRUE(played_.says("end of the stream"));
}

TEST_F(PipedInputTest, QuitDoesNotWaitForTheEndOfTheInput)
{
    write("quit\n");
    const PipedInput input(played_.session(), ends_[0]);
    EXPECT_EQ(played_.session().run(), exitSuccess);
}

TEST_F(PipedInputTest, MoreLinesAreWaitedForAfterTheStreamsEnd)
{
    write("wait end\n");
    const PipedInput input(played_.session(), ends_[0]);
    std::thread writer([this] {
        write("say late\n");
        closeWriter();
    });
    EXPECT_EQ(played_.session().run(), exitSuccess);
    writer.join();
    EXPECT_TRUE(played_.says("late"));
}

TEST_F(PipedInputTest, AFileThatCannotBeReadIsAtItsEnd)
{
    const int folder = ::open("/", O_RDONLY);
    {
        const PipedInput input(played_.session(), folder);
        EXPECT_EQ(played_.session().run(), exitSuccess);
    }
    ::close(folder);
    EXPECT_TRUE(played_.says("end of the stream"));
}

}  // namespace
}  // namespace receiver
