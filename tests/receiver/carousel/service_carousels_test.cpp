#include <gtest/gtest.h>
#include <sstream>

#include "vesta_hbbtv_appman.h"

#include "receiver/carousel/service_carousels.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/stream_builder.h"
#include "tests/support/heap_use.h"

namespace receiver {
namespace {

const uint16_t carouselPid = 0x200;
const uint16_t otherPid = 0x201;
const uint8_t carouselTag = 0x2A;
const uint8_t otherTag = 0x2B;

const char page[] = "20fa.441.1.2a/index.html";

Service service()
{
    Service service;
    service.programNumber = 1;
    service.transportStreamId = 0x441;
    service.originalNetworkId = 0x20FA;
    return service;
}

StreamDescription carouselStream(uint16_t pid, uint8_t tag, bool beginsCarousel = true)
{
    StreamDescription stream;
    stream.streamType = 0x0B;
    stream.pid = pid;
    stream.componentTag = tag;
    if (beginsCarousel)
        stream.carouselId = 42;
    return stream;
}

Bytes fileIor(const std::string& key, unsigned moduleId = 2, unsigned tag = carouselTag)
{
    IorFields fields = {"fil", moduleId, key};
    fields.associationTag = tag;
    if (tag != carouselTag)
        fields.transactionId = 0x80000004;
    return makeIor(fields);
}

class ServiceCarouselsTest : public ::testing::Test {
protected:
    ServiceCarouselsTest()
    {
        carousels_.join(service(), {carouselStream(carouselPid, carouselTag)});
    }

    /// Sends the carousel's directory, and with the second module its files.
    void feedGateway()
    {
        const Bytes gateway = makeGateway("g", {{"index.html", fileIor("i")},
                                                {"a b.css", fileIor("s")},
                                                {"big", fileIor("b")},
                                                {"big?size=1", fileIor("i")},
                                                {"50%41.js", fileIor("i")}});
        feed(makeDsi(makeIor({"srg", 1, "g"})));
        feed(makeDii(0x80000002, {{1, uint32_t(gateway.size())}, {2, uint32_t(files_.size())}},
                     4000));
        for (const Bytes& block : makeDdbs(1, 0, gateway, 4000))
            feed(block);
    }

    void feedFiles()
    {
        for (const Bytes& block : makeDdbs(2, 0, files_, 4000))
            feed(block);
    }

    void feed(const Bytes& section, uint16_t pid = carouselPid) { carousels_.feed(pid, section); }

    /// Reads an open file as the application manager does.
    std::string read(void* id)
    {
        std::string text;
        char* bytes = nullptr;
        unsigned int count = 0;
        while (carousels_.read(id, &bytes, &count) == DSMCC_OK && count > 0)
            text.append(bytes, count);
        return text;
    }

    static void* id(uintptr_t number) { return reinterpret_cast<void*>(number); }

    std::vector<std::pair<uintptr_t, bool>> answers()
    {
        std::vector<std::pair<uintptr_t, bool>> list;
        for (const auto& answer : carousels_.takeAnswers(64))
            list.emplace_back(reinterpret_cast<uintptr_t>(answer.id), answer.ready);
        return list;
    }

    using Answers = std::vector<std::pair<uintptr_t, bool>>;

    std::ostringstream out_;
    EventLog log_{out_, false};
    ServiceCarousels carousels_{{}, log_};
    const Bytes files_ = makeFile("i", "<html>") + makeFile("s", {'b', '{', '}'}, "text/x-css") +
                         makeFile("b", Bytes((size_t(1) << 20) + 5, 'x'));
};

TEST_F(ServiceCarouselsTest, APendingFileIsAnsweredOnceItIsThere)
{
    feedGateway();
    EXPECT_EQ(carousels_.getFile(page, id(1)), DSMCC_PENDING);
    EXPECT_EQ(answers(), Answers());
    feedFiles();
    EXPECT_EQ(answers(), (Answers{{1, true}}));
    EXPECT_EQ(answers(), Answers());
    std::string type;
    EXPECT_EQ(carousels_.mimeType(id(1), type), DSMCC_OK);
    EXPECT_EQ(type, "application/vnd.hbbtv.xhtml+xml");
    EXPECT_EQ(read(id(1)), "<html>");
    EXPECT_EQ(carousels_.close(id(1)), DSMCC_OK);
    EXPECT_EQ(carousels_.close(id(1)), DSMCC_UNKNOWN_ID);
}

TEST_F(ServiceCarouselsTest, AFileThatIsThereIsReadyAtOnce)
{
    feedGateway();
    feedFiles();
    std::string type;
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/a b.css?query#place", id(1)), DSMCC_OK);
    EXPECT_EQ(carousels_.mimeType(id(1), type), DSMCC_OK);
    EXPECT_EQ(type, "text/x-css");  // as it is signalled
    EXPECT_EQ(read(id(1)), "b{}");
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/big", id(2)), DSMCC_OK);
    EXPECT_EQ(carousels_.mimeType(id(2), type), DSMCC_OK);
    EXPECT_EQ(type, "");
    EXPECT_EQ(read(id(2)).size(), (size_t(1) << 20) + 5);
}

TEST_F(ServiceCarouselsTest, AQueryIsNoPartOfTheNameUnlessAFileIsCalledSo)
{
    feedGateway();
    feedFiles();
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/big?size=1", id(1)), DSMCC_OK);
    EXPECT_EQ(read(id(1)), "<html>");
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/big?size=2", id(2)), DSMCC_OK);
    EXPECT_EQ(read(id(2)).size(), (size_t(1) << 20) + 5);
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/big#size=1?x/y", id(3)), DSMCC_OK);
    EXPECT_EQ(read(id(3)).size(), (size_t(1) << 20) + 5);
    std::string type;
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/50%41.js?a.css", id(4)), DSMCC_OK);
    EXPECT_EQ(carousels_.mimeType(id(4), type), DSMCC_OK);
    EXPECT_EQ(type, "application/javascript");
}

TEST_F(ServiceCarouselsTest, APendingFileIsFoundUnderTheSameNameLater)
{
    feedGateway();
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/big?size=1", id(1)), DSMCC_PENDING);
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/a b.css?size=1", id(2)), DSMCC_PENDING);
    feedFiles();
    EXPECT_EQ(answers(), (Answers{{1, true}, {2, true}}));
    EXPECT_EQ(read(id(1)), "<html>");
    EXPECT_EQ(read(id(2)), "b{}");
}

TEST_F(ServiceCarouselsTest, WhatCannotBeHadIsAnError)
{
    feedGateway();
    const std::pair<const char*, const char*> cases[] = {
        {"20fa.441.1.2a/nothing", "does not list"},
        {"20fa.441.1.2a/nothing?index.html", "does not list"},
        {"20fa.441.1.2a/a%20b.css", "does not list \"a%20b.css\""},  // it was decoded before
        {"20fa.441.1.2a/in%64ex.html", "does not list"},
        {"20fa.441.1.2a/nothing/?index.html", "does not list"},
        {"20fa.441.1.2b/index.html", "no carousel with component tag 0x2b"},
        {"20fa.441.2.2a/index.html", "not a carousel of the tuned service"},
        {"20fa.442.1.2a/index.html", "not a carousel of the tuned service"},
        {"20fb.441.1.2a/index.html", "not a carousel of the tuned service"},
        {"index.html", "not a carousel path"},
        {"", "not a carousel path"},
    };
    for (const auto& [path, reason] : cases) {
        out_.str("");
        EXPECT_EQ(carousels_.getFile(path, id(1)), DSMCC_ERROR) << path;
        EXPECT_NE(out_.str().find(reason), std::string::npos) << path << ": " << out_.str();
    }
}

TEST_F(ServiceCarouselsTest, ADirectoryIsReadAsATextOfItsNames)
{
    feedGateway();
    const char* const roots[] = {"20fa.441.1.2a/", "20fa.441.1.2a", "20fa.441.1.2a/?query"};
    for (const char* const root : roots) {
        EXPECT_EQ(carousels_.getFile(root, id(3)), DSMCC_OK) << root;
        EXPECT_EQ(read(id(3)), "index.html,a b.css,big,big?size=1,50%41.js") << root;
    }
    std::string type;
    EXPECT_EQ(carousels_.mimeType(id(3), type), DSMCC_OK);
    EXPECT_EQ(type, "text/plain");
}

TEST_F(ServiceCarouselsTest, IdsThatAreNotOpenAreUnknown)
{
    feedGateway();
    carousels_.getFile(page, id(1));  // pending
    std::string type;
    char* bytes = nullptr;
    unsigned int count = 0;
    for (const uintptr_t number : {uintptr_t(0), uintptr_t(1), uintptr_t(2)}) {
        EXPECT_EQ(carousels_.mimeType(id(number), type), DSMCC_UNKNOWN_ID);
        EXPECT_EQ(carousels_.read(id(number), &bytes, &count), DSMCC_UNKNOWN_ID);
    }
}

TEST_F(ServiceCarouselsTest, APendingFileThatIsClosedIsNotAnsweredAnyMore)
{
    feedGateway();
    carousels_.getFile(page, id(1));
    EXPECT_EQ(carousels_.close(id(1)), DSMCC_OK);
    feedFiles();
    EXPECT_EQ(answers(), Answers());
    EXPECT_TRUE(carousels_.giveUp().empty());
}

TEST_F(ServiceCarouselsTest, AnIdThatIsUsedAgainNamesTheNewFileAlone)
{
    feedGateway();
    carousels_.getFile("20fa.441.1.2a/a b.css", id(1));
    feedFiles();
    EXPECT_EQ(carousels_.getFile(page, id(1)), DSMCC_OK);
    EXPECT_EQ(answers(), Answers());
    EXPECT_EQ(read(id(1)), "<html>");
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/nothing", id(1)), DSMCC_ERROR);
    EXPECT_EQ(carousels_.close(id(1)), DSMCC_UNKNOWN_ID);
}

TEST_F(ServiceCarouselsTest, LeavingAServiceReturnsItsPendingFilesAndKeepsOpenOnesReadable)
{
    feedGateway();
    carousels_.getFile(page, id(1));
    EXPECT_EQ(carousels_.leave(), std::vector<void*>{id(1)});
    EXPECT_TRUE(carousels_.leave().empty());
    carousels_.join(service(), {carouselStream(carouselPid, carouselTag)});
    feedGateway();
    feedFiles();
    ASSERT_EQ(carousels_.getFile(page, id(2)), DSMCC_OK);
    carousels_.leave();
    EXPECT_EQ(read(id(2)), "<html>");
    EXPECT_EQ(carousels_.getFile(page, id(3)), DSMCC_ERROR);
}

TEST_F(ServiceCarouselsTest, AfterTheStreamsEndNothingIsPending)
{
    feedGateway();
    carousels_.getFile(page, id(1));
    EXPECT_EQ(carousels_.giveUp(), std::vector<void*>{id(1)});
    EXPECT_EQ(carousels_.getFile(page, id(2)), DSMCC_ERROR);
    EXPECT_TRUE(carousels_.giveUp().empty());
    carousels_.leave();
    carousels_.join(service(), {carouselStream(carouselPid, carouselTag)});
    EXPECT_EQ(carousels_.getFile(page, id(2)), DSMCC_PENDING);
}

TEST_F(ServiceCarouselsTest, APmtWithoutTheCarouselTakesItsFilesAway)
{
    feedGateway();
    carousels_.getFile(page, id(1));
    carousels_.join(service(), {carouselStream(otherPid, otherTag)});
    EXPECT_EQ(carousels_.pids(), std::set<uint16_t>{otherPid});
    EXPECT_EQ(answers(), (Answers{{1, false}}));
}

TEST_F(ServiceCarouselsTest, APmtThatKeepsTheCarouselKeepsWhatCame)
{
    feedGateway();
    carousels_.join(service(), {carouselStream(otherPid, carouselTag)});  // on another PID
    EXPECT_EQ(carousels_.pids(), std::set<uint16_t>{otherPid});
    EXPECT_EQ(carousels_.getFile(page, id(1)), DSMCC_PENDING);
    for (const Bytes& block : makeDdbs(2, 0, files_, 4000))
        feed(block, otherPid);
    EXPECT_EQ(answers(), (Answers{{1, true}}));
}

TEST_F(ServiceCarouselsTest, StreamsAreListenedToWhenTheCarouselRefersToThem)
{
    const auto streams = {carouselStream(carouselPid, carouselTag),
                          carouselStream(otherPid, otherTag, false)};
    carousels_.join(service(), streams);
    EXPECT_EQ(carousels_.pids(), (std::set<uint16_t>{carouselPid, otherPid}));
    const Bytes gateway = makeGateway("g", {{"far", fileIor("f", 1, otherTag)}});
    const Bytes far = makeFile("f", "far away");
    feed(makeDsi(makeIor({"srg", 1, "g"})));
    feed(makeDii(0x80000002, {{1, uint32_t(gateway.size())}}));
    for (const Bytes& block : makeDdbs(1, 0, gateway))
        feed(block);
    EXPECT_EQ(carousels_.pids(), (std::set<uint16_t>{carouselPid, otherPid}));
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/far", id(1)), DSMCC_PENDING);
    ModuleFields module = {1, uint32_t(far.size())};
    module.associationTag = otherTag;
    feed(makeDii(0x80000004, {module}), otherPid);
    for (const Bytes& block : makeDdbs(1, 0, far))
        feed(block, otherPid);
    EXPECT_EQ(answers(), (Answers{{1, true}}));
    EXPECT_EQ(carousels_.status().size(), 1u) << "the other stream begins no carousel";
}

TEST_F(ServiceCarouselsTest, AStreamWithoutIdentifierBeginsACarouselWithItsGateway)
{
    carousels_.leave();
    carousels_.join(service(), {carouselStream(carouselPid, carouselTag, false)});
    EXPECT_EQ(carousels_.pids(), std::set<uint16_t>{carouselPid});
    EXPECT_TRUE(carousels_.status().empty());
    feedFiles();  // before everything else
    feedGateway();
    EXPECT_EQ(carousels_.getFile(page, id(1)), DSMCC_OK);
    EXPECT_EQ(carousels_.status().at(0).componentTag, carouselTag);
    carousels_.join(service(), {carouselStream(otherPid, carouselTag, false)});
    EXPECT_EQ(carousels_.getFile(page, id(1)), DSMCC_OK) << "it stays the one that it was";
}

TEST_F(ServiceCarouselsTest, ACarouselThatHasNotBegunIsWaitedFor)
{
    carousels_.leave();
    carousels_.join(service(), {carouselStream(carouselPid, carouselTag, false)});
    EXPECT_EQ(carousels_.getFile(page, id(1)), DSMCC_PENDING);
    EXPECT_NE(out_.str().find("the carousel with component tag 0x2a has not begun"),
              std::string::npos);
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2b/index.html", id(2)), DSMCC_ERROR) << "no stream";
    feedFiles();
    EXPECT_EQ(answers(), Answers());
    feedGateway();
    EXPECT_EQ(answers(), (Answers{{1, true}}));
    EXPECT_EQ(read(id(1)), "<html>");
}

TEST_F(ServiceCarouselsTest, ACarouselThatDoesNotBeginIsWaitedForWhileItMay)
{
    const auto listed = {carouselStream(carouselPid, carouselTag, false)};
    carousels_.leave();
    carousels_.join(service(), listed);
    carousels_.getFile(page, id(1));
    carousels_.join(service(), {carouselStream(otherPid, otherTag)});
    EXPECT_EQ(answers(), (Answers{{1, false}})) << "the PMT lists its stream no more";
    carousels_.join(service(), listed);
    carousels_.getFile(page, id(2));
    EXPECT_EQ(carousels_.leave(), std::vector<void*>{id(2)}) << "another service is tuned to";
    carousels_.join(service(), listed);
    carousels_.getFile(page, id(3));
    EXPECT_EQ(carousels_.giveUp(), std::vector<void*>{id(3)}) << "the stream has ended";
    EXPECT_EQ(carousels_.getFile(page, id(4)), DSMCC_ERROR);
}

TEST_F(ServiceCarouselsTest, AStreamThatIsReferredToLateHasBeenKept)
{
    carousels_.join(service(), {carouselStream(carouselPid, carouselTag),
                                carouselStream(otherPid, otherTag, false)});
    const Bytes gateway = makeGateway("g", {{"far", fileIor("f", 1, otherTag)}});
    const Bytes far = makeFile("f", "far away");
    ModuleFields module = {1, uint32_t(far.size())};
    module.associationTag = otherTag;
    for (const Bytes& block : makeDdbs(1, 0, far))
        feed(block, otherPid);
    feed(makeDii(0x80000004, {module}), otherPid);
    feed(makeDsi(makeIor({"srg", 1, "g"})));
    feed(makeDii(0x80000002, {{1, uint32_t(gateway.size())}}));
    for (const Bytes& block : makeDdbs(1, 0, gateway))
        feed(block);
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/far", id(1)), DSMCC_OK);
    EXPECT_EQ(read(id(1)), "far away");
}

TEST_F(ServiceCarouselsTest, AStreamIsFollowedByItsAssociationTag)
{
    StreamDescription other = carouselStream(otherPid, otherTag, false);
    other.associationTags = {0x012B};
    carousels_.join(service(), {carouselStream(carouselPid, carouselTag), other});
    IorFields reference = {"fil", 1, "f", 0x012B};
    reference.transactionId = 0x80000004;
    const Bytes gateway = makeGateway("g", {{"far", makeIor(reference)}});
    const Bytes far = makeFile("f", "far away");
    feed(makeDsi(makeIor({"srg", 1, "g"})));
    feed(makeDii(0x80000002, {{1, uint32_t(gateway.size())}}));
    for (const Bytes& block : makeDdbs(1, 0, gateway))
        feed(block);
    ModuleFields module = {1, uint32_t(far.size())};
    module.associationTag = 0x012B;
    feed(makeDii(0x80000004, {module}), otherPid);
    for (const Bytes& block : makeDdbs(1, 0, far))
        feed(block, otherPid);
    EXPECT_EQ(carousels_.getFile("20fa.441.1.2a/far", id(1)), DSMCC_OK);
}

TEST_F(ServiceCarouselsTest, WhatIsNobodysTakesAQuarterOfTheMemory)
{
    CarouselLimits limits;
    limits.memory = 100000;
    ServiceCarousels carousels(limits, log_);
    carousels.join(service(), {carouselStream(otherPid, otherTag, false),
                               carouselStream(carouselPid, carouselTag)});
    for (unsigned module = 0; module < 100; ++module)
        carousels.feed(otherPid, makeDdb(module, 0, 0, Bytes(1000, 1)));
    const size_t held = carousels.status().at(0).progress.memoryUsed;
    EXPECT_LE(held, limits.memory / 4);
    EXPECT_GT(held, limits.memory / 8);
    EXPECT_GT(carousels.sectionsDropped(), 70u);
    EXPECT_LT(carousels.sectionsDropped(), 100u);
    carousels.leave();
    carousels.join(service(), {carouselStream(carouselPid, carouselTag)});
    EXPECT_EQ(carousels.status().at(0).progress.memoryUsed, 0u);
}

TEST_F(ServiceCarouselsTest, AStreamCanBeReadWithoutAnyTable)
{
    ServiceCarousels carousels({}, log_, {{carouselPid, std::nullopt}, {otherPid, uint8_t(7)}});
    EXPECT_EQ(carousels.pids(), (std::set<uint16_t>{carouselPid, otherPid}));
    EXPECT_EQ(carousels.pidsWithoutCarousel(), (std::vector<uint16_t>{carouselPid, otherPid}));
    const auto feedCarousel = [&carousels](uint16_t pid, unsigned tag) {
        IorFields file = {"fil", 1, "f", tag};
        const Bytes module = makeGateway("g", {{"f", makeIor(file)}}) + makeFile("f", "x");
        ModuleFields announced = {1, uint32_t(module.size())};
        announced.associationTag = tag;
        std::vector<Bytes> sections = makeDdbs(1, 0, module);
        sections.push_back(makeDii(0x80000002, {announced}));
        sections.push_back(makeDsi(makeIor({"srg", 1, "g", tag})));
        for (const Bytes& section : sections)
            carousels.feed(pid, section);
    };
    feedCarousel(carouselPid, carouselTag);
    EXPECT_EQ(carousels.pidsWithoutCarousel(), std::vector<uint16_t>{otherPid});
    ASSERT_EQ(carousels.status().size(), 1u);
    EXPECT_EQ(carousels.status()[0].componentTag, carouselTag) << "as its gateway calls it";
    EXPECT_TRUE(carousels.hasFile("f"));
    feedCarousel(otherPid, 0x55);
    ASSERT_EQ(carousels.status().size(), 2u);
    EXPECT_EQ(carousels.status()[0].componentTag, 7) << "as it was asked for";
    EXPECT_EQ(carousels.status()[0].listing.files.size(), 1u);
    carousels.join(service(), {});
    carousels.leave();
    EXPECT_TRUE(carousels.hasFile("f")) << "whatever service is tuned to";
}

TEST_F(ServiceCarouselsTest, AStreamThatThePmtGivesNoTagCanBeReadUnderOne)
{
    ServiceCarousels carousels({}, log_, {{carouselPid, carouselTag}});
    StreamDescription listed = carouselStream(carouselPid, carouselTag);
    listed.componentTag.reset();
    ServiceCarousels unaware({}, log_);
    unaware.join(service(), {listed});
    EXPECT_EQ(unaware.pidsNotRead(), std::set<uint16_t>{carouselPid});
    EXPECT_TRUE(unaware.pids().empty());
    carousels.join(service(), {listed});
    EXPECT_TRUE(carousels.pidsNotRead().empty());
    const Bytes gateway = makeGateway("g", {{"f", fileIor("f", 1)}}) + makeFile("f", "x");
    for (const Bytes& block : makeDdbs(1, 0, gateway))
        carousels.feed(carouselPid, block);
    carousels.join(service(), {listed});
    carousels.feed(carouselPid, makeDii(0x80000002, {{1, uint32_t(gateway.size())}}));
    carousels.feed(carouselPid, makeDsi(makeIor({"srg", 1, "g"})));
    EXPECT_EQ(carousels.getFile("20fa.441.1.2a/f", id(1)), DSMCC_OK);
}

TEST_F(ServiceCarouselsTest, AssociationTagsOfFormerTablesAreForgotten)
{
    const auto joinWithTagsFrom = [this](unsigned first) {
        std::vector<StreamDescription> streams;
        for (unsigned index = 0; index < 64; ++index)
            streams.push_back(carouselStream(uint16_t(0x300 + index), uint8_t(index)));
        for (unsigned tag = first; tag < first + 200; ++tag)
            streams[0].associationTags.push_back(uint16_t(tag));
        carousels_.join(service(), streams);
    };
    joinWithTagsFrom(0x1000);
    const size_t before = vesta::test::heapInUse();
    for (unsigned table = 1; table < 20; ++table)
        joinWithTagsFrom(0x1000 + table * 200);
    EXPECT_LT(vesta::test::heapInUse(), before + 100 * 1024);
}

TEST_F(ServiceCarouselsTest, ReferencesTakeNoMoreWhateverIsReferredTo)
{
    size_t before = 0;
    feed(makeDsi(makeIor({"srg", 1, "g"})));
    for (unsigned version = 0; version < 30; ++version) {
        std::vector<DirectoryEntry> entries;
        for (unsigned number = 0; number < 1000; ++number)
            entries.push_back({std::to_string(10000 + number),
                               fileIor("f", 1, 0x1000 + version * 1000 + number)});
        const Bytes gateway = makeGateway("g", entries);
        feed(makeDii(0x80000002 + (version << 16), {{1, uint32_t(gateway.size()), version}}, 4000));
        for (const Bytes& block : makeDdbs(1, version, gateway, 4000))
            feed(block);
        ASSERT_EQ(carousels_.status().at(0).progress.modulesComplete, 1u);
        if (version == 0)
            before = vesta::test::heapInUse();
    }
    EXPECT_LT(vesta::test::heapInUse(), before + 300 * 1024);
}

TEST_F(ServiceCarouselsTest, BlocksThatNothingAnnouncedTakeHalfOfTheMemoryTogetherAndGiveWay)
{
    CarouselLimits limits;
    limits.memory = 100 * 1024;
    ServiceCarousels carousels(limits, log_);
    carousels.join(service(),
                   {carouselStream(carouselPid, carouselTag), carouselStream(otherPid, otherTag)});
    for (unsigned module = 10; module < 100; ++module) {
        carousels.feed(otherPid, makeDdb(module, 0, 0, Bytes(1000, 1)));
        carousels.feed(carouselPid, makeDdb(module, 0, 0, Bytes(1000, 1)));
    }
    const size_t early = carousels.status().at(0).progress.memoryUsed;
    EXPECT_LE(early, limits.memory / 2);
    EXPECT_GT(early, limits.memory / 4);
    const Bytes gateway =
        makeGateway("g", {{"f", fileIor("f", 1)}}) + makeFile("f", std::string(70000, 'x'));
    carousels.feed(carouselPid, makeDsi(makeIor({"srg", 1, "g"})));
    carousels.feed(carouselPid, makeDii(0x80000002, {{1, uint32_t(gateway.size())}}, 4000));
    for (const Bytes& block : makeDdbs(1, 0, gateway, 4000))
        carousels.feed(carouselPid, block);
    EXPECT_TRUE(carousels.hasFile("f"));
}

TEST_F(ServiceCarouselsTest, AStreamOfThePmtOnWhichNoCarouselBeganIsNamed)
{
    carousels_.join(service(), {carouselStream(carouselPid, carouselTag),
                                carouselStream(otherPid, otherTag, false)});
    EXPECT_EQ(carousels_.pidsWithoutCarousel(), std::vector<uint16_t>{otherPid});
    const Bytes gateway = makeGateway("g", {{"far", fileIor("f", 1, otherTag)}});
    feed(makeDsi(makeIor({"srg", 1, "g"})));
    feed(makeDii(0x80000002, {{1, uint32_t(gateway.size())}}));
    for (const Bytes& block : makeDdbs(1, 0, gateway))
        feed(block);
    EXPECT_TRUE(carousels_.pidsWithoutCarousel().empty()) << "it belongs to the other one";
}

TEST_F(ServiceCarouselsTest, AllCarouselsTogetherHaveOneLimit)
{
    CarouselLimits limits;
    limits.memory = 40000;
    ServiceCarousels carousels(limits, log_);
    std::vector<StreamDescription> streams;
    const unsigned count = 38;
    for (unsigned index = 0; index < count; ++index)
        streams.push_back(carouselStream(uint16_t(0x300 + index), uint8_t(index)));
    carousels.join(service(), streams);
    const size_t before = vesta::test::heapInUse();
    const Bytes gateway = makeGateway("g", {}) + makeFile("f", std::string(10000, 'x'));
    for (const StreamDescription& stream : streams) {
        IorFields ior = {"srg", 1, "g"};
        ior.associationTag = *stream.componentTag;
        ModuleFields module = {1, uint32_t(gateway.size())};
        module.associationTag = *stream.componentTag;
        carousels.feed(stream.pid, makeDsi(makeIor(ior)));
        carousels.feed(stream.pid, makeDii(0x80000002, {module}, 4000));
        for (const Bytes& block : makeDdbs(1, 0, gateway, 4000))
            carousels.feed(stream.pid, block);
    }
    const size_t bytesForLists = count * 1024;  // and for the messages
    EXPECT_LT(vesta::test::heapInUse(), before + limits.memory + bytesForLists);
    size_t complete = 0;
    size_t refused = 0;
    for (const ServiceCarousels::Status& status : carousels.status()) {
        complete += status.progress.modulesComplete;
        refused += status.progress.modulesRefused;
        EXPECT_LE(status.progress.memoryUsed, limits.memory);
    }
    EXPECT_EQ(complete, 3u);
    EXPECT_EQ(refused, count - complete);
    carousels.leave();
    carousels.join(service(), {carouselStream(carouselPid, carouselTag)});
    EXPECT_EQ(carousels.status().at(0).progress.memoryUsed, 0u);
}

TEST_F(ServiceCarouselsTest, AllCarouselsTogetherHaveOneLimitOfModules)
{
    CarouselLimits limits;
    limits.modules = 5;
    ServiceCarousels carousels(limits, log_);
    carousels.join(service(),
                   {carouselStream(carouselPid, carouselTag), carouselStream(otherPid, otherTag)});
    carousels.feed(carouselPid, makeDii(0x80000002, {{1, 10}, {2, 10}, {3, 10}}));
    carousels.feed(otherPid, makeDii(0x80000002, {{1, 10}, {2, 10}, {3, 10}}));
    const auto known = [&carousels](size_t index) {
        return carousels.status().at(index).progress.modulesKnown;
    };
    EXPECT_EQ(known(0), 3u);
    EXPECT_EQ(known(1), 0u);
    carousels.feed(carouselPid, makeDii(0x80010002, {{1, 10}}));
    carousels.feed(otherPid, makeDii(0x80010002, {{1, 10}, {2, 10}, {3, 10}}));
    EXPECT_EQ(known(0) + known(1), 4u);
}

TEST_F(ServiceCarouselsTest, PendingFilesAreLookedForWhenSomethingNewHasComeAlone)
{
    feedGateway();
    const unsigned files = 1000;
    for (unsigned number = 1; number <= files; ++number)
        carousels_.getFile(page, id(number));
    answers();
    const uint64_t before = carousels_.lookups();
    const std::vector<Bytes> blocks = makeDdbs(2, 0, files_, 4000);
    ASSERT_GT(blocks.size(), 100u);
    for (size_t index = 0; index + 1 < blocks.size(); ++index) {
        feed(blocks[index]);
        EXPECT_TRUE(answers().empty());
    }
    EXPECT_LE(carousels_.lookups() - before, files) << "blocks in between change nothing";
    feed(blocks.back());
    size_t answered = 0;
    for (unsigned turn = 0; turn < files / 64 + 1; ++turn)
        answered += answers().size();
    EXPECT_EQ(answered, files) << "each has had its turn";
    EXPECT_EQ(answers(), Answers());
}

TEST_F(ServiceCarouselsTest, SoManyPendingFilesAreLookedForAtATimeWhateverComes)
{
    feedGateway();
    for (unsigned number = 1; number <= 1000; ++number)
        carousels_.getFile(page, id(number));
    const unsigned changes = 100;
    for (unsigned change = 1; change <= changes; ++change) {
        feed(makeDii(0x80000006 | (change << 16), {{9, 10, change}}));
        EXPECT_TRUE(answers().empty());
    }
    EXPECT_LE(carousels_.lookups(), 64u * changes);
}

TEST_F(ServiceCarouselsTest, FilesAreFoundWhereTheNetworkWasNotKnown)
{
    feedGateway();
    EXPECT_EQ(carousels_.getFile("0.441.1.2a/index.html", id(1)), DSMCC_PENDING);
    EXPECT_EQ(carousels_.getFile("20fa..1.2a/index.html", id(2)), DSMCC_PENDING);
}

TEST_F(ServiceCarouselsTest, StatusListsFilesWithTheirSizes)
{
    feedGateway();
    EXPECT_FALSE(carousels_.hasFile("index.html"));
    feedFiles();
    EXPECT_TRUE(carousels_.hasFile("index.html"));
    const auto status = carousels_.status();
    ASSERT_EQ(status.size(), 1u);
    EXPECT_EQ(status[0].componentTag, carouselTag);
    EXPECT_EQ(status[0].progress.modulesComplete, 2u);
    EXPECT_EQ(status[0].listing.files.size(), 5u);
    EXPECT_NE(out_.str().find("carousel 0x2a: 2 of 2 modules"), std::string::npos);
}

}  // namespace
}  // namespace receiver
