// The record of a new table: one entry an application, and the order of its addresses.

#include <string>
#include <utility>
#include <vector>

#include "lifecycle/window_manager.h"
#include "signalling/ait.h"
#include "tests/oipf/notifications/notification_recorder.h"
#include "tests/support/printed_tables.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

int windowPlace;

using Addresses = std::vector<std::string>;

/// What the slots hold; "(null)" for an empty one.
Addresses addressesOf(const HBBTV_AITApplicationInfo& info)
{
    Addresses addresses;
    for (unsigned int slot = 0; slot < info.numUrls; ++slot)
        addresses.push_back(info.urls[slot] ? info.urls[slot] : "(null)");
    return addresses;
}

/// A transport of a table by hand; protocol 0 is any that is not known.
ref_ptr<AITApplicationTransport> transport(int protocol, const std::string& base = "")
{
    ref_ptr<AITApplicationTransport> made(new AITApplicationTransport);
    made->setProtocol(static_cast<AITApplicationTransport::ProtocolId>(protocol));
    made->setURLBase(base);
    return made;
}

class AITUpdateNotificationTest : public NotificationTest {
protected:
    void update(AIT* table, std::function<void(HBBTV_AITNotificationData&)> look)
    {
        broadcast(HBBTV_NOTIFICATION_AIT_UPDATE, new AITUpdateNotification(&windowPlace, table),
                  [&look](HBBTV_NotificationData* data) {
                      ASSERT_NE(data, nullptr);
                      EXPECT_EQ(data->ait.window, &windowPlace);
                      EXPECT_EQ(data->ait.reserved, 0);
                      EXPECT_TRUE(isZeroBehind(*data, data->ait));
                      look(data->ait);
                  });
    }

    void update(const AITSection& section, std::function<void(HBBTV_AITNotificationData&)> look)
    {
        AIT table(1, 2, 3, nullptr);
        ASSERT_TRUE(table.parse(section.exactBlock().get()));
        update(&table, std::move(look));
    }

    /// The addresses of an XML table's application with these transports.
    Addresses addressesFor(const std::vector<ref_ptr<AITApplicationTransport>>& transports)
    {
        AIT table;
        auto* const application = new AITApplication(&table);
        application->setApplicationLocation("i.html");
        for (const auto& each : transports)
            application->addTransport(each);
        table.insertAITApplication(application);
        Addresses addresses;
        update(&table, [&addresses](auto& record) {
            addresses = addressesOf(record.applications[0]);
            EXPECT_EQ(record.applications[0].urls == nullptr, addresses.empty());
        });
        return addresses;
    }
};

TEST_F(AITUpdateNotificationTest, ANullTableGivesANullRecord)
{
    broadcast(HBBTV_NOTIFICATION_AIT_UPDATE, new AITUpdateNotification(&windowPlace, nullptr),
              [](auto* data) { EXPECT_EQ(data, nullptr); });
    broadcastUnheard(new AITUpdateNotification(nullptr, nullptr));
}

TEST_F(AITUpdateNotificationTest, ATableWithoutApplicationsHasNoArray)
{
    update(AITSection(), [](auto& record) { EXPECT_EQ(print(record), "broadcast 0, 0 in none"); });
    AIT table;
    update(&table, [](auto& record) { EXPECT_EQ(print(record), "XML 1, 0 in none"); });
}

TEST_F(AITUpdateNotificationTest, ApplicationsStandInTheTablesOrderWithAllTheirFields)
{
    const AITSection section =
        AITSection()
            .add(AITEntry(0xFEDCBA98, 0xFEDC, 2)
                     .priority(1)
                     .name("Second")
                     .usage(1)
                     .http(1, "http://a.example/")
                     .location("s.html"))
            .add(AITEntry(3, 4, 1).priority(9).carousel(1, 0x0B).location("f.html"));
    update(section, [](auto& record) {
        EXPECT_EQ(print(record), "broadcast 0, 2 in an array\n"
                                 "3.4 '' usage 0 code 1 http 0 carousel 1 dvb://1.2.3.b/f.html\n"
                                 "4275878552.65244 'Second' usage 1 code 2 http 1 carousel 0 "
                                 "http://a.example/s.html");
    });
}

TEST_F(AITUpdateNotificationTest, ControlCodeIsToldOnlyWithAnApplicationDescriptor)
{
    for (const uint8_t code : {uint8_t(1), uint8_t(4), uint8_t(255)}) {
        update(AITSection().add(AITEntry(1, 2, code)),
               [code](auto& record) { EXPECT_EQ(record.applications[0].controlCode, code); });
        update(AITSection().add(AITEntry(1, 2, code).withoutApplicationDescriptor()),
               [](auto& record) { EXPECT_EQ(record.applications[0].controlCode, 0); });
    }
}

TEST_F(AITUpdateNotificationTest, ThePreferredAddressStandsInTheLastSlot)
{
    const auto first = transport(AITApplicationTransport::HTTP, "http://1/");
    const auto second = transport(AITApplicationTransport::HTTP, "http://2/");
    const auto third = transport(AITApplicationTransport::HTTP, "http://3/");
    EXPECT_EQ(addressesFor({first, second, third}),
              Addresses({"http://3/i.html", "http://2/i.html", "http://1/i.html"}));
}

TEST_F(AITUpdateNotificationTest, TransportsOfUnknownProtocolsHaveEmptyAddresses)
{
    const auto unknown = transport(0);
    const auto http = transport(AITApplicationTransport::HTTP, "http://1/");
    const auto carousel = transport(AITApplicationTransport::OBJECT_CAROUSEL);
    EXPECT_EQ(addressesFor({http, unknown, carousel}),
              Addresses({"dvb://0.0.0.0/i.html", "", "http://1/i.html"}));
    EXPECT_EQ(addressesFor({unknown}), Addresses({""}));
    EXPECT_EQ(addressesFor({}), Addresses());
}

TEST_F(AITUpdateNotificationTest, HTTPIsListedEvenWhileItIsUnavailable)
{
    WindowManager::getInstance()->setHttpAvailable(false);
    EXPECT_EQ(addressesFor({transport(AITApplicationTransport::HTTP, "http://1/")}),
              Addresses({"http://1/i.html"}));
    delete WindowManager::getInstance();
}

TEST_F(AITUpdateNotificationTest, AddressesAreCountedModulo256)
{
    for (const int count : {255, 256, 257, 260, 512}) {
        std::vector<ref_ptr<AITApplicationTransport>> transports;
        for (int number = 0; number < count; ++number)
            transports.push_back(
                transport(AITApplicationTransport::HTTP, "http://" + std::to_string(number) + "/"));
        const Addresses addresses = addressesFor(transports);
        ASSERT_EQ(addresses.size(), static_cast<size_t>(count % 256)) << count;
        for (size_t slot = 0; slot < addresses.size(); ++slot)
            EXPECT_EQ(addresses[addresses.size() - 1 - slot],
                      "http://" + std::to_string(slot) + "/i.html");
    }
}

TEST_F(AITUpdateNotificationTest, FreesTheRecordAlsoWhenNobodyListens)
{
    AIT table(1, 2, 3, nullptr);
    const AITSection section = AITSection().add(
        AITEntry(1, 2).name("Name").http(1, "http://a.example/").http(2, "http://b.example/"));
    ASSERT_TRUE(table.parse(section.exactBlock().get()));
    broadcastUnheard(new AITUpdateNotification(&windowPlace, &table));  // a leak shows under ASan
}

}  // namespace
