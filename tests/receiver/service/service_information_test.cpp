#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "receiver/service/service_information.h"
#include "tests/receiver/support/information_builder.h"

namespace receiver {
namespace {

const uint16_t networkPid = 0x10;
const uint16_t eventPid = 0x12;

Service service(uint16_t id, uint8_t type = 1)
{
    Service service;
    service.programNumber = id;
    service.transportStreamId = 0x441;
    service.originalNetworkId = 0x20FA;
    service.type = type;
    return service;
}

EventFields event(unsigned id, const Bytes& descriptors = {})
{
    EventFields fields;
    fields.id = id;
    fields.descriptors = descriptors;
    return fields;
}

class ServiceInformationTest : public ::testing::Test {
protected:
    ServiceInformationTest() { information_.setServices({service(1), service(2, 0x19)}); }

    ServiceInformation information_;
    const Bytes satellite_ = makeDescriptor(0x43, Bytes(11, 0x12));
};

TEST_F(ServiceInformationTest, ProgrammesAndScheduleAreThoseOfTheService)
{
    EXPECT_TRUE(information_.feed(eventPid, makePresentFollowing(1, 0, event(7))));
    EitFields fields;
    fields.tableId = fields.lastTable = 0x50;
    EXPECT_FALSE(information_.feed(eventPid, makeEit(fields, {event(8)})));
    ASSERT_EQ(information_.programmesOf(1).size(), 1u);
    EXPECT_EQ(information_.programmesOf(1)[0].eventId, 7);
    EXPECT_EQ(information_.scheduleOf(1).size(), 2u);
    EXPECT_TRUE(information_.programmesOf(2).empty());
    EXPECT_TRUE(information_.scheduleOf(3).empty());
}

TEST_F(ServiceInformationTest, ComponentsAreThoseOfPmtAndPresentEvent)
{
    EXPECT_TRUE(information_.componentsOf(1).empty());
    EXPECT_TRUE(
        information_.setProgramMap(1, makePmt(1, 0, {{0x02, 0x100, makeDescriptor(0x52, {5})}})));
    ASSERT_EQ(information_.componentsOf(1).size(), 1u);
    EXPECT_FALSE(information_.componentsOf(1)[0].aspectRatio);
    information_.feed(eventPid,
                      makePresentFollowing(1, 1, event(8, makeComponentDescriptor(1, 1, 5))));
    EXPECT_FALSE(information_.componentsOf(1)[0].aspectRatio) << "the following event's";
    information_.feed(eventPid,
                      makePresentFollowing(1, 0, event(7, makeComponentDescriptor(1, 3, 5))));
    EXPECT_EQ(information_.componentsOf(1)[0].aspectRatio, 1.78);
    EXPECT_TRUE(information_.componentsOf(2).empty());
}

TEST_F(ServiceInformationTest, DetailsAreThoseOfTheActualNetworkAndTheServiceDescriptor)
{
    EXPECT_FALSE(information_.detailsOf(1).networkId);
    const Bytes nit = makeNit(0x3001, {{0x441, 0x20FB, makeDescriptor(0x44, {1})},
                                       {0x442, 0x20FA, makeDescriptor(0x44, {2})},
                                       {0x441, 0x20FA, satellite_}});
    information_.feed(networkPid, makeNit(0x3002, {}, 0x41));
    EXPECT_FALSE(information_.detailsOf(1).networkId) << "of another network";
    EXPECT_FALSE(information_.feed(networkPid, nit));
    EXPECT_EQ(information_.detailsOf(1).networkId, 0x3001);
    EXPECT_EQ(information_.detailsOf(1).deliverySystem, satellite_);
    EXPECT_EQ(information_.detailsOf(1).serviceType, 1);
    EXPECT_EQ(information_.detailsOf(2).serviceType, 0x19);
    EXPECT_EQ(information_.detailsOf(9).networkId, 0x3001);
    EXPECT_TRUE(information_.detailsOf(9).deliverySystem.empty());
    EXPECT_EQ(information_.detailsOf(9).serviceType, 0);
}

TEST_F(ServiceInformationTest, WithoutAnSdtTheTransportStreamAloneCounts)
{
    Service unknown = service(1);
    unknown.originalNetworkId.reset();
    information_.setServices({unknown});
    information_.feed(networkPid, makeNit(0x3001, {{0x441, 0x20FA, satellite_}}));
    EXPECT_EQ(information_.detailsOf(1).deliverySystem, satellite_);
}

TEST_F(ServiceInformationTest, ChangesCountUpWithProgrammesAndComponentsOnly)
{
    EXPECT_EQ(information_.changesOf(1), 0u);
    information_.feed(eventPid, makePresentFollowing(1, 0, event(7)));
    EXPECT_EQ(information_.changesOf(1), 1u);
    EXPECT_FALSE(information_.feed(eventPid, makePresentFollowing(1, 0, event(7))));
    const Bytes pmt = makePmt(1, 0, {});
    EXPECT_TRUE(information_.setProgramMap(1, pmt));
    EXPECT_FALSE(information_.setProgramMap(1, pmt));
    EXPECT_EQ(information_.changesOf(1), 2u);
    EitFields fields;
    fields.tableId = fields.lastTable = 0x50;
    information_.feed(eventPid, makeEit(fields, {event(8)}));
    information_.feed(networkPid, makeNit(7, {}));
    information_.feed(eventPid, makePresentFollowing(2, 0, event(7)));
    EXPECT_EQ(information_.changesOf(1), 2u);
    EXPECT_EQ(information_.changesOf(2), 1u);
    EXPECT_EQ(information_.changesOf(3), 0u);
}

TEST_F(ServiceInformationTest, ServicesThatAreNoLongerListedAreForgotten)
{
    information_.setProgramMap(1, makePmt(1, 0, {{0x02, 0x100, {}}}));
    information_.feed(eventPid, makePresentFollowing(1, 0, event(7)));
    information_.feed(eventPid, makePresentFollowing(2, 0, event(8)));
    information_.setServices({service(2)});
    EXPECT_TRUE(information_.componentsOf(1).empty());
    EXPECT_TRUE(information_.programmesOf(1).empty());
    EXPECT_EQ(information_.programmesOf(2).size(), 1u);
    information_.setServices({service(1), service(2)});
    EXPECT_EQ(information_.changesOf(1), 2u) << "it never counts down";
}

}  // namespace
}  // namespace receiver
