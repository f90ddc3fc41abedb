#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "receiver/carousel/biop_objects.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

constexpr size_t plenty = 1024 * 1024;
constexpr size_t messageSizeAt = 8;
constexpr uint32_t biopTag = 0x49534F06;

// Reads from a heap block of exactly the module's size.
BiopModule read(const Bytes& module, size_t budget = plenty)
{
    const auto block = std::make_unique<unsigned char[]>(module.size());
    std::copy(module.begin(), module.end(), block.get());
    return readBiopModule(block.get(), module.size(), budget);
}

ObjectReference readReference(const Bytes& ior, bool* fits = nullptr)
{
    const auto block = std::make_unique<unsigned char[]>(ior.size());
    std::copy(ior.begin(), ior.end(), block.get());
    VestaHbbTV::ByteReader reader(block.get(), ior.size());
    ObjectReference reference = readObjectReference(reader);
    if (fits)
        *fits = reader.ok() && reader.empty();
    return reference;
}

std::vector<Bytes> oneOfEach()
{
    return {makeFile("f", {1, 2, 3}, "text/html"),
            makeDirectory("d", {{"a", makeIor({"fil", 1, "f"})}, {"b", makeIor({})}}),
            makeGateway("g", {{"c", makeIor({"DSM::Directory", 9, "abcd"})}}),
            makeStreamEvents("s", {{"one", 1}, {"two", 2}}),
            makeStreamEvents("t", {}, std::string("str\0", 4))};
}

TEST(BiopObjects, EveryKindOfObjectIsReadUnderItsShortAndLongName)
{
    const std::pair<std::string, ObjectKind> kinds[] = {
        {std::string("fil\0", 4), ObjectKind::File},
        {"DSM::File", ObjectKind::File},
        {std::string("DSM::File\0", 10), ObjectKind::File}};
    for (const auto& [name, kind] : kinds) {
        const BiopModule module = read(makeFile("f", {1}, "", name));
        ASSERT_EQ(module.objects.size(), 1u) << name;
        EXPECT_EQ(module.objects[0].kind, kind) << name;
        EXPECT_EQ(module.objects[0].contentSize, 1u);
    }
    for (const char* name : {"dir", "DSM::Directory"})
        EXPECT_EQ(read(makeDirectory("d", {}, name)).objects.at(0).kind, ObjectKind::Directory);
    for (const char* name : {"srg", "DSM::ServiceGateway"})
        EXPECT_EQ(read(makeDirectory("d", {}, name)).objects.at(0).kind,
                  ObjectKind::ServiceGateway);
    for (const char* name : {"ste", "BIOP::StreamEvent", "DSM::StreamEvent"})
        EXPECT_EQ(read(makeStreamEvents("s", {}, name)).objects.at(0).kind,
                  ObjectKind::StreamEvent);
    for (const char* name : {"str", "DSM::Stream"})
        EXPECT_EQ(read(makeStreamEvents("s", {}, name)).objects.at(0).kind, ObjectKind::Stream);
    EXPECT_TRUE(read(makeFile("f", {1}, "", "FIL")).objects.empty());
    EXPECT_TRUE(read(makeFile("f", {1}, "", "")).objects.empty());
}

std::vector<std::string> eventNames(const Bytes& object)
{
    std::vector<std::string> names;
    const BiopModule module = read(object);
    for (const NamedEvent& event : module.objects.at(0).events)
        names.push_back(event.name + "=" + std::to_string(event.id));
    return names;
}

TEST(BiopObjects, StreamEventsAreReadWithMicrosecondsOfTwoBytesAndOfFour)
{
    const std::string kind("ste\0", 4);
    const std::vector<std::string> wanted = {"goal=7", "end=4660"};
    for (const size_t bytes : {size_t(2), size_t(4)})
        EXPECT_EQ(eventNames(makeStreamEvents("s", {{"goal", 7}, {"end", 0x1234}}, kind, bytes)),
                  wanted)
            << bytes;
    for (const size_t bytes : {size_t(2), size_t(4)})
        EXPECT_TRUE(eventNames(makeStreamEvents("s", {}, kind, bytes)).empty()) << bytes;
}

TEST(BiopObjects, EventNamesThatFitNeitherReadingAreReadAsTheDocumentPrints)
{
    const std::string kind("ste\0", 4);
    const auto objectWith = [&](unsigned names, unsigned ids) {
        ByteWriter info, body;
        info.u8(0).fill(9, 0).u16(names).with8(std::string("a")).with8(std::string("b"));
        body.u8(0).u8(ids).u16(1).u16(2).u16(3);
        return makeBiopMessage("s", kind, info, body);
    };
    EXPECT_EQ(eventNames(objectWith(2, 3)), (std::vector<std::string>{"a=1", "b=2"}));
    EXPECT_EQ(eventNames(objectWith(2, 1)), std::vector<std::string>{"a=1"});
    EXPECT_TRUE(read(objectWith(3, 3)).objects.empty()) << "a name is missing";
}

TEST(BiopObjects, AModuleCutAtAnyLengthKeepsTheObjectsBefore)
{
    Bytes module;
    std::vector<size_t> ends;
    for (const Bytes& object : oneOfEach()) {
        module = module + object;
        ends.push_back(module.size());
    }
    EXPECT_EQ(read(module).objects.size(), ends.size());
    for (size_t size = 0; size < module.size(); ++size) {
        const BiopModule result =
            read(Bytes(module.begin(), module.begin() + std::ptrdiff_t(size)));
        const auto whole =
            std::count_if(ends.begin(), ends.end(), [=](size_t end) { return end <= size; });
        EXPECT_EQ(result.objects.size(), size_t(whole)) << size;
        const bool atAnEnd = size == 0 || std::find(ends.begin(), ends.end(), size) != ends.end();
        EXPECT_EQ(result.problem.empty(), atAnEnd) << size;
    }
}

// The message's size agrees with what is there; the object inside is too short.
TEST(BiopObjects, AnObjectCutAtAnyLengthIsLeftOutAndTheNextIsRead)
{
    const Bytes next = makeFile("next", Bytes{9});
    const size_t headerSize = messageSizeAt + 4;
    for (const Bytes& object : oneOfEach()) {
        for (size_t size = headerSize; size < object.size(); ++size) {
            Bytes cut(object.begin(), object.begin() + std::ptrdiff_t(size));
            cut[messageSizeAt + 2] = static_cast<unsigned char>((size - headerSize) >> 8);
            cut[messageSizeAt + 3] = static_cast<unsigned char>((size - headerSize) & 0xFF);
            const BiopModule module = read(cut + next);
            ASSERT_EQ(module.objects.size(), 1u) << size;
            EXPECT_EQ(module.objects[0].key, "next");
            EXPECT_TRUE(module.problem.empty());
        }
    }
}

TEST(BiopObjects, EveryByteMayBeWrong)
{
    for (const Bytes& object : oneOfEach())
        for (size_t at = 0; at < object.size(); ++at)
            for (const unsigned value : {0x00U, 0x01U, 0x7FU, 0x80U, 0xFFU}) {
                Bytes wrong = object;
                wrong[at] = static_cast<unsigned char>(value);
                const BiopModule module = read(wrong);  // a sanitizer looks on
                for (const BiopObject& found : module.objects)
                    EXPECT_LE(found.contentOffset + found.contentSize, wrong.size());
            }
}

TEST(BiopObjects, OnlyVersionOneInBigEndianOrderIsRead)
{
    const Bytes good = makeFile("f", Bytes{1});
    for (const size_t at : {size_t(0), size_t(4), size_t(6), size_t(7)}) {
        Bytes wrong = good;
        wrong[at] ^= 0x03;
        EXPECT_TRUE(read(wrong).objects.empty()) << at;
        EXPECT_FALSE(read(wrong).problem.empty()) << at;
    }
    Bytes minor = good;
    minor[5] = 9;
    EXPECT_EQ(read(minor).objects.size(), 1u);
}

TEST(BiopObjects, ReadingStopsWhereTheBudgetEnds)
{
    std::vector<DirectoryEntry> entries;
    for (int i = 0; i < 500; ++i)
        entries.push_back({std::to_string(i), makeIor({})});
    const Bytes module = makeDirectory("d", entries);
    const size_t needed = read(module).memory;
    EXPECT_GT(needed, 500 * sizeof(Binding));
    EXPECT_FALSE(read(module, needed).overBudget);
    EXPECT_TRUE(read(module, needed - 1).overBudget);
    EXPECT_TRUE(read(module, 0).overBudget);
}

TEST(BiopObjects, AReferenceTellsWhereTheObjectIs)
{
    bool fits = false;
    const IorFields fields = {"srg", 0x1234, "key", 0x2B, 0x80010002, 7};
    const ObjectReference reference = readReference(makeIor(fields), &fits);
    EXPECT_TRUE(fits);
    EXPECT_TRUE(reference.isResolvable());
    EXPECT_EQ(reference.moduleId, 0x1234);
    EXPECT_EQ(reference.objectKey, "key");
    EXPECT_EQ(reference.associationTag, 0x2B);
    EXPECT_EQ(reference.transactionId, 0x80010002u);
    EXPECT_EQ(reference.carouselId, 7u);
}

TEST(BiopObjects, AReferenceTypeOfAnyLengthIsFollowedByItsGap)
{
    for (size_t length = 0; length < 9; ++length) {
        bool fits = false;
        const IorFields fields = {std::string(length, 't'), 5, "k"};
        EXPECT_EQ(readReference(makeIor(fields), &fits).moduleId, 5) << length;
        EXPECT_TRUE(fits) << length;
    }
}

TEST(BiopObjects, AReferenceCutAtAnyLengthFailsItsReader)
{
    const Bytes ior = makeIor({});
    for (size_t size = 0; size < ior.size(); ++size) {
        bool fits = true;
        const Bytes cut(ior.begin(), ior.begin() + std::ptrdiff_t(size));
        EXPECT_FALSE(readReference(cut, &fits).isResolvable()) << size;
        EXPECT_FALSE(fits) << size;
    }
}

TEST(BiopObjects, AProfileCutAtAnyLengthIsAsGoodAsNone)
{
    const Bytes profile = makeBiopProfile({});
    for (size_t size = 0; size < profile.size(); ++size) {
        bool fits = false;
        const Bytes cut(profile.begin(), profile.begin() + std::ptrdiff_t(size));
        EXPECT_FALSE(readReference(makeIor("fil", {{biopTag, cut}}), &fits).isResolvable()) << size;
        EXPECT_TRUE(fits) << size;
    }
}

TEST(BiopObjects, ProfilesThatAreNotUnderstoodArePassedOver)
{
    const Bytes profile = makeBiopProfile({"fil", 3, "k"});
    const ObjectReference reference =
        readReference(makeIor("fil", {{0x49534F05, {1}}, {0x12345678, {}}, {biopTag, profile}}));
    EXPECT_TRUE(reference.isResolvable());
    EXPECT_EQ(reference.moduleId, 3);
    EXPECT_FALSE(readReference(makeIor("fil", {})).isResolvable());
    EXPECT_NE(readReference(makeIor("fil", {{0x49534F05, {1}}}))
                  .unresolvableReason.find("another carousel"),
              std::string::npos);
}

TEST(BiopObjects, ALittleEndianProfileIsNotUnderstood)
{
    Bytes profile = makeBiopProfile({});
    profile[0] = 1;
    EXPECT_FALSE(readReference(makeIor("fil", {{biopTag, profile}})).isResolvable());
}

TEST(BiopObjects, ProfileCountsThatLieEndAtTheEndOfTheBytes)
{
    Bytes ior = makeIor({});
    ior[8] = 0xFF;  // profiles_count
    bool fits = true;
    EXPECT_FALSE(readReference(ior, &fits).isResolvable());
    EXPECT_FALSE(fits);
}

}  // namespace
}  // namespace receiver
