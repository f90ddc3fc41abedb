#include <gtest/gtest.h>
#include <utility>

#include "replay/options.h"

namespace replay {
namespace {

std::string problemOf(const std::vector<std::string>& arguments)
{
    std::string problem;
    EXPECT_FALSE(parseOptions(arguments, problem));
    return problem;
}

TEST(Options, AreRead)
{
    std::string problem;
    const auto options = parseOptions({"--library", "l.so", "--kit", "k.so", "a.vesta", "--steps",
                                       "3", "--decisions", "--test", "zap-2", "--into", "here"},
                                      problem);
    ASSERT_TRUE(options) << problem;
    EXPECT_EQ(options->command, Command::Play);
    EXPECT_EQ(options->library, "l.so");
    EXPECT_EQ(options->kit, "k.so");
    EXPECT_EQ(options->steps, 3u);
    EXPECT_TRUE(options->decisions);
    EXPECT_EQ(options->test, "zap-2");
    EXPECT_EQ(options->into, "here");
    EXPECT_EQ(options->file, "a.vesta");
    EXPECT_EQ(parseOptions({"--until", "12", "a"}, problem)->until, 12u);
    EXPECT_EQ(parseOptions({"--shrink", "o", "a"}, problem)->shrunk, "o");
    EXPECT_FALSE(options->whole || options->crash);
    EXPECT_TRUE(parseOptions({"--whole", "a"}, problem)->whole);
    EXPECT_TRUE(parseOptions({"--crash", "--test", "t", "a"}, problem)->crash);
    EXPECT_EQ(parseOptions({"--until", "5", "--test", "t", "a"}, problem)->until, 5u);
    EXPECT_EQ(parseOptions({"--help"}, problem)->command, Command::Help);
    EXPECT_EQ(parseOptions({"-h"}, problem)->command, Command::Help);
    EXPECT_EQ(parseOptions({"--version"}, problem)->command, Command::Version);
}

TEST(Options, SayWhatIsWrong)
{
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "which record?"},
        {{"a", "b"}, "one record at a time: b"},
        {{"--until", "5", "--shrink", "o", "a"},
         "--until stops before the end, and --shrink needs to come there"},
        {{"--bogus", "a"}, "no such option: --bogus"},
        {{"a", "--until"}, "what does --until mean by \"\"?"},
        {{"a", "--until", "-1"}, "what does --until mean by \"-1\"?"},
        {{"a", "--steps", "1x"}, "what does --steps mean by \"1x\"?"},
        {{"a", "--library", ""}, "what does --library mean by \"\"?"},
        {{"a", "--test", "../b"}, "what does --test mean by \"../b\"?"},
        {{"a", "--test", ".b"}, "what does --test mean by \".b\"?"},
        {{"a", "--test", "b", "--shrink", "c"},
         "--test is for a record that agrees, --shrink for one that does not"},
        {{"a", "--into", "b"}, "--into says where --test writes"},
        {{"a", "--crash"}, "--crash says of which kind --test writes"},
        {{"a", "--crash", "--test", "t", "--until", "5"},
         "--crash keeps the record to its end, --until to a step before it"},
    };
    for (const auto& [arguments, problem] : cases)
        EXPECT_EQ(problemOf(arguments), problem);
}

}  // namespace
}  // namespace replay
