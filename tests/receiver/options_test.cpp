#include <gtest/gtest.h>
#include <sstream>
#include <utility>

#include "receiver/options.h"

namespace receiver {
namespace {

struct Parsed {
    std::optional<Options> options;
    std::string problem;
};

/// @param line arguments after the program's name, divided by blanks
Parsed parse(const std::string& line)
{
    std::vector<std::string> words = {"vesta_receiver"};
    std::istringstream text(line);
    for (std::string word; text >> word;)
        words.push_back(word);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    Parsed parsed;
    parsed.options = parseOptions(static_cast<int>(words.size()), arguments.data(), parsed.problem);
    return parsed;
}

TEST(Options, AStreamIsEnough)
{
    const Parsed parsed = parse("a.ts");
    ASSERT_TRUE(parsed.options) << parsed.problem;
    EXPECT_EQ(parsed.options->middleware.input, "a.ts");
    EXPECT_FALSE(parsed.options->middleware.service);
    EXPECT_EQ(parsed.options->middleware.speed, 0);
    EXPECT_FALSE(parsed.options->middleware.loop);
    EXPECT_FALSE(parsed.options->middleware.verbose);
    EXPECT_FALSE(parsed.options->logLevel);
    EXPECT_TRUE(parsed.options->script.empty());
    EXPECT_TRUE(parsed.options->trace.empty());
    EXPECT_TRUE(parsed.options->extract.empty());
    EXPECT_EQ(parsed.options->duration, 0);
    EXPECT_FALSE(parsed.options->help);
    EXPECT_FALSE(parsed.options->version);
}

TEST(Options, EveryOneIsTakenBeforeOrAfterTheStream)
{
    const Parsed parsed = parse(
        "--service 0x6dd0 --speed 0.5 --loop a.ts --script s --trace t --extract e "
        "--duration 1.5 --carousel-limit 2 --carousel-pid 0x76a --carousel-pid 256:0x2a --site "
        "http://a.example/?x=y=folder --site http://b=c");
    ASSERT_TRUE(parsed.options) << parsed.problem;
    const Options& options = *parsed.options;
    EXPECT_EQ(options.middleware.service, 0x6DD0);
    EXPECT_EQ(options.middleware.speed, 0.5);
    EXPECT_TRUE(options.middleware.loop);
    EXPECT_EQ(options.script, "s");
    EXPECT_EQ(options.trace, "t");
    EXPECT_EQ(options.extract, "e");
    EXPECT_EQ(options.duration, 1.5);
    EXPECT_EQ(options.middleware.limits.memory, size_t(2) << 20);
    ASSERT_EQ(options.middleware.carousels.size(), 2u);
    EXPECT_EQ(options.middleware.carousels[0].pid, 0x76A);
    EXPECT_EQ(options.middleware.carousels[0].componentTag, std::nullopt);
    EXPECT_EQ(options.middleware.carousels[1].pid, 256);
    EXPECT_EQ(options.middleware.carousels[1].componentTag, 0x2A);
    ASSERT_EQ(options.sites.size(), 2u);
    EXPECT_EQ(options.sites[0].prefix, "http://a.example/?x=y");
    EXPECT_EQ(options.sites[0].folder, "folder");
    EXPECT_FALSE(options.middleware.follow);
    EXPECT_TRUE(parse("--follow --speed 1 a.ts").options->middleware.follow);
    EXPECT_EQ(parse("-s x a.ts").options->script, "x");
    EXPECT_EQ(parse("-s - a.ts").options->script, "-");
    EXPECT_EQ(parse("-- -").options->middleware.input, "-");
}

TEST(Options, LogLevelsAreNamedAndDebugTellsWhatIsLeftOut)
{
    EXPECT_EQ(parse("--log log a").options->logLevel, VestaHbbTV::LOG);
    EXPECT_EQ(parse("--log warn a").options->logLevel, VestaHbbTV::WARN);
    EXPECT_EQ(parse("--log err a").options->logLevel, VestaHbbTV::ERR);
    EXPECT_FALSE(parse("--log err a").options->middleware.verbose);
    const Parsed debug = parse("--log debug a");
    EXPECT_EQ(debug.options->logLevel, VestaHbbTV::DEBUG);
    EXPECT_TRUE(debug.options->middleware.verbose);
}

TEST(Options, HelpAndVersionWantNoStream)
{
    EXPECT_TRUE(parse("--version").options->version);
    EXPECT_EQ(versionText().rfind("vesta_receiver ", 0), 0u);
    EXPECT_TRUE(parse("--help").options->help);
    EXPECT_TRUE(parse("-h a b c").options->help);
    for (const char* const option :
         {"--script", "--service", "--site", "--speed", "--loop", "--log", "--trace", "--extract",
          "--carousel-limit", "--carousel-pid", "--duration", "--follow", "--version", "--help",
          "udp://"})
        EXPECT_NE(usage().find(option), std::string::npos) << option;
}

// getopt() remembers the letters that follow the one which was wrong.
TEST(Options, WhatWasLeftOfWrongOnesIsForgotten)
{
    const auto taken = [](char* argument) {
        char program[] = "vesta_receiver";
        char* arguments[] = {program, argument, nullptr};
        std::string problem;
        return parseOptions(2, arguments, problem);
    };
    char wrong[] = "-xh";
    char stream[] = "a.ts";
    EXPECT_FALSE(taken(wrong));
    const std::optional<Options> options = taken(stream);
    ASSERT_TRUE(options);
    EXPECT_FALSE(options->help);
    EXPECT_EQ(options->middleware.input, "a.ts");
}

TEST(Options, WhatIsWrongIsSaid)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", "which transport stream?"},
        {"a b", "one transport stream at a time"},
        {"--nothing a", "--nothing: no such option"},
        {"-x a", "-x: no such option"},
        {"a --trace", "--trace wants a value"},
        {"a -s", "-s wants a value"},
        {"--service 0 a", "--service wants a service id from 1 to 65535, not 0"},
        {"--service 65536 a", "not 65536"},
        {"--service 1.5 a", "not 1.5"},
        {"--speed 0 a", "--speed wants a factor such as 1 or 0.5, not 0"},
        {"--speed -1 a", "not -1"},
        {"--speed nan a", "not nan"},
        {"--log loud a", "--log wants debug, log, warn or err, not loud"},
        {"--site nothing a", "--site wants URL-PREFIX=FOLDER, not nothing"},
        {"--site =x a", "not =x"},
        {"--site x= a", "not x="},
        {"--carousel-limit 0 a", "--carousel-limit wants MiB from 1 to 2048, not 0"},
        {"--carousel-limit 2049 a", "not 2049"},
        {"--carousel-pid 0 a", "--carousel-pid wants a PID from 1 to 0x1ffe"},
        {"--carousel-pid 0x1fff a", "not 0x1fff"},
        {"--carousel-pid 1:256 a", "not 1:256"},
        {"--carousel-pid 1: a", "not 1:"},
        {"--loop -", "--loop wants a file"},
        {"--loop udp://127.0.0.1:1", "--loop wants a file: what the network brings"},
        {"--speed 1 rtp://127.0.0.1:1", "--speed wants a file: the network brings"},
        {"--follow -", "--follow wants a file"},
        {"--follow udp://127.0.0.1:1", "--follow wants a file"},
        {"--follow --loop a", "--follow and --loop"},
        {"--script - -", "standard input cannot be both the script and the stream"},
        {"--duration 0 a", "--duration wants seconds such as 60 or 0.5, not 0"},
        {"--duration -1 a", "not -1"},
    };
    for (const auto& [line, problem] : cases) {
        const Parsed parsed = parse(line);
        EXPECT_FALSE(parsed.options) << line;
        EXPECT_NE(parsed.problem.find(problem), std::string::npos)
            << line << ": " << parsed.problem;
    }
}

TEST(Options, DecisionsAreShownWhereThatIsWanted)
{
    EXPECT_FALSE(parse("a.ts").options->why);
    EXPECT_TRUE(parse("--why a.ts").options->why);
    EXPECT_EQ(parse("--report r.html a.ts").options->report, "r.html");
}

TEST(Options, TheVersionOfHbbTVIsThreeNumbers)
{
    const Parsed parsed = parse("--hbbtv-version 1.4.12 a.ts");
    ASSERT_TRUE(parsed.options) << parsed.problem;
    const HbbTVVersion& version = parsed.options->middleware.hbbtv;
    EXPECT_EQ(version.major, 1);
    EXPECT_EQ(version.minor, 4);
    EXPECT_EQ(version.micro, 12);
    EXPECT_EQ(parse("a.ts").options->middleware.hbbtv.major, 0) << "what is claimed anyway";
    for (const std::string wrong : {"1", "1.4", "1.4.", "1.4.256", "0.4.1", "1.4.1.1", "a.b.c"})
        EXPECT_EQ(parse("--hbbtv-version " + wrong + " a.ts").problem,
                  "--hbbtv-version wants a version such as 1.4.1, not " + wrong);
}

TEST(Options, TheWebIsServedWhereTheReceiverHasAServer)
{
    EXPECT_FALSE(parse("a.ts").options->web);
#ifdef VESTA_HAS_WEB
    const auto options = parse("--web 8080 a.ts").options;
    ASSERT_TRUE(options && options->web);
    EXPECT_EQ(options->web->host, "127.0.0.1");
    EXPECT_EQ(options->web->port, 8080);
    EXPECT_EQ(parse("--web [::]:0 a.ts").options->web->host, "::");
    EXPECT_EQ(parse("--web television:80 a.ts").problem,
              "--web wants a port, or an IP address and a port such as 127.0.0.1:8080, not "
              "television:80");
#else
    EXPECT_EQ(parse("--web 8080 a.ts").problem,
              "--web 8080: this receiver was built without libsoup 3");
#endif
}

}  // namespace
}  // namespace receiver
