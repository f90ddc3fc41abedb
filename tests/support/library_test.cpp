#include "tests/support/library_test.h"

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/counted_memory.h"

using namespace VestaHbbTV;

namespace vesta::test {

LibraryTest::LibraryTest()
{
    browser().reset();
    platform().reset();
    listener().reset();
    veif_applicationManagerListener = nullptr;
    veif_applicationDestroyedListener = nullptr;
    Application::next_id = 1;
    log_ = std::make_unique<CapturedLog>();
    vesta_hbbtv_init(browser().handle());
    window_ = static_cast<Window*>(vesta_hbbtv_create_window());
    vesta_hbbtv_set_broadcast_window(window_);
    vesta_hbbtv_add_notification_listener(RecordingListener::listen);
    log().clear();
    forgetJournal();
}

LibraryTest::~LibraryTest()
{
    shutdown();
    EXPECT_EQ(outstandingBlocks(), 0u) << "blocks that the library had to free";
    EXPECT_TRUE(listener().windowsInUse.empty()) << "browser windows that were not released";
    forgetJournal();
}

void LibraryTest::shutdown()
{
    vesta_hbbtv_shutdown();
    vesta_hbbtv_set_sendevent_condition(nullptr, nullptr);
    window_ = nullptr;
}

WindowManager* LibraryTest::manager()
{
    return WindowManager::getInstance();
}

Application* LibraryTest::running() const
{
    return window_->getRunningApplication();
}

std::string LibraryTest::runningURL() const
{
    return running() ? running()->getURL().getFullUrl() : "";
}

void LibraryTest::send(HBBTV_EventType type, HBBTV_EventData* data)
{
    vesta_hbbtv_send_event(type, data);
}

void LibraryTest::sendAIT(const AITSection& section, void* channelHandle)
{
    send(E_AIT_SECTION, aitRecord(section, channelHandle));
}

int LibraryTest::tickAll()
{
    const int endless = 100000;
    int ticks = 0;
    while (ticks < endless && vesta_hbbtv_tick())
        ++ticks;
    return ticks;
}

AITEntry LibraryTest::httpApplication(uint32_t organisationId, uint16_t applicationId,
                                      const std::string& page)
{
    return AITEntry(organisationId, applicationId).http(1, "http://a.example/").location(page);
}

void LibraryTest::startApplication(const AITEntry& entry, uint8_t version)
{
    sendAIT(AITSection().version(version).add(entry));
    tickAll();
    ASSERT_NE(running(), nullptr);
    log().clear();
    forgetJournal();
}

void LibraryTest::finishLoading(long windowId)
{
    TavoVestaEventData data = {};
    data.http_status = 200;
    notify(TAVO_VESTA_EVT_LOADING_FINISHED, windowId, data);
    tickAll();
}

int LibraryTest::failLoading(long windowId)
{
    TavoVestaEventData data = {};
    int result = 12345;
    notify(TAVO_VESTA_EVT_LOADING_FAILED, windowId, data, &result);
    return result;
}

unsigned int LibraryTest::notify(TAVO_VESTA_EVENT event, long windowId, TavoVestaEventData& data,
                                 int* result)
{
    return vesta_hbbtv_handle_notification(browser().handle(), browser().window(windowId), event,
                                           &data, result);
}

}  // namespace vesta::test
