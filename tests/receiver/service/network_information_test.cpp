#include <cstddef>
#include <gtest/gtest.h>

#include "receiver/service/network_information.h"
#include "tests/receiver/support/information_builder.h"

namespace receiver {
namespace {

Bytes satellite()
{
    return makeDescriptor(0x43, Bytes(11, 0x12));
}

TEST(NetworkInformation, EachTransportStreamHasItsDeliverySystem)
{
    const Bytes secondTerrestrial = makeDescriptor(0x7F, {0x04, 1, 2, 3});
    const NetworkInformation network = readNetworkInformation(
        {makeNit(0x3001, {{0x441, 0x20FA, makeDescriptor(0x41, {0, 1, 1}) + satellite()},
                          {0x442, 0x20FA, makeDescriptor(0x79, {0}) + makeDescriptor(0x44, {1, 2})},
                          {0x443, 0x20FA, makeDescriptor(0x5A, {3}) + satellite()},
                          {0x444, 0x20FA, makeDescriptor(0x7F, {0x06, 9}) + secondTerrestrial},
                          {0x445, 0x20FA, makeDescriptor(0x7F, {0x0D})},
                          {0x446, 0x20FA, makeDescriptor(0x7F, {})}})});
    EXPECT_EQ(network.networkId, 0x3001);
    const Bytes expected[] = {
        satellite(),       makeDescriptor(0x44, {1, 2}), makeDescriptor(0x5A, {3}),
        secondTerrestrial, makeDescriptor(0x7F, {0x0D}), {}};
    ASSERT_EQ(network.transports.size(), std::size(expected));
    for (size_t index = 0; index < std::size(expected); ++index) {
        EXPECT_EQ(network.transports[index].transportStreamId, 0x441 + index);
        EXPECT_EQ(network.transports[index].originalNetworkId, 0x20FA);
        EXPECT_EQ(network.transports[index].deliverySystem, expected[index]);
    }
}

TEST(NetworkInformation, SectionsAddUp)
{
    const NetworkInformation network = readNetworkInformation(
        {makeNit(7, {{1, 2, {}}, {3, 4, {}}}), makeNit(7, {{5, 6, satellite()}})});
    ASSERT_EQ(network.transports.size(), 3u);
    EXPECT_EQ(network.transports[2].deliverySystem, satellite());
}

TEST(NetworkInformation, CutShortAtEveryLengthItKeepsWhatIsWhole)
{
    const Bytes section = makeNit(7, {{1, 2, satellite()}, {3, 4, satellite()}});
    for (size_t size = 0; size < section.size(); ++size) {
        const Bytes cut(section.begin(), section.begin() + std::ptrdiff_t(size));
        EXPECT_LE(readNetworkInformation({cut}).transports.size(), 1u) << size;
    }
    EXPECT_EQ(readNetworkInformation({}).transports.size(), 0u);
}

}  // namespace
}  // namespace receiver
