#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "tests/receiver/support/played_session.h"

namespace receiver {
namespace {

/// Somebody who asks beside a script, as soon as an application is loaded.
class Asking {
public:
    explicit Asking(std::vector<std::string> lines) : lines_(std::move(lines))
    {
        played_.session().addSettledListener([this] { ask(); });
    }

    int play(const std::vector<std::string>& script) { return played_.play(script); }
    PlayedSession& played() { return played_; }

    /// In the order in which they were given.
    std::vector<Session::Answer> answers;

private:
    void ask()
    {
        const auto* const current = played_.session().currentApplication();
        if (!current || !current->window->loaded)
            return;
        const std::vector<std::string> lines = std::move(lines_);
        lines_.clear();
        for (const std::string& line : lines)
            played_.session().ask(
                line, [this](const Session::Answer& answer) { answers.push_back(answer); });
    }

    PlayedSession played_;
    std::vector<std::string> lines_;
};

const char* const longScript[] = {"wait loaded within 60", "wait end within 60"};
const std::vector<std::string> script(std::begin(longScript), std::end(longScript));

TEST(SessionAsk, ALineIsAnsweredWithWhatItWrites)
{
    Asking asking({"say hello", "status", "say again"});
    EXPECT_EQ(asking.play(script), exitSuccess) << asking.played().problem();
    ASSERT_EQ(asking.answers.size(), 3u);
    EXPECT_EQ(asking.answers[0].outcome.kind, Outcome::Kind::Done);
    EXPECT_TRUE(asking.answers[0].lines.empty());
    EXPECT_EQ(asking.answers[1].lines.front(), "windows");
    EXPECT_TRUE(asking.played().says("hello"));
    EXPECT_FALSE(asking.played().says("table in force"));  // the answer is nobody else's
}

TEST(SessionAsk, WhatFailsDoesNotEndTheSession)
{
    Asking asking({"jump", "key NOSUCH", "zap nowhere"});
    EXPECT_EQ(asking.play(script), exitSuccess) << asking.played().problem();
    ASSERT_EQ(asking.answers.size(), 3u);
    EXPECT_EQ(asking.answers[0].outcome.kind, Outcome::Kind::WrongUsage);
    EXPECT_EQ(asking.answers[0].outcome.text, "there is no command jump; help lists them");
    EXPECT_EQ(asking.answers[1].outcome.kind, Outcome::Kind::WrongUsage);
    EXPECT_EQ(asking.answers[2].outcome.kind, Outcome::Kind::Failed);
}

TEST(SessionAsk, WaitsAreAnsweredWhenTheyAreOverAndNobodyWaitsForThem)
{
    Asking asking({"wait end within 60", "wait running ffff.1 within 0.01", "say at once"});
    EXPECT_EQ(asking.play(script), exitSuccess) << asking.played().problem();
    ASSERT_EQ(asking.answers.size(), 3u);
    EXPECT_EQ(asking.answers[0].outcome.kind, Outcome::Kind::Done);  // "at once"
    EXPECT_TRUE(asking.played().says("at once"));
    const auto& one = asking.answers[1].outcome;
    const auto& other = asking.answers[2].outcome;
    EXPECT_NE(bool(one), bool(other));
    EXPECT_NE((one ? other : one).text.find(" ffff.1"), std::string::npos);
}

TEST(SessionAsk, AWaitThatTheSessionDoesNotOutliveIsAnswered)
{
    Asking asking({"wait running ffff.1 within 60"});
    EXPECT_EQ(asking.play({"wait loaded within 60", "say last"}), exitSuccess);
    ASSERT_EQ(asking.answers.size(), 1u);
    EXPECT_EQ(asking.answers[0].outcome.kind, Outcome::Kind::Failed);
    EXPECT_EQ(asking.answers[0].outcome.text.substr(0, 26), "the receiver ended before ");
}

TEST(SessionAsk, AWaitIsRefusedThatIsTooLongForAnAnswer)
{
    Asking asking({"wait running ffff.1 within 301"});
    EXPECT_EQ(asking.play(script), exitSuccess) << asking.played().problem();
    ASSERT_EQ(asking.answers.size(), 1u);
    EXPECT_EQ(asking.answers[0].outcome.kind, Outcome::Kind::WrongUsage);
}

TEST(SessionAsk, WhoIsForgottenIsNotAnswered)
{
    PlayedSession played;
    unsigned answers = 0;
    bool hasAsked = false;
    played.session().addSettledListener([&] {
        if (hasAsked)
            return;
        hasAsked = true;
        const auto count = [&answers](const Session::Answer&) { ++answers; };
        EXPECT_EQ(played.session().ask("say hello", count), 0u);
        const uint64_t number = played.session().ask("wait end within 60", count);
        EXPECT_NE(number, 0u);
        played.session().ask("wait running ffff.1 within 60", count);
        played.session().forgetAsker(number);
    });
    EXPECT_EQ(played.play(script), exitSuccess) << played.problem();
    EXPECT_EQ(answers, 2u);
}

TEST(SessionAsk, QuitEndsTheSession)
{
    Asking asking({"quit"});
    EXPECT_EQ(asking.play({"wait loaded within 60", "wait running ffff.1 within 60"}), exitSuccess)
        << asking.played().problem();
    ASSERT_EQ(asking.answers.size(), 1u);
}

TEST(SessionOpen, TheEndOfTheStreamDoesNotEndOneThatStaysOpen)
{
    const double seconds = 0.5;  // more than the stream takes
    PlayedSession played;
    bool hasEnded = false;
    played.session().stayOpen();
    played.session().setDuration(seconds);
    played.session().setEnding([&] { hasEnded = played.session().middleware().hasEnded(); });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(played.session().run(), exitSuccess);
    EXPECT_TRUE(hasEnded);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::duration<double>(seconds));
}

TEST(SessionOpen, AnEndIsAnnouncedEvenIfThereWasNoBeginning)
{
    PlayedSession played("/nowhere/stream.ts");
    unsigned ends = 0;
    played.session().setEnding([&ends] { ++ends; });
    EXPECT_EQ(played.session().run(), exitUnreadable);
    EXPECT_EQ(ends, 1u);
}

}  // namespace
}  // namespace receiver
