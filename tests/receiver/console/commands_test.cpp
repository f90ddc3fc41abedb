#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "receiver/console/commands.h"
#include "tests/receiver/support/played_session.h"

namespace receiver {
namespace {

TEST(Commands, LinesThatAreNoCommandsAreSaidBeforeAScriptBegins)
{
    const std::pair<const char*, const char*> cases[] = {
        {"jump", "there is no command jump; help lists them"},
        {"say \"x", "a quotation mark has no partner"},
        {"services now", "expected: services"},
        {"zap", "expected: zap SERVICE"},
        {"key RED down now", "expected: key NAME [down|up]"},
        {"start", "expected: start URL|ORG.APP"},
        {"terminate it", "expected: terminate"},
        {"create", "expected: create URL"},
        {"destroy a.1 a.2", "expected: destroy [ORG.APP]"},
        {"show a b", "expected: show [ORG.APP]"},
        {"hide a b", "expected: hide [ORG.APP]"},
        {"keyset", "expected: keyset MASK|RED+GREEN..."},
        {"xhr", "expected: xhr URL"},
        {"load", "expected: load URL"},
        {"subscribe", "expected: subscribe TARGET [EVENT]"},
        {"http", "expected: http on|off"},
        {"timeshift on off", "expected: timeshift on|off"},
        {"lowmemory 1", "expected: lowmemory"},
        {"profiles", "expected: profiles MASK"},
        {"useragent", "expected: useragent 1|2 [TEXT...]"},
        {"useragent 1 a b c d e f g", "expected: useragent"},
        {"answer start", "expected: answer start|request WORD"},
        {"status all", "expected: status"},
        {"wait", "expected: wait CONDITION [within SECONDS]"},
        {"say", "expected: say TEXT"},
        {"help me please", "expected: help [COMMAND]"},
        {"quit now", "expected: quit"},
    };
    for (const auto& [line, problem] : cases) {
        const Outcome outcome = checkCommand(line);
        EXPECT_EQ(outcome.kind, Outcome::Kind::WrongUsage) << line;
        EXPECT_EQ(outcome.text.substr(0, std::string(problem).size()), problem) << line;
    }
    EXPECT_TRUE(checkCommand(""));
    EXPECT_TRUE(checkCommand("# a comment"));
    EXPECT_TRUE(checkCommand("wait loaded \"a b\" within 5"));
}

TEST(Commands, EachHasAHelpText)
{
    PlayedSession played;
    EXPECT_EQ(played.play({"help", "help zap"}), exitSuccess);
    for (const Command& command : commands()) {
        EXPECT_TRUE(played.says(std::string("  ") + command.name + " ")) << command.name;
        EXPECT_TRUE(played.says(command.help)) << command.name;
    }
}

TEST(Commands, ArgumentsThatAreNotUnderstoodSayWhatWasExpected)
{
    const std::pair<const char*, const char*> cases[] = {
        {"help nothing", "there is no command nothing"},
        {"key NOSUCH", "no such key: NOSUCH; expected RED, GREEN"},
        {"key RED left", "expected down or up, not left"},
        {"start nowhere", "expected a URL or ids such as a.2a01 (hexadecimal), not nowhere"},
        {"keyset PINK", "expected a number or names joined with +"},
        {"http maybe", "expected on or off, not maybe"},
        {"timeshift maybe", "expected on or off, not maybe"},
        {"profiles 0x10000", "expected a mask from 0 to 0xffff, not 0x10000"},
        {"useragent 3", "expected 1 for HbbTV 1.1.1 or 2 for HbbTV 1.2.1, not 3"},
        {"answer stop allow", "expected start or request, not stop"},
        {"answer start deny", "expected allow, kill or keep, not deny"},
        {"answer request keep", "expected allow, deny or core, not keep"},
        {"why not", "expected ids such as a.1, or one of section, table,"},
        {"wait for it", "expected service, table, running [IDS]"},
        {"wait service 5", "expected service, table, running [IDS]"},
        {"wait file", "expected service, table, running [IDS]"},
        {"wait window", "expected service, table, running [IDS]"},
        {"wait window first", "expected the number of a window, not first"},
        {"wait end within x", "expected seconds after within, not x"},
        {"wait end within", "expected service, table, running [IDS]"},
    };
    for (const auto& [line, problem] : cases) {
        PlayedSession played;
        EXPECT_EQ(played.play({line}), exitUsage) << line;
        EXPECT_NE(played.problem().find(problem), std::string::npos) << played.problem();
        EXPECT_EQ(played.problem().substr(0, 10), "script:1: ") << played.problem();
    }
}

TEST(Commands, WhatCannotBeDoneIsAnExpectationThatIsNotMet)
{
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"create http://a.example/"}, "no application is running"},
        {{"destroy"}, "no application is running"},
        {{"show"}, "no application is running"},
        {{"hide"}, "no application is running"},
        {{"keyset RED"}, "no application is running"},
        {{"xhr http://a.example/"}, "no application is running"},
        {{"subscribe events"}, "no application is running"},
        {{"load a"}, "no application is running"},
        {{"show a.1"}, "no such application runs: a.1"},
        {{"zap 1"}, "no such service: 1; services lists them"},
        {{"wait loaded", "load http://a.example/"}, "loads dvb: resources alone"},
        {{"wait running a.1"}, "the stream ended before running a.1"},
        {{"wait end", "wait window 9"}, "the stream ended before window 9"},
        {{"wait end", "wait shown"}, "the stream ended before shown"},
    };
    for (const auto& [lines, problem] : cases) {
        PlayedSession played;
        EXPECT_EQ(played.play(lines), exitExpectation) << lines.back();
        EXPECT_NE(played.problem().find(problem), std::string::npos) << played.problem();
        EXPECT_TRUE(played.says(problem)) << lines.back();
    }
}

TEST(Commands, EveryConditionCanBeWaitedFor)
{
    PlayedSession played;
    EXPECT_EQ(played.play({"wait service", "wait running", "wait running a.2a01", "wait window 1",
                           "wait loaded", "wait loaded index.html",
                           "wait loaded dvb://20fa.441.6dd0.2a/index.html",
                           "wait file css/style.css within 5", "show", "wait shown",
                           "answer start keep", "destroy", "wait stopped within 5", "wait end"}),
              exitSuccess)
        << played.problem();
}

TEST(Commands, WhySaysWhatWasDecided)
{
    PlayedSession played;
    EXPECT_EQ(played.play({"wait running", "key RED", "why a.2a01", "why key", "why request"}),
              exitSuccess)
        << played.problem();
    EXPECT_TRUE(played.says("\nyes, start of a.2a01: It runs: its page is being opened. "
                            "dvb://20fa.441.6dd0.2a/index.html\n"));
    EXPECT_TRUE(
        played.says("\nno, key of a.2a01: The key's group is not in the application's key set"));
    EXPECT_TRUE(played.says("\nnothing was decided about request\n"));
    EXPECT_FALSE(played.says("no application ran"));
}

TEST(Commands, ARunWithoutAnyApplicationEndsWithTheReason)
{
    PlayedSession played;
    EXPECT_EQ(played.play({"answer start keep", "wait end"}), exitSuccess) << played.problem();
    EXPECT_TRUE(played.says(
        "no application ran: no, start of a.2a01: A listener answered the start request with "
        "\"block and keep\": it does not start, and the one that runs goes on. dvb://"))
        << played.output();
}

TEST(Commands, TextsOfTheUserAgentMayHaveBlanks)
{
    PlayedSession played;
    EXPECT_EQ(played.play({"useragent 1 +PVR \"A Maker\" model", "say \"two words\" three"}),
              exitSuccess);
    EXPECT_TRUE(played.says("user agent: HbbTV/1.1.1 (+PVR; A Maker; model; ; ; )"));
    EXPECT_TRUE(played.says("two words three"));
}

TEST(Commands, SubscriptionsReachThePlatform)
{
    PlayedSession played;
    EXPECT_EQ(
        played.play({"wait loaded", "subscribe events/one", "subscribe dvb://1.2.3.4/two go"}),
        exitSuccess)
        << played.problem();
    EXPECT_TRUE(played.says("stream event \"\" of 20fa.441.6dd0.2a/events/one for listener 0"));
    EXPECT_TRUE(played.says("stream event \"go\" of 1.2.3.4/two for listener 0"));
}

TEST(Commands, SubscriptionsAreAnsweredAfterTheEndOfTheStreamToo)
{
    PlayedSession played;
    EXPECT_EQ(played.play({"wait loaded", "wait end", "subscribe dvb://20fa.441.6dd0.2a/none go"}),
              exitSuccess)
        << played.problem();
    EXPECT_TRUE(
        played.says("stream event \"go\" of 20fa.441.6dd0.2a/none: the directory does not"));
}

TEST(Commands, ServicesAreZappedToByNumberInAnyFormOrByName)
{
    PlayedSession played;
    EXPECT_EQ(played.play({"wait loaded", "zap 0x6dd0", "wait window 2", "wait loaded",
                           "zap \"Made one\"", "wait window 3", "services", "status"}),
              exitSuccess)
        << played.problem();
    EXPECT_TRUE(played.says("* 28112  Made one"));
    EXPECT_TRUE(played.says("a.2a01  in window 3, broadcast-related, hidden"));
}

TEST(Session, QuitEndsIt)
{
    PlayedSession played;
    EXPECT_EQ(played.play({"quit", "say never"}), exitSuccess);
    EXPECT_FALSE(played.says("never"));
}

TEST(Session, AScriptWithABrokenLineDoesNothing)
{
    PlayedSession played;
    EXPECT_EQ(played.play({"say hello", "", "jump"}), exitUsage);
    EXPECT_EQ(played.problem(), "script:3: there is no command jump; help lists them");
    EXPECT_EQ(played.output(), "");
}

TEST(Session, AnEmptyScriptEndsAtOnce)
{
    PlayedSession played;
    EXPECT_EQ(played.play({}), exitSuccess);
    EXPECT_TRUE(played.says("the receiver has ended"));
}

TEST(Session, AnInputThatCannotBeReadIsSaidAndNothingElse)
{
    PlayedSession played("/nowhere/at/all.ts");
    EXPECT_EQ(played.play({"say hello"}), exitUnreadable);
    EXPECT_EQ(played.problem(), "/nowhere/at/all.ts: No such file or directory");
    EXPECT_EQ(played.output(), "");
}

TEST(Session, LinesThatArePostedRunAndMistakesEndNothing)
{
    PlayedSession played;
    played.session().setCommander(Session::Commander::Person);
    std::thread person([&played] {
        for (const char* const line :
             {"jump", "wait running", "wait stopped", "destroy a.9", "say bye"})
            played.session().postLine(line);
        played.session().endOfInput();
    });
    EXPECT_EQ(played.session().run(), exitSuccess);
    person.join();
    EXPECT_TRUE(played.says("there is no command jump"));
    EXPECT_TRUE(played.says("the stream ended before stopped"));
    EXPECT_TRUE(played.says("no such application runs: a.9"));
    EXPECT_TRUE(played.says("bye"));
}

/// Plays with the lines of another program, which are all there from the beginning.
int playProgram(PlayedSession& played, const std::vector<std::string>& lines)
{
    played.session().setCommander(Session::Commander::Program);
    for (const std::string& line : lines)
        played.session().postLine(line);
    played.session().endOfInput();
    return played.session().run();
}

TEST(Session, LinesOfAnotherProgramAreObeyedAsAScript)
{
    PlayedSession obeyed;
    EXPECT_EQ(playProgram(obeyed, {"wait running", "# a comment", "say bye"}), exitSuccess);
    EXPECT_TRUE(obeyed.says("bye"));
    EXPECT_FALSE(obeyed.says("end of the stream"));

    const std::tuple<std::vector<std::string>, ExitCode, const char*> cases[] = {
        {{"say a", "jump"}, exitUsage, "standard input:2: there is no command jump"},
        {{"destroy a.9", "say no"}, exitExpectation, "standard input:1: no such application"},
        {{"wait running", "wait stopped"},
         exitExpectation,
         "standard input:2: the stream ended before stopped"},
    };
    for (const auto& [lines, code, problem] : cases) {
        PlayedSession failed;
        EXPECT_EQ(playProgram(failed, lines), code);
        EXPECT_EQ(failed.session().problem().rfind(problem, 0), 0u) << failed.session().problem();
        EXPECT_FALSE(failed.says("user      no"));
    }
}

TEST(Session, AProgramWithoutLinesLetsTheStreamPlay)
{
    PlayedSession played;
    EXPECT_EQ(playProgram(played, {}), exitSuccess);
    EXPECT_TRUE(played.says("end of the stream"));
}

TEST(Session, QuitFromAnotherThreadEndsIt)
{
    PlayedSession before;
    before.session().quit();
    EXPECT_EQ(before.play({"wait stopped"}), exitSuccess);
    EXPECT_TRUE(before.says("the receiver has ended"));

    PlayedSession during;
    during.session().setCommander(Session::Commander::Person);  // it would wait for ever
    std::thread other([&during] { during.session().quit(); });
    EXPECT_EQ(during.session().run(), exitSuccess);
    other.join();
    EXPECT_TRUE(during.says("the receiver has ended"));
}

TEST(Session, ItsDurationEndsItAsQuitDoes)
{
    PlayedSession played;
    played.session().setDuration(0.01);
    played.session().setCommander(Session::Commander::Person);
    EXPECT_EQ(played.session().run(), exitSuccess);
    EXPECT_TRUE(played.says("the receiver has ended"));
}

}  // namespace
}  // namespace receiver
