#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "receiver/carousel/object_carousel.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

using Result = Lookup::Result;

// Where most tests put things: the gateway alone in module 1, files in module 2.
const IorFields gatewayIor = {"srg", 1, "g"};

Bytes fileIor(const std::string& key, unsigned moduleId = 2)
{
    return makeIor({"fil", moduleId, key});
}

std::shared_ptr<const AssociationTags> mapping(const AssociationTags& tags)
{
    return std::make_shared<const AssociationTags>(tags);
}

ModuleFields moduleOf(unsigned moduleId, const Bytes& bytes, unsigned version = 0)
{
    return {moduleId, uint32_t(bytes.size()), version};
}

class ObjectCarouselTest : public ::testing::Test {
protected:
    // A carousel with these modules, numbered from 1, the gateway in the first.
    void broadcast(const std::vector<Bytes>& modules, unsigned version = 0)
    {
        feed(carousel_, makeDsi(makeIor(gatewayIor)));
        std::vector<ModuleFields> announced;
        for (const Bytes& module : modules)
            announced.push_back(moduleOf(unsigned(announced.size() + 1), module, version));
        feed(carousel_, makeDii(0x80000002 + (version << 16), announced));
        for (size_t i = 0; i < modules.size(); ++i)
            feed(carousel_, makeDdbs(unsigned(i + 1), version, modules[i]));
    }

    std::string read(const std::string& path) { return textOf(carousel_.find(path).file); }
    Result resultOf(const std::string& path) { return carousel_.find(path).result; }

    std::vector<std::string> listed()
    {
        std::vector<std::string> paths;
        const CarouselListing listing = carousel_.list();
        for (const CarouselFile& file : listing.files)
            paths.push_back(file.path);
        return paths;
    }

    std::vector<std::string> problems_;
    ObjectCarousel carousel_{{}, [this](const std::string& text) { problems_.push_back(text); }};
};

TEST_F(ObjectCarouselTest, FilesAreFoundByTheirPaths)
{
    broadcast({makeGateway("g", {{"index.html", fileIor("i")},
                                 {"css", makeIor({"dir", 2, "c"})},
                                 {"empty", fileIor("e")}}),
               makeFile("i", "<html>") + makeDirectory("c", {{"a.css", fileIor("a")}}) +
                   makeFile("a", {'b', '{', '}'}, "text/css") + makeFile("e", "")});

    EXPECT_EQ(read("index.html"), "<html>");
    const Lookup style = carousel_.find("css/a.css");
    EXPECT_EQ(style.result, Result::Ready);
    EXPECT_EQ(textOf(style.file), "b{}");
    EXPECT_EQ(style.file.contentType, "text/css");
    EXPECT_EQ(resultOf("empty"), Result::Ready);
    EXPECT_EQ(listed(), (std::vector<std::string>{"index.html", "empty", "css/a.css"}));
    EXPECT_EQ(carousel_.carouselId(), 42u);
    EXPECT_TRUE(problems_.empty());
}

TEST_F(ObjectCarouselTest, WhatIsNotAListedFileIsAnError)
{
    broadcast({makeGateway("g", {{"file", fileIor("f")},
                                 {"css", makeIor({"dir", 2, "c"})},
                                 {"gone", fileIor("nowhere")},
                                 {"unannounced", fileIor("f", 77)},
                                 {"events", makeIor({"ste", 2, "s"})}}),
               makeFile("f", "x") + makeDirectory("c", {}) + makeStreamEvents("s", {})});
    for (const char* path :
         {"css", "other", "other/", "css/a", "css//", "/", "file/below", "/file", "file/", "gone",
          "gone/", "unannounced", "unannounced/", "events", "events/", "..", "FILE"}) {
        const Lookup lookup = carousel_.find(path);
        EXPECT_EQ(lookup.result, Result::Error) << path;
        EXPECT_FALSE(lookup.reason.empty()) << path;
    }
}

TEST_F(ObjectCarouselTest, ModulesTellWhatCameOfThem)
{
    const Bytes gateway = makeGateway("g", {{"file", fileIor("f")}, {"late", fileIor("l", 3)}});
    const Bytes files = makeFile("f", "x") + makeFile("lost", "y");
    const Bytes late(250, 1);
    feed(carousel_, makeDsi(makeIor(gatewayIor)));
    feed(carousel_, makeDii(0x80000002, {moduleOf(1, gateway, 3), moduleOf(2, files, 3),
                                         moduleOf(3, late, 3), moduleOf(4, {}, 3)}));
    feed(carousel_, makeDdbs(1, 3, gateway));
    feed(carousel_, makeDdbs(2, 3, files));
    feed(carousel_, makeDdbs(3, 3, late).front());

    const std::vector<CarouselModuleStatus> modules = carousel_.modules();
    ASSERT_EQ(modules.size(), 4u);
    EXPECT_EQ(modules[0].state, CarouselModule::State::Complete);
    EXPECT_EQ(modules[0].stream, 0x2A);
    EXPECT_EQ(modules[0].downloadId, 42u);
    EXPECT_EQ(modules[0].files, 0u);
    EXPECT_EQ(modules[1].announcement.moduleId, 2);
    EXPECT_EQ(modules[1].announcement.version, 3);
    EXPECT_EQ(modules[1].files, 2u);
    EXPECT_EQ(modules[1].unreachedFiles, 1u);
    EXPECT_EQ(modules[2].state, CarouselModule::State::Incomplete);
    EXPECT_EQ(modules[2].blocksReceived, 1u);
    EXPECT_EQ(modules[2].blocksNeeded, 3u);
    EXPECT_EQ(modules[2].problem, "");
    EXPECT_EQ(modules[3].state, CarouselModule::State::Refused);
    EXPECT_EQ(modules[3].problem, "it is empty");
}

TEST_F(ObjectCarouselTest, DirectoriesThatLeadToEachOtherAreEnteredOnce)
{
    broadcast({makeGateway("g", {{"a", makeIor({"dir", 2, "a"})}}),
               makeDirectory("a", {{"b", makeIor({"dir", 2, "b"})}}) +
                   makeDirectory("b", {{"a", makeIor({"dir", 2, "a"})}, {"f", fileIor("f")}}) +
                   makeFile("f", "x")});
    EXPECT_EQ(carousel_.modules().at(1).unreachedFiles, 0u);
}

TEST_F(ObjectCarouselTest, ADirectoryAnswersItsNamesInItsOrder)
{
    EXPECT_EQ(resultOf(""), Result::Pending);
    broadcast(
        {makeGateway("g", {{"z.html", fileIor("f")},
                           {"css", makeIor({"dir", 2, "c"})},
                           {"a", fileIor("nowhere", 9)},
                           {"late", makeIor({"dir", 1, "not there"})}}),
         makeFile("f", "x") +
             makeDirectory("c", {{"b.css", fileIor("f")}, {"none", makeIor({"dir", 2, "n"})}}) +
             makeDirectory("n", {})});

    EXPECT_EQ(read(""), "z.html,css,a,late");
    EXPECT_EQ(carousel_.find("").file.contentType, "text/plain");
    EXPECT_EQ(read("css/"), "b.css,none");
    EXPECT_EQ(resultOf("css/none/"), Result::Ready);
    EXPECT_EQ(read("css/none/"), "");
    EXPECT_EQ(resultOf("late/"), Result::Error);
}

TEST_F(ObjectCarouselTest, AFileIsPendingUntilEverythingOnItsWayIsThere)
{
    const Bytes gateway = makeGateway("g", {{"d", makeIor({"dir", 2, "d"})}});
    const Bytes directory = makeDirectory("d", {{"f", fileIor("f", 3)}});
    const Bytes file = makeFile("f", std::string(250, 'x'));
    const std::vector<Bytes> blocks = makeDdbs(3, 0, file);
    std::vector<Bytes> sections = {
        makeDsi(makeIor(gatewayIor)),
        makeDii(0x80000002, {moduleOf(1, gateway), moduleOf(2, directory), moduleOf(3, file)})};
    for (const auto& [id, module] : {std::pair(1U, gateway), std::pair(2U, directory)})
        for (const Bytes& block : makeDdbs(id, 0, module))
            sections.push_back(block);
    sections.insert(sections.end(), blocks.begin(), blocks.end() - 1);

    for (const Bytes& section : sections) {
        EXPECT_EQ(resultOf("d/f"), Result::Pending);
        EXPECT_TRUE(feed(carousel_, section));
    }
    EXPECT_EQ(carousel_.find("d/f").reason, "module 3 has 2 of 3 blocks");
    EXPECT_EQ(resultOf("d/g"), Result::Error);
    const uint64_t before = carousel_.revision();
    feed(carousel_, blocks.back());
    EXPECT_EQ(read("d/f"), std::string(250, 'x'));
    EXPECT_GT(carousel_.revision(), before);
}

TEST_F(ObjectCarouselTest, BlocksInAnyOrderAndRepeatedMakeAModule)
{
    const Bytes gateway = makeGateway("g", {{"f", fileIor("f")}});
    const Bytes file = makeFile("f", std::string(333, 'y'));
    std::vector<Bytes> blocks = makeDdbs(2, 0, file);
    std::reverse(blocks.begin(), blocks.end());
    blocks.insert(blocks.begin() + 1, blocks.front());
    broadcast({gateway});
    feed(carousel_, makeDii(0x80010003, {moduleOf(1, gateway), moduleOf(2, file)}));
    feed(carousel_, blocks);
    EXPECT_EQ(read("f"), std::string(333, 'y'));
}

TEST_F(ObjectCarouselTest, BlocksThatComeBeforeTheirListMakeAModule)
{
    const Bytes gateway = makeGateway("g", {{"f", fileIor("f")}});
    const Bytes file = makeFile("f", std::string(333, 'y'));
    feed(carousel_, makeDdbs(2, 0, file));
    feed(carousel_, makeDdbs(1, 0, gateway));
    EXPECT_GE(carousel_.progress().memoryUsed, file.size() + gateway.size());
    feed(carousel_, makeDii(0x80000002, {moduleOf(1, gateway), moduleOf(2, file)}));
    EXPECT_EQ(carousel_.modulesComplete(), 2u);
    feed(carousel_, makeDsi(makeIor(gatewayIor)));
    EXPECT_EQ(read("f"), std::string(333, 'y'));
    ObjectCarousel same;
    feed(same, makeDii(0x80000002, {moduleOf(1, gateway), moduleOf(2, file)}));
    feed(same, makeDdbs(1, 0, gateway));
    feed(same, makeDdbs(2, 0, file));
    EXPECT_EQ(carousel_.progress().memoryUsed, same.progress().memoryUsed)
        << "nothing is left over";
}

TEST_F(ObjectCarouselTest, ACaptureOfOneCycleComesOutWholeWhereverItBegins)
{
    const Bytes gateway = makeGateway("g", {{"f", fileIor("f")}});
    const Bytes file = makeFile("f", std::string(333, 'y'));
    std::vector<Bytes> cycle = {makeDsi(makeIor(gatewayIor)),
                                makeDii(0x80000002, {moduleOf(1, gateway), moduleOf(2, file)})};
    for (const Bytes& block : makeDdbs(1, 0, gateway))
        cycle.push_back(block);
    for (const Bytes& block : makeDdbs(2, 0, file))
        cycle.push_back(block);
    for (size_t start = 0; start < cycle.size(); ++start) {
        std::rotate(cycle.begin(), cycle.begin() + 1, cycle.end());
        ObjectCarousel carousel;
        feed(carousel, cycle);
        EXPECT_EQ(textOf(carousel.find("f").file), std::string(333, 'y')) << start;
    }
}

TEST_F(ObjectCarouselTest, EarlyBlocksOfAnotherVersionOrStreamDoNotCount)
{
    const Bytes gateway = makeGateway("g", {{"f", fileIor("f")}});
    const Bytes file = makeFile("f", "fresh");
    broadcast({gateway});
    feed(carousel_, makeDdbs(2, 7, makeFile("f", "other")));
    feed(carousel_, makeDdbs(2, 0, makeFile("f", "wrong")), 0x0B);
    feed(carousel_, makeDdbs(2, 0, makeFile("f", "alien"), 100, 43));
    feed(carousel_, makeDii(0x80010002, {moduleOf(1, gateway), moduleOf(2, file)}));
    EXPECT_EQ(resultOf("f"), Result::Pending);
    feed(carousel_, makeDdbs(2, 0, file));
    EXPECT_EQ(read("f"), "fresh");
}

TEST_F(ObjectCarouselTest, BlocksThatAreNeverAnnouncedTakeHalfOfTheMemoryAndGiveWay)
{
    CarouselLimits limits;
    limits.memory = 100 * 1024;
    ObjectCarousel carousel(limits, [this](const std::string& text) { problems_.push_back(text); });
    for (unsigned module = 10; module < 500; ++module)
        feed(carousel, makeDdb(module, 0, 0, Bytes(1000, 1)));
    EXPECT_LE(carousel.progress().memoryUsed, limits.memory / 2);
    EXPECT_GT(carousel.progress().memoryUsed, limits.memory / 4);
    const size_t dropped = carousel.progress().blocksDropped;
    EXPECT_GT(dropped, 400u);
    const Bytes gateway =
        makeGateway("g", {{"f", fileIor("f", 1)}}) + makeFile("f", std::string(70000, 'x'));
    feed(carousel, makeDsi(makeIor(gatewayIor)));
    feed(carousel, makeDii(0x80000002, {moduleOf(1, gateway)}));
    feed(carousel, makeDdbs(1, 0, gateway));
    EXPECT_EQ(carousel.find("f").result, Result::Ready);
    EXPECT_TRUE(problems_.empty());
    EXPECT_EQ(carousel.progress().blocksDropped, 490u) << "all of them are gone";
    carousel.clear();
    EXPECT_EQ(carousel.progress().memoryUsed, 0u);
}

TEST_F(ObjectCarouselTest, ANewModuleVersionReplacesTheOldOne)
{
    const Bytes gateway = makeGateway("g", {{"f", fileIor("f")}});
    const Bytes old = makeFile("f", "old");
    const Bytes fresh = makeFile("f", "fresh");
    broadcast({gateway, old});
    const Lookup before = carousel_.find("f");

    feed(carousel_, makeDii(0x80010003, {moduleOf(1, gateway), moduleOf(2, fresh, 1)}));
    EXPECT_EQ(resultOf("f"), Result::Pending);
    feed(carousel_, makeDdbs(2, 0, old));
    EXPECT_EQ(resultOf("f"), Result::Pending) << "blocks of the old version do not count";
    feed(carousel_, makeDdbs(2, 1, fresh));
    EXPECT_EQ(read("f"), "fresh");
    EXPECT_EQ(textOf(before.file), "old") << "a view stays as it is";
    EXPECT_EQ(carousel_.progress().modulesComplete, 2u) << "module 1 was kept";
}

TEST_F(ObjectCarouselTest, ModulesOnSeveralStreamsAreToldApartByAssociationTag)
{
    IorFields far = {"fil", 2, "f", 0x0B};
    const Bytes gateway = makeGateway("g", {{"near", fileIor("f")}, {"far", makeIor(far)}});
    const Bytes nearFile = makeFile("f", "near");
    const Bytes farFile = makeFile("f", "farr");
    broadcast({gateway, nearFile});
    EXPECT_EQ(carousel_.wantedAssociationTags(), std::set<uint16_t>{0x0B});
    EXPECT_EQ(resultOf("far"), Result::Pending);

    ModuleFields module = moduleOf(2, farFile);
    module.associationTag = 0x0C;  // the blocks are on a third stream
    feed(carousel_, makeDii(0x80000002, {module}), 0x0B);
    EXPECT_EQ(carousel_.wantedAssociationTags(), std::set<uint16_t>{0x0C});
    feed(carousel_, makeDdbs(2, 0, farFile), 0x0B);
    EXPECT_EQ(resultOf("far"), Result::Pending) << "these blocks are another module's";
    feed(carousel_, makeDdbs(2, 0, farFile), 0x0C);
    EXPECT_EQ(read("far"), "farr");
    EXPECT_EQ(read("near"), "near");
    EXPECT_TRUE(carousel_.wantedAssociationTags().empty());
}

TEST_F(ObjectCarouselTest, EachStreamIsReferredToOnce)
{
    std::vector<DirectoryEntry> entries;
    for (unsigned number = 0; number < 300; ++number) {
        IorFields file = {"fil", 2, "f"};
        file.associationTag = number % 3;
        entries.push_back({std::to_string(number), makeIor(file)});
    }
    size_t references = 0;
    feed(carousel_, makeDsi(makeIor(gatewayIor)));
    const Bytes gateway = makeGateway("g", entries);
    for (unsigned version = 0; version < 5; ++version) {
        feed(carousel_, makeDii(0x80000002 + (version << 16), {moduleOf(1, gateway, version)}));
        for (const Bytes& block : makeDdbs(1, version, gateway)) {
            feed(carousel_, block);
            references += carousel_.takeNewReferences().size();
        }
    }
    EXPECT_EQ(references, 4u) << "three streams of files and the gateway's own";
    EXPECT_EQ(carousel_.wantedAssociationTags(), (std::set<uint16_t>{0, 1, 2}));
}

TEST_F(ObjectCarouselTest, AReferenceIsFollowedAgainWhenItsTagIsMapped)
{
    IorFields far = {"fil", 2, "f", 0x012B};
    broadcast({makeGateway("g", {{"far", makeIor(far)}})});
    EXPECT_EQ(carousel_.takeNewReferences(), (std::vector<uint16_t>{0x2A, 0x012B}));
    carousel_.mapAssociationTags(mapping({{0x012B, 0x2B}}));
    carousel_.mapAssociationTags(mapping({{0x012B, 0x2B}}));
    EXPECT_EQ(carousel_.takeNewReferences(), std::vector<uint16_t>{0x2B});
}

TEST_F(ObjectCarouselTest, AFileIsFoundInADirectoryOfThousands)
{
    std::vector<DirectoryEntry> entries;
    for (unsigned number = 0; number < 3000; ++number)
        entries.push_back({std::to_string((number * 7919) % 3000), fileIor("f", 1)});
    broadcast({makeGateway("g", entries) + makeFile("f", "x")});
    for (const char* name : {"0", "1", "1500", "2999"})
        EXPECT_EQ(read(name), "x") << name;
    for (const char* name : {"3000", "-1", "15000", "a"})
        EXPECT_EQ(resultOf(name), Result::Error) << name;
}

TEST_F(ObjectCarouselTest, AnAssociationTagMayNameAStreamFedUnderItsComponentTag)
{
    IorFields gateway = gatewayIor;
    gateway.associationTag = 0x012A;
    const Bytes module = makeGateway("g", {});
    ModuleFields announced = moduleOf(1, module);
    announced.associationTag = 0x012A;
    feed(carousel_, makeDsi(makeIor(gateway)));
    feed(carousel_, makeDii(0x80000002, {announced}));
    feed(carousel_, makeDdbs(1, 0, module));
    EXPECT_EQ(resultOf("f"), Result::Pending);
    EXPECT_EQ(carousel_.wantedAssociationTags(), std::set<uint16_t>{0x012A});

    carousel_.mapAssociationTags(mapping({{0x012A, 0x2A}}));
    feed(carousel_, makeDdbs(1, 0, module));
    EXPECT_EQ(resultOf("f"), Result::Error) << "the gateway is complete and does not list it";
    EXPECT_TRUE(carousel_.wantedAssociationTags().empty());
}

TEST_F(ObjectCarouselTest, OneModuleIdUnderTwoListsIsTwoModules)
{
    IorFields second = {"fil", 1, "f"};
    second.transactionId = 0x80000004;
    const Bytes gateway = makeGateway("g", {{"f", makeIor(second)}});
    const Bytes file = makeFile("f", "second");
    feed(carousel_, makeDsi(makeIor(gatewayIor)));
    feed(carousel_, makeDii(0x80000002, {moduleOf(1, gateway)}));
    feed(carousel_, makeDii(0x80000004, {moduleOf(1, file)}, 100, 43));
    feed(carousel_, makeDdbs(1, 0, gateway));
    feed(carousel_, makeDdbs(1, 0, file, 100, 43));
    EXPECT_EQ(read("f"), "second");
}

TEST_F(ObjectCarouselTest, AReferenceWithoutTransactionIdIsFoundInAnyListOfItsStream)
{
    IorFields reference = {"fil", 5, "f"};
    reference.transactionId = std::nullopt;
    const Bytes file = makeFile("f", "found");
    broadcast({makeGateway("g", {{"f", makeIor(reference)}})});
    EXPECT_EQ(resultOf("f"), Result::Pending);
    feed(carousel_, makeDii(0x80000008, {moduleOf(5, file)}));
    feed(carousel_, makeDdbs(5, 0, file));
    EXPECT_EQ(read("f"), "found");
}

TEST_F(ObjectCarouselTest, TheUpdateFlagAndVersionOfATransactionIdDoNotMatterToReferences)
{
    const Bytes gateway = makeGateway("g", {{"f", fileIor("f", 1)}}) + makeFile("f", "x");
    feed(carousel_, makeDsi(makeIor(gatewayIor), 0x80050001));
    feed(carousel_, makeDii(0x80FF0003, {moduleOf(1, gateway)}));
    feed(carousel_, makeDdbs(1, 0, gateway));
    EXPECT_EQ(read("f"), "x");
}

TEST_F(ObjectCarouselTest, ObjectKeysMayHaveAnyLength)
{
    std::vector<DirectoryEntry> entries;
    Bytes files;
    // A key that fills its location; the 8-bit length of the location bounds it.
    for (const size_t length : {size_t(0), size_t(1), size_t(4), size_t(5), size_t(246)}) {
        const std::string key(length, 'k');
        entries.push_back({std::to_string(length), fileIor(key)});
        files = files + makeFile(key, "key of " + std::to_string(length));
    }
    broadcast({makeGateway("g", entries), files});
    for (const DirectoryEntry& entry : entries)
        EXPECT_EQ(read(entry.name), "key of " + entry.name);
}

TEST_F(ObjectCarouselTest, DirectoriesThatLoopAreListedOnceAndWalkedAsFarAsAsked)
{
    broadcast({makeGateway("g", {{"again", makeIor(gatewayIor)}, {"f", fileIor("f", 1)}}) +
               makeFile("f", "x")});
    EXPECT_EQ(listed(), std::vector<std::string>{"f"});
    EXPECT_EQ(read("again/again/again/f"), "x");
}

TEST_F(ObjectCarouselTest, DirectoriesBoundTwiceDoNotMultiply)
{
    Bytes module;
    for (int level = 0; level < 40; ++level) {
        const Bytes below = makeIor({"dir", 1, level == 39 ? "last" : std::to_string(level + 1)});
        module = module + makeDirectory(level == 0 ? "g" : std::to_string(level),
                                        {{"left", below}, {"right", below}});
    }
    broadcast({module + makeDirectory("last", {{"f", fileIor("f", 1)}}) + makeFile("f", "x")});
    EXPECT_EQ(listed().size(), 1u);
}

TEST_F(ObjectCarouselTest, ListingEndsAtTheDepthAllowed)
{
    CarouselLimits limits;
    limits.directoryDepth = 1;
    ObjectCarousel shallow(limits);
    const Bytes module =
        makeGateway("g", {{"d", makeIor({"dir", 1, "d"})}}) +
        makeDirectory("d", {{"in", fileIor("f", 1)}, {"e", makeIor({"dir", 1, "e"})}}) +
        makeDirectory("e", {{"deeper", fileIor("f", 1)}}) + makeFile("f", "x");
    feed(shallow, makeDsi(makeIor(gatewayIor)));
    feed(shallow, makeDii(0x80000002, {moduleOf(1, module)}));
    feed(shallow, makeDdbs(1, 0, module));
    ASSERT_EQ(shallow.list().files.size(), 1u);
    EXPECT_EQ(shallow.list().files[0].path, "d/in");
}

TEST_F(ObjectCarouselTest, DirectoriesCountAsListed)
{
    CarouselLimits limits;
    limits.listedFiles = 100;
    ObjectCarousel carousel(limits);
    std::vector<DirectoryEntry> entries;
    Bytes directories;
    for (unsigned number = 0; number < 150; ++number) {
        const std::string name = std::to_string(number);
        entries.push_back({name, makeIor({"dir", 1, name})});
        directories = directories + makeDirectory(name, {});
    }
    const Bytes module = makeGateway("g", entries) + directories;
    feed(carousel, makeDsi(makeIor(gatewayIor)));
    feed(carousel, makeDii(0x80000002, {moduleOf(1, module)}, 4000));
    feed(carousel, makeDdbs(1, 0, module, 4000));
    EXPECT_EQ(carousel.list().leftOut, 50u);
}

TEST_F(ObjectCarouselTest, FilesOfNestedDirectoriesAreListedInTheirOrder)
{
    const auto directory = [](const char* key) { return makeIor({"dir", 1, key}); };
    const Bytes file = fileIor("f", 1);
    broadcast({makeGateway("g", {{"one", directory("1")}, {"f", file}, {"two", directory("2")}}) +
               makeDirectory("1", {{"deep", directory("3")}, {"f", file}}) +
               makeDirectory("2", {{"f", file}}) + makeDirectory("3", {{"f", file}}) +
               makeFile("f", "x")});
    EXPECT_EQ(listed(), (std::vector<std::string>{"f", "one/f", "one/deep/f", "two/f"}));
}

TEST_F(ObjectCarouselTest, StreamEventObjectsAreListedWithTheirEvents)
{
    broadcast({makeGateway("g", {{"events", makeIor({"ste", 1, "s"})}}) +
               makeStreamEvents("s", {{"goal", 7}, {"end", 0x1234}})});
    const auto list = carousel_.list().streamEvents;
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].path, "events");
    ASSERT_EQ(list[0].events.size(), 2u);
    EXPECT_EQ(list[0].events[0].name, "goal");
    EXPECT_EQ(list[0].events[0].id, 7);
    EXPECT_EQ(list[0].events[1].id, 0x1234);
    ASSERT_EQ(list[0].taps.size(), 1u);
    EXPECT_EQ(list[0].taps[0].associationTag, 0x2B);
}

TEST_F(ObjectCarouselTest, AReferenceToAnotherCarouselIsUnresolvableWithANote)
{
    const Bytes elsewhere = makeIor("fil", {{0x49534F05, {1, 2, 3}}});
    broadcast({makeGateway("g", {{"f", elsewhere}})});
    const Lookup lookup = carousel_.find("f");
    EXPECT_EQ(lookup.result, Result::Error);
    EXPECT_NE(lookup.reason.find("another carousel"), std::string::npos);
}

TEST_F(ObjectCarouselTest, AGatewayElsewhereIsRefusedOnceWithANote)
{
    const Bytes dsi = makeDsi(makeIor("srg", {{0x49534F05, {1, 2, 3}}}));
    feed(carousel_, dsi);
    feed(carousel_, dsi);
    EXPECT_EQ(resultOf("f"), Result::Error);
    ASSERT_EQ(problems_.size(), 1u);
    EXPECT_NE(problems_[0].find("another carousel"), std::string::npos);
}

TEST_F(ObjectCarouselTest, AnotherStreamsGatewayDoesNotTakeThisOnesPlace)
{
    broadcast({makeGateway("g", {{"f", fileIor("f", 1)}}) + makeFile("f", "x")});
    IorFields other = gatewayIor;
    other.carouselId = 43;
    feed(carousel_, makeDsi(makeIor(other)), 0x0B);
    EXPECT_EQ(read("f"), "x");
    EXPECT_EQ(carousel_.carouselId(), 42u);
}

TEST_F(ObjectCarouselTest, AnotherCarouselOnTheSameStreamReplacesTheOldOne)
{
    broadcast({makeGateway("g", {{"f", fileIor("f", 1)}}) + makeFile("f", "x")});
    IorFields other = gatewayIor;
    other.carouselId = 43;
    feed(carousel_, makeDsi(makeIor(other)));
    EXPECT_EQ(resultOf("f"), Result::Pending);
    EXPECT_EQ(carousel_.progress().memoryUsed, 0u);
    EXPECT_EQ(carousel_.carouselId(), 43u);
}

TEST_F(ObjectCarouselTest, NamesThatWouldLeaveTheFolderAreNotListed)
{
    broadcast({makeGateway("g", {{"..", fileIor("f", 1)},
                                 {"../../etc", fileIor("f", 1)},
                                 {"a/b", fileIor("f", 1)},
                                 {".", fileIor("f", 1)},
                                 {"", fileIor("f", 1)},
                                 {std::string("a\0b", 3), fileIor("f", 1)},
                                 {"...", fileIor("f", 1)}}) +
               makeFile("f", "x")});
    EXPECT_EQ(listed(), std::vector<std::string>{"..."});
    EXPECT_EQ(resultOf(".."), Result::Error);
}

TEST_F(ObjectCarouselTest, OfEqualNamesTheFirstCounts)
{
    broadcast({makeGateway("g", {{"f", fileIor("missing", 9)}, {"f", fileIor("f", 1)}}) +
               makeFile("f", "x")});
    EXPECT_EQ(resultOf("f"), Result::Error);
    EXPECT_TRUE(listed().empty());
}

TEST_F(ObjectCarouselTest, ClearForgetsEverythingReceived)
{
    broadcast({makeGateway("g", {{"f", fileIor("f", 1)}}) + makeFile("f", "x")});
    const Lookup kept = carousel_.find("f");
    carousel_.clear();
    EXPECT_EQ(resultOf("f"), Result::Pending);
    EXPECT_TRUE(listed().empty());
    EXPECT_EQ(carousel_.progress().modulesKnown, 0u);
    EXPECT_EQ(carousel_.progress().memoryUsed, 0u);
    EXPECT_EQ(textOf(kept.file), "x");
}

TEST_F(ObjectCarouselTest, ProgressCountsModulesAndBlocks)
{
    const Bytes gateway = makeGateway("g", {});
    const Bytes file = makeFile("f", std::string(450, 'x'));
    broadcast({gateway});
    feed(carousel_,
         makeDii(0x80010003, {moduleOf(1, gateway), moduleOf(2, file), {3, 17 * 1024 * 1024}}));
    feed(carousel_, makeDdbs(2, 0, file).front());
    const CarouselProgress progress = carousel_.progress();
    EXPECT_EQ(progress.modulesKnown, 3u);
    EXPECT_EQ(progress.modulesComplete, 1u);
    EXPECT_EQ(progress.modulesRefused, 1u);
    const size_t gatewayBlocks = makeDdbs(1, 0, gateway).size();
    EXPECT_EQ(progress.blocksNeeded, gatewayBlocks + makeDdbs(2, 0, file).size());
    EXPECT_EQ(progress.blocksReceived, gatewayBlocks + 1);
    EXPECT_GE(progress.memoryUsed, gateway.size() + file.size());
}

}  // namespace
}  // namespace receiver
