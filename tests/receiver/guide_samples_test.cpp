// What the integration guide shows and the receiver has no use for.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "lifecycle/window.h"
#include "signalling/ait.h"
#include "vesta_hbbtv_diagnosis.h"

namespace {

using namespace VestaHbbTV;

/// An HbbTV 1.1.1 application on a web server, as an XML AIT describes it.
AITApplication* readApplication(AIT* table)
{
    auto* const entry = new AITApplication(table);
    entry->setOrganisationId(0x0A);
    entry->setApplicationId(1);
    entry->setControlCode(AITApplication::AUTOSTART);
    entry->setApplicationLocation("index.html");
    AITApplication::ApplicationDescriptor descriptor;
    descriptor.addPlatformProfile({0, 1, 1, 1});  // one without a profile is rejected
    entry->setApplicationDescriptor(descriptor);
    const ref_ptr<AITApplicationTransport> transport(new AITApplicationTransport);
    transport->setProtocol(AITApplicationTransport::HTTP);
    transport->setURLBase("http://a.example/");
    entry->addTransport(transport);
    return entry;
}

/// @param window a handle of the library; browser thread only
void putXMLTableInForce(void* window)
{
    const ref_ptr<AIT> table(new AIT);
    table->insertAITApplication(readApplication(table.get()));
    ConfigurationManager::getInstance()->getEventQueue()->add(
        new TAVOAITEvent(static_cast<Window*>(window), table));
}

void* copyOf(const void* bytes, size_t size)
{
    return std::memcpy(std::malloc(size), bytes, size);
}

template <typename Record>
void send(HBBTV_EventType type, const Record& record)
{
    vesta_hbbtv_send_event(type, static_cast<HBBTV_EventData*>(copyOf(&record, sizeof(record))));
}

/// @param section of an AIT of the service 20fa.441.6dd0 @param size 3 + section_length
void sendSection(const unsigned char* section, size_t size, void* channel)
{
    HBBTV_AITSectionEventData record = {};
    record.section = static_cast<unsigned char*>(copyOf(section, size));
    record.original_network_id = 0x20FA;
    record.transport_stream_id = 0x441;
    record.service_id = 0x6DD0;
    record.channelHandle = channel;
    send(E_AIT_SECTION, record);
}

void hearDecision(const HBBTV_Decision* decision, void* /*context*/)
{
    std::printf("%s %x.%x: %s (wanted %x, had %x) %s\n", decision->verdict ? "yes" : "no",
                decision->organisationId, decision->applicationId,
                vesta_hbbtv_reason_text(decision->reason), decision->wanted, decision->had,
                decision->text);
}

std::vector<std::string> heard;

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_AIT_UPDATE && data->ait.isXML)
        heard.emplace_back("XML table");
    if (type == HBBTV_NOTIFICATION_START_APPLICATION)
        heard.push_back(data->application.url +
                        std::string(data->application.broadcastRelated ? " related" : ""));
    return HBBTV_STATUS_OK;
}

TEST(GuideSamples, AnXMLTableStartsItsApplication)
{
    heard.clear();
    vesta_hbbtv_init(nullptr);
    vesta_hbbtv_add_notification_listener(listen);
    void* const window = vesta_hbbtv_create_window();
    putXMLTableInForce(window);
    while (vesta_hbbtv_tick()) {
    }
    vesta_hbbtv_shutdown();
    EXPECT_EQ(heard, (std::vector<std::string>{"XML table", "http://a.example/index.html"}));
}

TEST(GuideSamples, ASectionThatIsSentByHandIsATable)
{
    const unsigned char section[] = {0x74, 0xB0, 13,   0, 0x10, 0xC3, 0, 0,
                                     0xF0, 0,    0xF0, 0, 0,    0,    0, 0};
    vesta_hbbtv_init(nullptr);
    void* const window = vesta_hbbtv_create_window();
    vesta_hbbtv_set_broadcast_window(window);
    sendSection(section, sizeof(section), window);
    while (vesta_hbbtv_tick()) {
    }
    const AIT* const table = static_cast<Window*>(window)->getAIT();
    EXPECT_TRUE(table && table->getServiceId() == 0x6DD0 && table->getChannelHandle() == window);
    vesta_hbbtv_shutdown();
}

TEST(GuideSamples, WhyAnApplicationDoesNotStartIsSaid)
{
    testing::internal::CaptureStdout();
    vesta_hbbtv_set_decision_listener(hearDecision, nullptr);
    vesta_hbbtv_init(nullptr);
    HBBTV_StartApplicationEventData request = {};
    request.window = vesta_hbbtv_create_window();
    request.organisationId = 0x0A;
    request.applicationId = 0x10;
    send(E_START_APPLICATION, request);
    vesta_hbbtv_tick();
    vesta_hbbtv_shutdown();
    vesta_hbbtv_set_decision_listener(nullptr, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "no a.10: No table is in force. (wanted 0, had 0) \n");
}

TEST(GuideSamples, TheLogIsSeenOnceThereIsASink)
{
    testing::internal::CaptureStdout();
    Logging::getInstance()->addOutput(new LoggingOutputStdout(LOG));
    LogEntry(LOG, "Guide") << "seen";
    LogEntry(DEBUG, "Guide") << "left out";
    delete Logging::getInstance();
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_NE(text.find("seen"), std::string::npos) << text;
    EXPECT_EQ(text.find("left out"), std::string::npos) << text;
}

}  // namespace
