#include <gtest/gtest.h>
#include <string>

#include "kit/signalling_streams.h"
#include "tests/kit/pmt_bytes.h"

namespace VestaHbbTV {
namespace {

using vesta::test::Bytes;
using vesta::test::pmtBytes;
using vesta::test::PMTStream;
using vesta::test::signallingDescriptor;

/// "100", "101 named", "102 named 7"; "no PMT".
std::vector<std::string> streamsIn(const Bytes& section, uint16_t type = 0x0010)
{
    const auto block = vesta::test::exactBlock(section);
    const auto streams = signallingStreams(ByteReader(block.get(), section.size()), type);
    if (!streams)
        return {"no PMT"};
    std::vector<std::string> list;
    for (const SignallingStream& stream : *streams)
        list.push_back(std::to_string(stream.pid) + (stream.isNamed ? " named" : "") +
                       (stream.version ? " " + std::to_string(*stream.version) : ""));
    return list;
}

using Strings = std::vector<std::string>;

TEST(SignallingStreams, AreThoseOfPrivateSectionsInTheirOrder)
{
    EXPECT_EQ(streamsIn(pmtBytes({{2, 99, {}}, {5, 101, {}}, {0x0B, 102, {}}, {5, 100, {}}})),
              Strings({"101", "100"}));
}

TEST(SignallingStreams, AreNamedByTheirDescriptor)
{
    EXPECT_EQ(streamsIn(pmtBytes({{5, 100, signallingDescriptor({{0x10, 7}})}})),
              Strings({"100 named 7"}));
}

TEST(SignallingStreams, MayHaveSeveralTypes)
{
    EXPECT_EQ(streamsIn(pmtBytes({{5, 100, signallingDescriptor({{1, 3}, {0x10, 9}})}})),
              Strings({"100 named 9"}));
}

TEST(SignallingStreams, OfOtherTypesAloneAreNone)
{
    EXPECT_EQ(streamsIn(pmtBytes({{5, 100, signallingDescriptor({{1, 3}})}})), Strings());
}

TEST(SignallingStreams, WhoseDescriptorNamesNoTypeMayBeOfAny)
{
    EXPECT_EQ(streamsIn(pmtBytes({{5, 101, signallingDescriptor({})}})), Strings({"101"}));
}

TEST(SignallingStreams, MayBeThoseOfAllTypes)
{
    EXPECT_EQ(streamsIn(pmtBytes({{5, 100, signallingDescriptor({{1, 3}})}}), 0),
              Strings({"100 named 3"}));
}

TEST(SignallingStreams, AreFoundAfterOtherDescriptors)
{
    using vesta::test::operator+;
    const Bytes descriptors =
        vesta::test::descriptor(0x52, {1}) + signallingDescriptor({{0x10, 1}});
    EXPECT_EQ(streamsIn(pmtBytes({{5, 100, descriptors}}, true,
                                 vesta::test::descriptor(0x09, {1, 2, 3}))),
              Strings({"100 named 1"}));
}

TEST(SignallingStreams, AreEightOfEitherKindAtTheMost)
{
    std::vector<PMTStream> streams;
    for (uint16_t pid = 100; pid < 120; ++pid)
        streams.push_back({5, pid, {}});
    for (uint16_t pid = 200; pid < 220; ++pid)
        streams.push_back({5, pid, signallingDescriptor({{0x10, 1}})});
    EXPECT_EQ(streamsIn(pmtBytes(streams)),
              Strings({"100", "101", "102", "103", "104", "105", "106", "107", "200 named 1",
                       "201 named 1", "202 named 1", "203 named 1", "204 named 1", "205 named 1",
                       "206 named 1", "207 named 1"}));
}

TEST(SignallingStreams, OfAPMTThatIsNotValidYetAreUnknown)
{
    EXPECT_EQ(streamsIn(pmtBytes({{5, 100, {}}}, false)), Strings({"no PMT"}));
}

TEST(SignallingStreams, OfAnotherTableAreUnknown)
{
    Bytes section = pmtBytes({{5, 100, {}}});
    section[0] = 0x42;
    EXPECT_EQ(streamsIn(section), Strings({"no PMT"}));
}

TEST(SignallingStreams, AreReadAsFarAsBytesAreThere)
{
    const Bytes whole = pmtBytes({{5, 100, signallingDescriptor({{0x10, 1}})}, {5, 101, {}}});
    for (size_t count = 0; count < whole.size(); ++count)
        streamsIn(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(count)));
}

TEST(SignallingStreams, ThatLeaveThePMTAreLeftOut)
{
    Bytes section = pmtBytes({{5, 100, {}}, {5, 101, {}}});
    section[section.size() - 5] = 200;  // ES_info_length of the last stream
    EXPECT_EQ(streamsIn(section), Strings({"100"}));
}

}  // namespace
}  // namespace VestaHbbTV
