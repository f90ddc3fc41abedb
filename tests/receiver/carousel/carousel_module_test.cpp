#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <vector>

#include "foundation/sanitizers.h"
#include "receiver/carousel/carousel_module.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/stream_builder.h"
#include "tests/support/heap_use.h"

namespace receiver {
namespace {

// A carousel whose gateway, module 1, lists files "a" to "c" in modules 2 to 4.
class CarouselModuleTest : public ::testing::Test {
protected:
    void begin(const CarouselLimits& limits = {})
    {
        carousel_ = std::make_unique<ObjectCarousel>(
            limits, [this](const std::string& text) { problems_.push_back(text); });
        const Bytes gateway = makeGateway("g", {{"a", makeIor({"fil", 2, "f"})},
                                                {"b", makeIor({"fil", 3, "f"})},
                                                {"c", makeIor({"fil", 4, "f"})}});
        IorFields gatewayIor = {"srg", 1, "g"};
        gatewayIor.transactionId = 0x80000010;
        feed(*carousel_, makeDsi(makeIor(gatewayIor)));
        feed(*carousel_, makeDii(0x80000010, {{1, uint32_t(gateway.size())}}));
        feed(*carousel_, makeDdbs(1, 0, gateway));
    }

    // What becomes of "a" when module 2 is announced and broadcast like this.
    Lookup broadcast(const ModuleFields& announced, const Bytes& module, unsigned blockSize = 100)
    {
        feed(*carousel_, makeDii(0x80000002, {announced}, blockSize));
        feed(*carousel_, makeDdbs(announced.moduleId, announced.version, module, blockSize));
        return carousel_->find("a");
    }

    void expectRefused(const ModuleFields& announced, const Bytes& module, const char* why)
    {
        problems_.clear();
        begin();
        const size_t before = carousel_->progress().memoryUsed;
        EXPECT_EQ(broadcast(announced, module).result, Lookup::Result::Error) << why;
        ASSERT_EQ(problems_.size(), 1u) << why;
        EXPECT_NE(problems_[0].find(why), std::string::npos) << problems_[0];
        EXPECT_NE(problems_[0].find("carousel 42, module 2 version 0 refused"), std::string::npos);
        EXPECT_EQ(carousel_->progress().memoryUsed, before) << why;
    }

    std::vector<std::string> problems_;
    std::unique_ptr<ObjectCarousel> carousel_;
};

ModuleFields compressedModule(const Bytes& packed, size_t originalSize)
{
    ModuleFields module = {2, uint32_t(packed.size())};
    module.originalSize = uint32_t(originalSize);
    return module;
}

TEST_F(CarouselModuleTest, CompressedModulesAreUnpacked)
{
    begin();
    const Bytes file = makeFile("f", std::string(5000, 'z'));
    const Bytes packed = deflated(file);
    ASSERT_LT(packed.size(), 200u);
    EXPECT_EQ(textOf(broadcast(compressedModule(packed, file.size()), packed).file),
              std::string(5000, 'z'));
    EXPECT_TRUE(problems_.empty());
}

TEST_F(CarouselModuleTest, WhatDoesNotUnpackToTheBytesAnnouncedIsRefused)
{
    const Bytes file = makeFile("f", std::string(5000, 'z'));
    const Bytes packed = deflated(file);
    const char* why = "does not unpack to the bytes announced";
    expectRefused(compressedModule(packed, file.size() - 1), packed, why);
    expectRefused(compressedModule(packed, file.size() + 1), packed, why);
    expectRefused(compressedModule(packed, 0), packed, why);
    expectRefused(compressedModule(file, file.size()), file, why);
    Bytes cut = packed;
    cut.pop_back();
    expectRefused(compressedModule(cut, file.size()), cut, why);
    Bytes wrong = packed;
    wrong[packed.size() / 2] ^= 0xFF;
    expectRefused(compressedModule(wrong, file.size()), wrong, why);
}

TEST_F(CarouselModuleTest, ABombIsRefusedBeforeItUnpacks)
{
    const Bytes bomb = deflated(Bytes(20 * 1024 * 1024, 0));
    ASSERT_LT(bomb.size(), 64u * 1024);
    expectRefused(compressedModule(bomb, 20 * 1024 * 1024), bomb,
                  "it unpacks to 20971520 bytes, more than the limit of 16777216");
    expectRefused(compressedModule(bomb, 0xFFFFFFFF), bomb, "it unpacks to 4294967295 bytes");
    expectRefused(compressedModule(bomb, 1000), bomb, "does not unpack to the bytes announced");
}

TEST_F(CarouselModuleTest, ARefusedModuleKeepsNoBytes)
{
    begin();
    const Bytes rubbish(20000, 0xEE);
    const size_t before = vesta::test::heapInUse();
    EXPECT_EQ(broadcast(compressedModule(rubbish, 1024 * 1024), rubbish, 4000).result,
              Lookup::Result::Error);
    EXPECT_LT(vesta::test::heapInUse(), before + 10000);
}

TEST_F(CarouselModuleTest, ASizeThatNoDeflatedBytesReachIsRefusedWhenItIsAnnounced)
{
    begin();
    ModuleFields module = {2, 100};
    module.originalSize = 16 * 1024 * 1024;
    feed(*carousel_, makeDii(0x80000002, {module}));
    ASSERT_EQ(problems_.size(), 1u);
    EXPECT_NE(problems_[0].find("100 bytes cannot unpack to 16777216"), std::string::npos)
        << problems_[0];
}

TEST_F(CarouselModuleTest, TheBestPackedModuleIsUnpacked)
{
    begin();
    const Bytes file = makeFile("f", std::string(8 * 1024 * 1024, 'z'));
    const Bytes packed = deflated(file);
    ASSERT_GT(file.size() / packed.size(), 900u);
    EXPECT_EQ(broadcast(compressedModule(packed, file.size()), packed, 4000).file.size,
              8u * 1024 * 1024);
    EXPECT_TRUE(problems_.empty());
}

long pagesTouched()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

TEST_F(CarouselModuleTest, MemoryIsTouchedAsFarAsBytesCame)
{
    if (VESTA_ADDRESS_SANITIZER || VESTA_THREAD_SANITIZER)
        GTEST_SKIP() << "a sanitizer touches all memory that it gives";
    const long pages = 16L * 1024 * 1024 / 4096;
    begin();
    feed(*carousel_, makeDii(0x80000002, {{2, 16 * 1024 * 1024}}, 4000));
    long before = pagesTouched();
    feed(*carousel_, makeDdb(2, 0, 4194, Bytes(16 * 1024 * 1024 - 4194 * 4000, 1)));
    EXPECT_LT(pagesTouched() - before, pages / 4) << "for one block, the last";
    const Bytes rubbish(20000, 0xEE);
    before = pagesTouched();
    EXPECT_EQ(broadcast(compressedModule(rubbish, 16 * 1024 * 1024), rubbish, 4000).result,
              Lookup::Result::Error);
    EXPECT_LT(pagesTouched() - before, pages / 4) << "for what does not unpack";
}

TEST_F(CarouselModuleTest, AnUnknownCompressionIsRefused)
{
    const Bytes packed = deflated(makeFile("f", "x"));
    ModuleFields module = compressedModule(packed, 100);
    module.compressionMethod = 0x01;
    expectRefused(module, packed, "compression method is unknown");
}

TEST_F(CarouselModuleTest, LyingSizesAreRefusedWithoutTakingMemory)
{
    expectRefused({2, 16 * 1024 * 1024 + 1}, {}, "it has 16777217 bytes");
    expectRefused({2, 0xFFFFFFFF}, {}, "it has 4294967295 bytes");
    expectRefused({2, 0}, {}, "it is empty");
}

TEST_F(CarouselModuleTest, BlocksMustHaveASizeAndBeCountable)
{
    begin();
    feed(*carousel_, makeDii(0x80000002, {{2, 100}}, 0));
    EXPECT_NE(problems_.at(0).find("blocks have no size"), std::string::npos);
    feed(*carousel_, makeDii(0x80010002, {{2, 65536}}, 1));
    EXPECT_EQ(problems_.size(), 1u);
    feed(*carousel_, makeDii(0x80020002, {{2, 65537}}, 1));
    EXPECT_NE(problems_.at(1).find("more blocks than can be numbered"), std::string::npos);
}

TEST_F(CarouselModuleTest, ABigModuleThatIsOnlyAnnouncedTakesNoMemory)
{
    begin();
    const size_t before = carousel_->progress().memoryUsed;
    feed(*carousel_, makeDii(0x80000002, {{2, 16 * 1024 * 1024}}, 4000));
    EXPECT_EQ(carousel_->progress().memoryUsed, before);
    EXPECT_TRUE(problems_.empty());
}

TEST_F(CarouselModuleTest, BlocksThatDoNotFitAreIgnored)
{
    begin();
    const Bytes file = makeFile("f", std::string(200, 'x'));
    const size_t lastSize = file.size() % 100;
    ASSERT_NE(lastSize, 0u);
    feed(*carousel_, makeDii(0x80000002, {{2, uint32_t(file.size())}}));
    feed(*carousel_, {makeDdb(2, 0, 0, Bytes(99, 1)), makeDdb(2, 0, 0, Bytes(101, 1)),
                      makeDdb(2, 0, 0, {}), makeDdb(2, 0, 2, Bytes(lastSize + 1, 1)),
                      makeDdb(2, 0, 2, Bytes(lastSize - 1, 1)), makeDdb(2, 0, 3, Bytes(100, 1)),
                      makeDdb(2, 0, 0xFFFF, Bytes(100, 1)), makeDdb(2, 1, 0, Bytes(100, 1)),
                      makeDdb(3, 0, 0, Bytes(100, 1)), makeDdb(2, 0, 0, Bytes(100, 1), 43)});
    EXPECT_EQ(carousel_->find("a").reason, "module 2 has 0 of 3 blocks");
    feed(*carousel_, makeDdbs(2, 0, file));
    EXPECT_EQ(textOf(carousel_->find("a").file), std::string(200, 'x'));
}

TEST_F(CarouselModuleTest, ALastBlockOfAnotherLengthIsSaidOnce)
{
    begin();
    const Bytes file = makeFile("f", std::string(200, 'x'));
    const std::string rest = std::to_string(file.size() % 100);
    feed(*carousel_, makeDii(0x80000002, {{2, uint32_t(file.size())}}));
    feed(*carousel_, {makeDdb(2, 0, 2, Bytes(100, 1)), makeDdb(2, 0, 2, Bytes(100, 1))});
    ASSERT_EQ(problems_.size(), 1u);
    EXPECT_NE(
        problems_[0].find("module 2 version 0 is damaged: its last block has 100 bytes where " +
                          rest + " were announced"),
        std::string::npos)
        << problems_[0];
    feed(*carousel_, makeDdbs(2, 0, file));
    EXPECT_EQ(carousel_->find("a").result, Lookup::Result::Ready);
    EXPECT_EQ(problems_.size(), 1u);
}

TEST_F(CarouselModuleTest, ABlockInTheMiddleOfAnotherLengthIsSaid)
{
    begin();
    feed(*carousel_, makeDii(0x80000002, {{2, 250}}));
    feed(*carousel_, makeDdb(2, 0, 1, Bytes(99, 1)));
    ASSERT_EQ(problems_.size(), 1u);
    EXPECT_NE(problems_[0].find("a block has 99 bytes where 100 were announced"),
              std::string::npos);
}

TEST_F(CarouselModuleTest, TheCarouselsMemoryIsBounded)
{
    CarouselLimits limits;
    limits.memory = 24 * 1024;
    begin(limits);
    const Bytes file = makeFile("f", std::string(10000, 'x'));
    const uint32_t size = uint32_t(file.size());
    const size_t before = vesta::test::heapInUse();
    feed(*carousel_, makeDii(0x80000002, {{2, size}, {3, size}, {4, size}}));
    for (const unsigned module : {2U, 3U, 4U})
        feed(*carousel_, makeDdbs(module, 0, file));
    EXPECT_EQ(carousel_->find("a").result, Lookup::Result::Ready);
    EXPECT_EQ(carousel_->find("c").result, Lookup::Result::Error);
    EXPECT_LE(carousel_->progress().memoryUsed, limits.memory);
    EXPECT_LT(vesta::test::heapInUse(), before + limits.memory + 2048);
    ASSERT_EQ(problems_.size(), 1u) << "one message for all its blocks";
    EXPECT_NE(problems_[0].find("more than the limit of 24576"), std::string::npos);

    feed(*carousel_, makeDii(0x80010003, {{4, size, 1}}));
    feed(*carousel_, makeDdbs(4, 1, file));
    EXPECT_EQ(carousel_->find("c").result, Lookup::Result::Ready) << "the others made room";
}

TEST_F(CarouselModuleTest, ManySmallObjectsCountAsMemoryToo)
{
    CarouselLimits limits;
    limits.memory = 256 * 1024;
    begin(limits);
    Bytes files;
    for (int i = 0; i < 1000; ++i)
        files = files + makeFile(std::to_string(i), "");
    ASSERT_LT(files.size(), 64u * 1024);
    EXPECT_EQ(broadcast({2, uint32_t(files.size())}, files).result, Lookup::Result::Error);
    ASSERT_EQ(problems_.size(), 1u);
    EXPECT_NE(problems_[0].find("objects do not fit"), std::string::npos);
}

TEST_F(CarouselModuleTest, MoreModulesOrListsThanAllowedAreRefusedWithOneMessage)
{
    CarouselLimits limits;
    limits.modules = 3;
    limits.infoIndications = 3;
    begin(limits);
    feed(*carousel_, makeDii(0x80000002, {{2, 10}, {3, 10}, {4, 10}}));
    EXPECT_EQ(carousel_->progress().modulesKnown, 1u);
    feed(*carousel_, makeDii(0x80000002, {{2, 10}, {3, 10}}));
    EXPECT_EQ(carousel_->progress().modulesKnown, 3u);
    feed(*carousel_, makeDii(0x80000004, {}));
    feed(*carousel_, makeDii(0x80000006, {}));
    feed(*carousel_, makeDii(0x80010006, {}));
    ASSERT_EQ(problems_.size(), 1u);
    EXPECT_NE(problems_[0].find("more than 3 modules or 3 lists"), std::string::npos);
}

TEST_F(CarouselModuleTest, RubbishAfterTheObjectsIsReportedAndTheObjectsStay)
{
    begin();
    const Bytes module = makeFile("f", "x") + Bytes(30, 0xEE);
    EXPECT_EQ(textOf(broadcast({2, uint32_t(module.size())}, module).file), "x");
    ASSERT_EQ(problems_.size(), 1u);
    EXPECT_NE(problems_[0].find("module 2 version 0 is damaged"), std::string::npos);
}

TEST_F(CarouselModuleTest, OfEqualKeysTheFirstObjectCounts)
{
    begin();
    const Bytes module = makeFile("f", "first") + makeFile("f", "second");
    EXPECT_EQ(textOf(broadcast({2, uint32_t(module.size())}, module).file), "first");
}

}  // namespace
}  // namespace receiver
