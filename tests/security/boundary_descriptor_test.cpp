#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "security/application_domain.h"
#include "tests/support/captured_log.h"

namespace VestaHbbTV {
namespace {

using Entries = std::vector<std::string>;

/// A simple application boundary descriptor whose lengths can be made to lie.
class Descriptor {
public:
    Descriptor& add(const std::string& extension) { return add(extension, extension.size()); }

    Descriptor& add(const std::string& extension, size_t statedLength)
    {
        extensions_.push_back(static_cast<char>(statedLength));
        extensions_ += extension;
        ++count_;
        return *this;
    }

    Descriptor& count(int count)
    {
        count_ = count;
        return *this;
    }

    /// @param difference from the descriptor_length that would be right
    Descriptor& lengthOff(int difference)
    {
        difference_ = difference;
        return *this;
    }

    std::string bytes() const
    {
        std::string bytes = "\x17";
        bytes.push_back(static_cast<char>(static_cast<int>(extensions_.size()) + 1 + difference_));
        bytes.push_back(static_cast<char>(count_));
        return bytes + extensions_;
    }

private:
    std::string extensions_;
    int count_ = 0;
    int difference_ = 0;
};

std::unique_ptr<unsigned char[]> exactBlock(const std::string& bytes)
{
    std::unique_ptr<unsigned char[]> block(new unsigned char[bytes.size()]);
    std::memcpy(block.get(), bytes.data(), bytes.size());
    return block;
}

/// Parsed by the descriptor's own length, from a block that ends with the byte just past it. Where
/// the bytes do not reach that far, they are followed by a length that fits nowhere.
Entries parsedAlone(const std::string& bytes)
{
    std::string alone = bytes;
    alone.resize(2u + static_cast<unsigned char>(bytes.at(1)) + 1u, '\xFF');
    ApplicationDomain domain;
    domain.parseSimpleApplicationBoundaryExtensionDescriptor(exactBlock(alone).get());
    return domain.getEntries();
}

/// Parsed in a section that ends with the bytes.
Entries parsedInSection(const std::string& bytes)
{
    ApplicationDomain domain;
    domain.parseSimpleApplicationBoundaryExtensionDescriptor(exactBlock(bytes).get(), bytes.size());
    return domain.getEntries();
}

TEST(BoundaryDescriptor, AddsTheOriginOfEveryExtension)
{
    const std::tuple<const char*, Descriptor, Entries> cases[] = {
        {"none", Descriptor(), {}},
        {"one", Descriptor().add("http://a.example/x"), {"http://a.example"}},
        {"two of one host",
         Descriptor().add("http://a.example/x").add("https://a.example:444/y"),
         {"http://a.example", "https://a.example:444"}},
        {"a second host is refused, what follows is not",
         Descriptor().add("http://a.example").add("http://b.example").add("dvb://1.2.3/"),
         {"http://a.example", "dvb://1.2.3"}},
        {"an empty one is an entry", Descriptor().add(""), {""}},
        {"an empty one between",
         Descriptor().add("dvb://1/").add("").add("dvb://2/"),
         {"dvb://1", "", "dvb://2"}},
        {"the count ends it", Descriptor().add("dvb://1/").add("dvb://2/").count(1), {"dvb://1"}},
        {"a count of 0 ends it at once", Descriptor().add("dvb://1/").count(0), {}},
        {"a count too high", Descriptor().add("dvb://1/").count(255), {"dvb://1"}},
    };
    for (const auto& [why, descriptor, entries] : cases) {
        EXPECT_EQ(parsedAlone(descriptor.bytes()), entries) << why;
        EXPECT_EQ(parsedInSection(descriptor.bytes()), entries) << why;
    }
    std::string otherTag = Descriptor().add("dvb://1/").bytes();
    otherTag[0] = '\0';
    EXPECT_EQ(parsedAlone(otherTag), Entries({"dvb://1"}));
}

TEST(BoundaryDescriptor, TextKeepsEveryByte)
{
    const std::string text("x\0\xFF\x80y", 5);
    EXPECT_EQ(parsedAlone(Descriptor().add(text).bytes()), Entries({text}));
}

TEST(BoundaryDescriptor, LongestIsRead)
{
    // 255 bytes: the count, one length and 253 characters.
    const std::string longest = "dvb:" + std::string(249, 'x');
    const std::string bytes = Descriptor().add(longest).bytes();
    ASSERT_EQ(bytes.size(), 257u);
    EXPECT_EQ(parsedAlone(bytes), Entries({longest}));
    // As many extensions as the count can name (and more than the descriptor holds).
    Descriptor many;
    for (int n = 0; n < 127; ++n)
        many.add("x");
    EXPECT_EQ(parsedAlone(many.bytes()), Entries(127, "x"));
    EXPECT_EQ(parsedAlone(many.count(255).bytes()), Entries(127, "x"));
}

TEST(BoundaryDescriptor, ExtensionMayEndOnTheByteJustPastTheDescriptor)
{
    const std::pair<int, Entries> cases[] = {
        {0, {"dvb://1", "dvb://2"}}, {-1, {"dvb://1", "dvb://2"}}, {-2, {"dvb://1"}}};
    for (const auto& [off, entries] : cases) {
        const std::string bytes = Descriptor().add("dvb://1").add("dvb://2").lengthOff(off).bytes();
        EXPECT_EQ(parsedInSection(bytes), entries) << off;
        EXPECT_EQ(parsedAlone(bytes), entries) << off;
    }
    const std::string one = Descriptor().add("dvb://12").lengthOff(-1).bytes();
    ASSERT_EQ(one, "\x17\x09\x01\x08"
                   "dvb://12");
    EXPECT_EQ(parsedAlone(one), Entries({"dvb://12"}));
}

TEST(BoundaryDescriptor, ExtensionLengthByteMayBeTheByteJustPastTheDescriptor)
{
    const std::string bytes =
        Descriptor().add("dvb://1").add("").add("dvb://2").lengthOff(-9).bytes();
    EXPECT_EQ(parsedInSection(bytes), Entries({"dvb://1", ""}));
    EXPECT_EQ(parsedAlone(bytes), Entries({"dvb://1", ""}));
}

TEST(BoundaryDescriptor, AloneTheByteJustPastItIsNotTouchedOnceAllExtensionsWereRead)
{
    for (const int count : {0, 1, 2}) {
        const std::string bytes = Descriptor().add("dvb://1").add("dvb://2").count(count).bytes();
        ApplicationDomain domain;
        domain.parseSimpleApplicationBoundaryExtensionDescriptor(exactBlock(bytes).get());
        EXPECT_EQ(domain.getEntries().size(), static_cast<size_t>(count));
    }
}

TEST(BoundaryDescriptor, ExtensionThatRunsPastItsDescriptorIsNotAdded)
{
    const Descriptor base = Descriptor().add("dvb://1");
    for (const size_t stated : {9u, 10u, 100u, 255u}) {  // 7 is right, 8 is one too many
        const std::string bytes = Descriptor(base).add("dvb://2", stated).bytes();
        EXPECT_EQ(parsedAlone(bytes), Entries({"dvb://1"})) << stated;
        EXPECT_EQ(parsedInSection(bytes + std::string(300, '/')), Entries({"dvb://1"})) << stated;
    }
    const std::string oneTooMany = Descriptor(base).add("dvb://2", 8).bytes();
    EXPECT_EQ(parsedInSection(oneTooMany), Entries({"dvb://1"})) << "the section ends there";
    EXPECT_EQ(parsedInSection(oneTooMany + "3"), Entries({"dvb://1", "dvb://23"}));
    EXPECT_EQ(parsedAlone(oneTooMany + "3"), Entries({"dvb://1", "dvb://23"}));
}

TEST(BoundaryDescriptor, NothingBehindTheSectionsEndIsTouched)
{
    const std::string bytes = Descriptor().add("dvb://1").add("dvb://22").add("").bytes();
    const size_t firstEnd = 3 + 8, secondEnd = firstEnd + 9, thirdEnd = secondEnd + 1;
    ASSERT_EQ(bytes.size(), thirdEnd);
    for (size_t size = 0; size <= bytes.size(); ++size) {
        Entries expected;
        if (size >= firstEnd)
            expected.emplace_back("dvb://1");
        if (size >= secondEnd)
            expected.emplace_back("dvb://22");
        if (size >= thirdEnd)
            expected.emplace_back("");
        EXPECT_EQ(parsedInSection(bytes.substr(0, size)), expected) << size;
    }
}

TEST(BoundaryDescriptor, IsCutJustPastEveryLengthItStates)
{
    const std::string whole = Descriptor().add("dvb://1").add("dvb://22").bytes();
    for (size_t length = 0; length + 2 <= whole.size(); ++length) {
        std::string bytes = whole;
        bytes[1] = static_cast<char>(length);
        Entries expected;
        if (length >= 8)
            expected.emplace_back("dvb://1");
        if (length >= 8 + 9)
            expected.emplace_back("dvb://22");
        EXPECT_EQ(parsedAlone(bytes), expected) << length;
        EXPECT_EQ(parsedInSection(bytes), expected) << length;
    }
}

TEST(BoundaryDescriptor, OfLengthZeroAddsNothing)
{
    using namespace std::string_literals;
    EXPECT_EQ(parsedAlone("\x17\x00"s), Entries());
    EXPECT_EQ(parsedInSection("\x17\x00"s), Entries());
    EXPECT_EQ(parsedInSection("\x17\x00\x01\x00"s), Entries());
    EXPECT_EQ(parsedAlone("\x17\x00\x01\x00"s), Entries());
    // One byte, the count: the byte after it serves as the length of an empty extension.
    for (const auto parsed : {parsedInSection, parsedAlone}) {
        EXPECT_EQ(parsed("\x17\x01\x01\x00"s), Entries({""}));
        EXPECT_EQ(parsed("\x17\x01\x01\x01x"s), Entries());
    }
}

TEST(BoundaryDescriptor, NullAddsNothing)
{
    ApplicationDomain domain;
    domain.addBoundaryExtension("http://a.example");
    domain.parseSimpleApplicationBoundaryExtensionDescriptor(nullptr);
    domain.parseSimpleApplicationBoundaryExtensionDescriptor(nullptr, 0);
    domain.parseSimpleApplicationBoundaryExtensionDescriptor(nullptr, 100);
    EXPECT_EQ(domain.getEntries(), Entries({"http://a.example"}));
}

TEST(BoundaryDescriptor, AddsToWhatIsThereAlready)
{
    ApplicationDomain domain;
    domain.addBoundaryExtension("http://a.example");
    const std::string bytes =
        Descriptor().add("http://b.example/").add("https://a.example/").bytes();
    domain.parseSimpleApplicationBoundaryExtensionDescriptor(exactBlock(bytes).get());
    EXPECT_EQ(domain.getEntries(), Entries({"http://a.example", "https://a.example"}));
}

TEST(BoundaryDescriptor, MoreThanOneExtensionIsWarnedOfAndReadAllTheSame)
{
    const Entries warning = {
        "WARN ApplicationDomain: Boundary extension descriptor contains more than one extension. "
        "We'll just read the first one."};
    const std::tuple<int, Entries> cases[] = {{0, {}}, {1, {}}, {2, warning}, {255, warning}};
    for (const auto& [count, expected] : cases) {
        const std::string bytes = Descriptor().add("dvb://1").add("dvb://2").count(count).bytes();
        const vesta::test::CapturedLog lines;
        EXPECT_EQ(parsedAlone(bytes).size(), static_cast<size_t>(count < 2 ? count : 2));
        EXPECT_EQ(lines.leveledLines(), expected) << count;
    }
}

}  // namespace
}  // namespace VestaHbbTV
