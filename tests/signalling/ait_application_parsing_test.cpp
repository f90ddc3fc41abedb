#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <tuple>

#include "signalling/ait.h"
#include "signalling/ait_application.h"
#include "tests/signalling/parsed_sections.h"
#include "tests/support/printed_tables.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;
using testing::ElementsAre;

namespace {

/// A line for each.
std::string transports(const AITApplication& application)
{
    std::string lines;
    for (const auto& transport : application.getTransports())
        lines += print(*transport) + "\n";
    return lines;
}

}  // namespace

TEST(AITApplicationParsing, RefusesNull)
{
    AITApplication application(nullptr);
    const unsigned char* const none = nullptr;
    EXPECT_FALSE(application.parse(none));
}

TEST(AITApplicationParsing, ReadsTheHeaderOfItsEntry)
{
    Parsed application(AITEntry(0x89ABCDEF, 0xFEDC, 0xFF).withoutApplicationDescriptor());
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(print(*application), "2309737967.65244 code 255 usage 0 '' at ''");
    EXPECT_TRUE(application->isSignalledWith(static_cast<AITApplication::ControlCode>(0xFF)));
    EXPECT_FALSE(application->isSignalledWith(AITApplication::AUTOSTART));
}

TEST(AITApplicationParsing, FailsOnADescriptorThatHasNoPayloadOrLeavesTheLoop)
{
    const std::tuple<const char*, Bytes, bool> cases[] = {
        {"nothing", {}, true},
        {"a skipped tag of one byte", {0x80, 1, 0}, true},
        {"a skipped tag without payload", {0x80, 0}, false},
        {"a location without payload", {0x15, 0}, false},
        {"an empty descriptor behind a good one", {0x80, 1, 0, 0x16, 0}, false},
        {"an empty descriptor before a good one", {0x16, 0, 0x80, 1, 0}, false},
        {"a tag without length", {0x80}, false},
        {"a tag without length behind a good one", {0x80, 1, 0, 0x80}, false},
        {"one byte over", {0x80, 2, 0}, false},
        {"a location one byte over", {0x15, 3, 'a', 'b'}, false},
        {"maximum length", {0x80, 0xFF, 0, 0}, false},
        {"maximum length with all its bytes", Bytes{0x80, 0xFF} + Bytes(0xFF, 1), true},
    };
    for (const auto& [why, loop, accepted] : cases)
        EXPECT_EQ(Parsed(plainEntry().raw(loop)).accepted(), accepted) << why;
}

TEST(AITApplicationParsing, ReadsNothingBehindItsOwnLoop)
{
    // Whatever the tag, a descriptor that the loop cuts is refused before a byte of it is read.
    for (unsigned tag = 0; tag <= 0xFF; ++tag) {
        const Bytes cut = {static_cast<unsigned char>(tag), 4, 1, 2, 3};
        EXPECT_FALSE(Parsed(plainEntry().raw(cut)).accepted()) << tag;
    }
}

TEST(AITApplicationParsing, SkipsDescriptorsThatItDoesNotKnow)
{
    AITEntry entry = plainEntry();
    for (unsigned tag = 0x03; tag <= 0xFF; ++tag)
        if (tag != 0x06 && tag != 0x15 && tag != 0x16 && tag != 0x17)
            entry.raw({static_cast<unsigned char>(tag), 2, 'a', 'b'});
    Parsed application(entry.name("n"));
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(application->getApplicationName(), "n");
    EXPECT_EQ(application->getApplicationLocation(), "");
}

TEST(AITApplicationParsing, ConcatenatesTheNamesOfSeveralDescriptors)
{
    Parsed application(plainEntry().name("ab").name("cd"));
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(application->getApplicationName(), "abcd");
}

TEST(AITApplicationParsing, AddsTheNameOfEachEntryThatItReadsToThatOfThoseBefore)
{
    const auto name = [](uint8_t length) { return Bytes{0x01, 4, 'e', 'n', 'g', length}; };
    // Each reaches to the end of the loop, so that they are together longer than that.
    const Bytes overlapping = name(18) + name(12) + name(6) + name(0);
    const std::string text(overlapping.begin(), overlapping.end());
    const std::string longName = text.substr(6) + text.substr(12) + text.substr(18);
    AITApplication application(nullptr);
    const auto read = [&application](const Bytes& descriptors) {
        return application.parse(plainEntry().raw(descriptors).exactBlock().get());
    };
    ASSERT_TRUE(read(overlapping));
    EXPECT_EQ(application.getApplicationName(), longName);
    ASSERT_TRUE(read({0x01, 6, 'e', 'n', 'g', 2, 'a', 'b'}));
    EXPECT_EQ(application.getApplicationName(), longName + "ab");
    ASSERT_TRUE(read(overlapping));
    EXPECT_EQ(application.getApplicationName(), longName + "ab" + longName);
}

TEST(AITApplicationParsing, ReadsTheFirstLanguageOfANameAsItStands)
{
    const Bytes twoLanguages = {0x01, 12,   'e', 'n', 'g', 3, 0x15,
                                0xC3, 0xA9, 'f', 'r', 'a', 1, 'x'};
    Parsed application(plainEntry().raw(twoLanguages));
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(application->getApplicationName(), "\x15\xC3\xA9");
}

TEST(AITApplicationParsing, BoundsANameByItsLoop)
{
    const std::tuple<const char*, Bytes, std::optional<std::string>> cases[] = {
        {"empty", {0x01, 4, 'e', 'n', 'g', 0}, ""},
        {"shorter than its descriptor", {0x01, 6, 'e', 'n', 'g', 1, 'a', 'b'}, "a"},
        {"exactly", {0x01, 6, 'e', 'n', 'g', 2, 'a', 'b'}, "ab"},
        {"one over the loop", {0x01, 6, 'e', 'n', 'g', 3, 'a', 'b'}, std::nullopt},
        {"maximum", {0x01, 6, 'e', 'n', 'g', 0xFF, 'a', 'b'}, std::nullopt},
        {"no length", {0x01, 3, 'e', 'n', 'g'}, std::nullopt},
        {"half a language", {0x01, 1, 'e'}, std::nullopt},
        {"beyond its descriptor, to the end of the loop",
         {0x01, 5, 'e', 'n', 'g', 4, 'a', 0x80, 1, 'z'},
         "a\x80\x01z"},
        {"beyond descriptor and loop",
         {0x01, 5, 'e', 'n', 'g', 5, 'a', 0x80, 1, 'z'},
         std::nullopt},
        {"a length that stands in the next descriptor", {0x01, 1, 'e', 0x80, 2, 1, 'z'}, "z"},
    };
    for (const auto& [why, loop, name] : cases) {
        Parsed application(plainEntry().raw(loop));
        ASSERT_EQ(application.accepted(), name.has_value()) << why;
        if (name) {
            EXPECT_EQ(application->getApplicationName(), *name) << why;
        }
    }
}

TEST(AITApplicationParsing, ConcatenatesLocations)
{
    Parsed application(plainEntry().location("a/").location("b?c#d"));
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(application->getApplicationLocation(), "a/b?c#d");
}

TEST(AITApplicationParsing, TakesTheLastUsageType)
{
    Parsed application(plainEntry().usage(1).usage(0xFE));
    EXPECT_EQ(application->getUsageType(), 0xFE);
    EXPECT_EQ(Parsed(plainEntry().usage(1))->getUsageType(), AITApplication::DIGITAL_TELETEXT);
    EXPECT_EQ(Parsed(plainEntry().raw({0x16, 3, 2, 9, 9}))->getUsageType(), 2);
}

TEST(AITApplicationParsing, TakesItsBoundaryFromAllDescriptors)
{
    Parsed application(plainEntry()
                           .boundary({"http://a.example/x", "dvb://1.2.3"})
                           .boundary({})
                           .boundary({"https://a.example", "http://b.example"}));
    ASSERT_TRUE(application.accepted());
    EXPECT_THAT(application->getApplicationDomain()->getEntries(),
                ElementsAre("http://a.example", "dvb://1.2.3", "https://a.example"));
}

TEST(AITApplicationParsing, BoundsABoundaryByTheEntryIfThereIsNoMore)
{
    // The last extension may end on the byte behind the descriptor. Alone, there is no such byte.
    const Bytes extensionOverByOne = {0x17, 4, 1, 3, 'a', 'b'};
    Parsed alone(plainEntry().raw(extensionOverByOne));
    ASSERT_TRUE(alone.accepted());
    EXPECT_TRUE(alone->getApplicationDomain()->getEntries().empty());

    Parsed followed(plainEntry().raw(extensionOverByOne + Bytes{'c', 1, 0}));
    ASSERT_TRUE(followed.accepted());
    EXPECT_THAT(followed->getApplicationDomain()->getEntries(), ElementsAre("abc"));
}

TEST(AITApplicationParsing, KeepsTheFirstApplicationDescriptor)
{
    Parsed application(plainEntry().raw(applicationDescriptor({{}, {}, 7, 1, true}) +
                                        applicationDescriptor({{}, {3}, 9, 2, false})));
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(print(*application),
              "10.1 code 1 usage 0 '' at ''\nbound visibility 1 priority 7 labels");
    EXPECT_EQ(application->getApplicationPriority(), 7);
}

TEST(AITApplicationParsing, KeepsTheFirstRecordingDescriptor)
{
    Parsed application(plainEntry().recording(0x80, {}, {}).recording(0x40, {}, {}));
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(print(*application), "10.1 code 1 usage 0 '' at ''\nrecording S");
}

TEST(AITApplicationParsing, PrefersItsOwnTransportsAndLooksUpTheOthersInTheTable)
{
    AIT table(0x22, 0x7, 0x1, nullptr);
    const Bytes common = carouselTransport(1, 0x10) + httpTransport(2, "http://common/");
    ASSERT_TRUE(table.parseCommonDescriptorsLoop(exactBlock(common).get(),
                                                 static_cast<unsigned short>(common.size())));
    Parsed application(AITEntry(10, 1).labels({2, 1}).raw(httpTransport(2, "http://own/")), &table);
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(transports(*application), "2: protocol 3 of 34.7.1 tag 0 at http://own/\n"
                                        "1: protocol 1 of 34.7.1 tag 16 at \n");
    ASSERT_EQ(application->getNumTransports(), 2U);
    EXPECT_EQ(application->getTransports()[1].get(), table.getCommonTransport(1));
}

TEST(AITApplicationParsing, ListedTwiceTakesItsOwnTransportOnceAndACommonOneTwice)
{
    AIT table(1, 2, 3, nullptr);
    const Bytes common = carouselTransport(1, 0x10) + carouselTransport(2, 0x20);
    ASSERT_TRUE(table.parseCommonDescriptorsLoop(exactBlock(common).get(),
                                                 static_cast<unsigned short>(common.size())));
    Parsed application(AITEntry(10, 1)
                           .labels({1, 9, 5, 5, 2, 1, 2, 2})
                           .raw(httpTransport(5, "http://own5/"))
                           .raw(httpTransport(2, "http://own2/")),
                       &table);
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(transports(*application), "1: protocol 1 of 1.2.3 tag 16 at \n"
                                        "5: protocol 3 of 1.2.3 tag 0 at http://own5/\n"
                                        "2: protocol 3 of 1.2.3 tag 0 at http://own2/\n"
                                        "1: protocol 1 of 1.2.3 tag 16 at \n"
                                        "2: protocol 1 of 1.2.3 tag 32 at \n"
                                        "2: protocol 1 of 1.2.3 tag 32 at \n");
    ASSERT_EQ(application->getNumTransports(), 6U);
    EXPECT_EQ(application->getTransports()[0], application->getTransports()[3]);
    EXPECT_EQ(application->getTransports()[4].get(), table.getCommonTransport(2));
    EXPECT_EQ(application->getTransports()[5].get(), table.getCommonTransport(2));
}

TEST(AITApplicationParsing, KeepsTheFirstOfTwoOwnTransportsOfOneLabel)
{
    Parsed application(AITEntry(10, 1).http(4, "http://first/").http(4, "http://second/"));
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(transports(*application), "4: protocol 3 of 0.0.0 tag 0 at http://first/\n");
}

TEST(AITApplicationParsing, ParsedOnceMoreHasTheTransportsOfTheLastTime)
{
    AITApplication application(nullptr);
    const auto entry = AITEntry(10, 1)
                           .http(1, "http://a.example/")
                           .http(2, "http://b.example/")
                           .labels({2, 1})
                           .exactBlock();
    for (int time = 0; time < 2; ++time) {
        ASSERT_TRUE(application.parse(entry.get()));
        EXPECT_EQ(transports(application), "2: protocol 3 of 0.0.0 tag 0 at http://b.example/\n"
                                           "1: protocol 3 of 0.0.0 tag 0 at http://a.example/\n");
    }
}

TEST(AITApplicationParsing, HasNoTransportsWithoutAnApplicationDescriptor)
{
    Parsed application(plainEntry().http(1, "http://a.example/"));
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(application->getNumTransports(), 0U);
    EXPECT_EQ(application->getFirstAvailableTransport(true), nullptr);
}

TEST(AITApplicationParsing, GivesTheServiceOfItsTableToLocalAndHTTPTransports)
{
    AIT table(11, 22, 33, nullptr);
    Parsed application(AITEntry(10, 1)
                           .labels({1, 2, 3, 4})
                           .http(1, "http://a.example/")
                           .carousel(2, 9)
                           .remoteCarousel(3, 4, 5, 6, 7)
                           .raw(otherTransport(4, 2)),
                       &table);
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(transports(*application), "1: protocol 3 of 11.22.33 tag 0 at http://a.example/\n"
                                        "2: protocol 1 of 11.22.33 tag 9 at \n"
                                        "3: protocol 1 of 4.5.6 remote tag 7 at \n"
                                        "4: protocol 0 of 0.0.0 tag 0 at \n");
}

TEST(AITApplicationParsing, WithoutATableLeavesItsTransportsWithoutService)
{
    Parsed application(AITEntry(10, 1).http(1, "http://a.example/").carousel(2, 9).labels({2, 7}));
    ASSERT_TRUE(application.accepted());
    EXPECT_EQ(transports(*application), "2: protocol 1 of 0.0.0 tag 9 at \n");
}
