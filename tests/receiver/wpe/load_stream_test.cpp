#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "receiver/wpe/load_stream.h"

namespace receiver {
namespace {

/// Reads as WebKit does: asynchronously, with one cancellable for all reads.
class Reader {
public:
    explicit Reader(GInputStream* stream) : stream_(stream), cancellable_(g_cancellable_new()) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { g_object_unref(cancellable_); }

    void read(size_t most)
    {
        buffer_.assign(most, '\0');
        isAnswered_ = false;
        g_input_stream_read_async(
            stream_, buffer_.data(), most, G_PRIORITY_DEFAULT, cancellable_,
            [](GObject* stream, GAsyncResult* result, gpointer self) {
                static_cast<Reader*>(self)->take(G_INPUT_STREAM(stream), result);
            },
            this);
        settle();
    }

    void settle()
    {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
    }

    void cancel()
    {
        g_cancellable_cancel(cancellable_);
        settle();
    }

    bool isAnswered() const { return isAnswered_; }
    /// "error" for a failure
    const std::string& answer() const { return answer_; }

private:
    void take(GInputStream* stream, GAsyncResult* result)
    {
        isAnswered_ = true;
        GError* error = nullptr;
        const gssize count = g_input_stream_read_finish(stream, result, &error);
        answer_ = count < 0 ? "error" : buffer_.substr(0, static_cast<size_t>(count));
        g_clear_error(&error);
    }

    GInputStream* stream_;
    GCancellable* cancellable_;
    std::string buffer_;
    std::string answer_;
    bool isAnswered_ = false;
};

class LoadStream : public ::testing::Test {
protected:
    LoadStream() : stream_(newLoadStream([this] { ++stops_; })) {}
    ~LoadStream() override { drop(); }

    void drop()
    {
        if (stream_)
            g_object_unref(stream_);
        stream_ = nullptr;
    }

    int stops_ = 0;
    GInputStream* stream_;
};

TEST_F(LoadStream, WhatWasWrittenIsRead)
{
    Reader reader(stream_);
    writeTo(stream_, "abcdef", 6);
    reader.read(4);
    EXPECT_EQ(reader.answer(), "abcd");
    reader.read(4);
    EXPECT_EQ(reader.answer(), "ef");
}

TEST_F(LoadStream, AReadWaitsForBytes)
{
    Reader reader(stream_);
    reader.read(10);
    EXPECT_FALSE(reader.isAnswered());
    writeTo(stream_, "abc", 3);
    reader.settle();
    EXPECT_EQ(reader.answer(), "abc");
}

TEST_F(LoadStream, TheEndIsReadAfterTheLastByte)
{
    Reader reader(stream_);
    writeTo(stream_, "abc", 3);
    finish(stream_);
    reader.read(10);
    EXPECT_EQ(reader.answer(), "abc");
    reader.read(10);
    EXPECT_TRUE(reader.isAnswered());
    EXPECT_EQ(reader.answer(), "");
}

TEST_F(LoadStream, TheEndAnswersAReadThatWaits)
{
    Reader reader(stream_);
    reader.read(10);
    finish(stream_);
    reader.settle();
    EXPECT_TRUE(reader.isAnswered());
    EXPECT_EQ(reader.answer(), "");
}

TEST_F(LoadStream, AFailureIsReadAfterTheLastByte)
{
    Reader reader(stream_);
    writeTo(stream_, "abc", 3);
    fail(stream_);
    reader.read(10);
    EXPECT_EQ(reader.answer(), "abc");
    reader.read(10);
    EXPECT_EQ(reader.answer(), "error");
}

TEST_F(LoadStream, ACancelledReadStopsTheLoadOnce)
{
    Reader reader(stream_);
    reader.read(10);
    reader.cancel();
    EXPECT_EQ(reader.answer(), "error");
    EXPECT_EQ(stops_, 1);
    drop();
    EXPECT_EQ(stops_, 1);
}

TEST_F(LoadStream, CancellingBetweenReadsStopsTheLoad)
{
    Reader reader(stream_);
    writeTo(stream_, "abc", 3);
    reader.read(10);
    reader.cancel();
    EXPECT_EQ(stops_, 1);
}

TEST_F(LoadStream, DroppingItBeforeTheEndStopsTheLoad)
{
    drop();
    EXPECT_EQ(stops_, 1);
}

TEST_F(LoadStream, NothingIsStoppedOnceAllWasWritten)
{
    Reader reader(stream_);
    reader.read(10);
    finish(stream_);
    reader.cancel();
    drop();
    EXPECT_EQ(stops_, 0);
}

TEST_F(LoadStream, WhoForgotTheLoadHearsNothing)
{
    forgetStopped(stream_);
    drop();
    EXPECT_EQ(stops_, 0);
}

TEST_F(LoadStream, ASynchronousReadTakesWhatIsThere)
{
    char buffer[8] = {};
    writeTo(stream_, "abc", 3);
    EXPECT_EQ(g_input_stream_read(stream_, buffer, sizeof buffer, nullptr, nullptr), 3);
    EXPECT_EQ(g_input_stream_read(stream_, buffer, sizeof buffer, nullptr, nullptr), -1);
    finish(stream_);
    EXPECT_EQ(g_input_stream_read(stream_, buffer, sizeof buffer, nullptr, nullptr), 0);
}

}  // namespace
}  // namespace receiver
