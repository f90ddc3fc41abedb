#include <gtest/gtest.h>
#include <string>

#include "station/sections/service_tables.h"
#include "station/text/dvb_time.h"
#include "tests/station/support/section_check.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

TEST(ServiceTables, SdtNamesServices)
{
    const auto plain = makeSdt(descriptionOf(withService("")));
    ASSERT_EQ(plain.size(), 1U);
    EXPECT_EQ(plain[0],
              checked({0x42, 0xF0, 0x19, 0x04, 0x41, 0xC1, 0x00, 0x00, 0x20, 0xFA, 0xFF, 0x00,
                       0x01, 0xFC, 0x80, 0x08, 0x48, 0x06, 0x01, 0x00, 0x03, 'O',  'n',  'e'}));
    const auto withProgrammes = makeSdt(descriptionOf(withService(
        R"("provider": "P", "type": "radio", "programmes": [{"name": "A", "duration": "1"}])")));
    EXPECT_EQ(withProgrammes[0],
              checked({0x42, 0xF0, 0x1A, 0x04, 0x41, 0xC1, 0x00, 0x00, 0x20, 0xFA, 0xFF, 0x00, 0x01,
                       0xFF, 0x80, 0x09, 0x48, 0x07, 0x02, 0x01, 'P',  0x03, 'O',  'n',  'e'}));
}

TEST(ServiceTables, SdtOfManyServicesHasSeveralSections)
{
    Description description = descriptionOf(withService(""));
    description.services[0].name = std::string(200, 'n');
    description.services.resize(9, description.services[0]);
    const auto sections = makeSdt(description);
    ASSERT_EQ(sections.size(), 3U);
    for (size_t i = 0; i < sections.size(); ++i) {
        EXPECT_LE(sections[i].size(), 1024U);
        EXPECT_EQ(sections[i][6], i);
        EXPECT_EQ(sections[i][7], 2);
    }
}

TEST(ServiceTables, NitNamesNetworkDeliveryAndServices)
{
    Description description = descriptionOf(withService(""));
    description.network.networkId = 0x3001;
    EXPECT_EQ(makeNit(description.network, description.services),
              checked({0x40, 0xF0, 0x28, 0x30, 0x01, 0xC1, 0x00, 0x00,  // header
                       0xF0, 0x03, 0x40, 0x01, 'N',                     // its name
                       0xF0, 0x18, 0x04, 0x41, 0x20, 0xFA, 0xF0, 0x12,  // the stream
                       0x5A, 0x0B, 0x02, 0xF7, 0xE3, 0x40, 0x1F, 0x81, 0x02,
                       0xFF, 0xFF, 0xFF, 0xFF, 0x41, 0x03, 0x00, 0x01, 0x01}));
}

TEST(ServiceTables, DeliverySystemsAreWrittenInDigits)
{
    Delivery satellite;
    satellite.system = DeliverySystem::Satellite;
    satellite.frequencyKhz = 11'757'250;  // the examples of ETSI EN 300 468, 6.2.13.2
    satellite.orbitalPosition = 192;
    satellite.polarisation = 1;
    satellite.symbolRate = 27'450'000;
    EXPECT_EQ(makeDeliverySystem(satellite), (Bytes{0x43, 0x0B, 0x01, 0x17, 0x57, 0x25, 0x01, 0x92,
                                                    0xA1, 0x02, 0x74, 0x50, 0x03}));
    Delivery cable;
    cable.system = DeliverySystem::Cable;
    cable.frequencyKhz = 312'000;  // 6.2.13.1
    cable.cableModulation = 256;
    cable.symbolRate = 6'900'000;
    EXPECT_EQ(makeDeliverySystem(cable), (Bytes{0x44, 0x0B, 0x03, 0x12, 0x00, 0x00, 0xFF, 0xF2,
                                                0x05, 0x00, 0x69, 0x00, 0x0F}));
}

TEST(ServiceTables, TheTimeHasNoSectionSyntax)
{
    const int64_t time = parseUtc("1993-10-13T12:45:00Z").value();
    EXPECT_EQ(makeTdt(time), (Bytes{0x70, 0x70, 0x05, 0xC0, 0x79, 0x12, 0x45, 0x00}));
    EXPECT_EQ(makeTot(time, {"GBR", -90}),
              checked({0x73, 0x70, 0x1A, 0xC0, 0x79, 0x12, 0x45, 0x00, 0xF0, 0x0F, 0x58, 0x0D, 'G',
                       'B',  'R',  0x03, 0x01, 0x30, 0xFF, 0x90, 0x00, 0x00, 0x00, 0x01, 0x30}));
}

}  // namespace

}  // namespace station
