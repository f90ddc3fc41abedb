// What is reported where memory runs out, and what the library does once there is some again.

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "tests/memory/failing_memory.h"
#include "tests/memory/tight_library.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class OutOfMemoryReport : public TightLibraryTest {};

TEST_F(OutOfMemoryReport, IsAnErrLine)
{
    countReports();
    start();
    sendTable(0, 1);
    FailingMemory::fail(1, false);
    EXPECT_TRUE(vesta_hbbtv_tick()) << "the event is over";
    EXPECT_EQ(FailingMemory::stop(), 1);
    EXPECT_EQ(reports(), 1);
    EXPECT_FALSE(vesta_hbbtv_tick());
    expectUsable();
}

TEST_F(OutOfMemoryReport, ATableIsTakenWhenItComesAgainAndItsApplicationRuns)
{
    const long endless = 2000;
    for (const int ticks : {1, 2}) {
        long failures = 1;
        for (long number = 1; number < endless && failures > 0; ++number) {
            start();
            sendTable(0, 1);
            FailingMemory::fail(number, false);
            for (int tick = 0; tick < ticks; ++tick)
                vesta_hbbtv_tick();
            failures = FailingMemory::stop();
            sendTable(0, 1);
            tickAll();
            ASSERT_NE(broadcastWindow()->getAIT(), nullptr) << "allocation " << number;
            EXPECT_EQ(broadcastWindow()->getAIT()->getNumApplications(), 2u)
                << "allocation " << number;
            EXPECT_NE(running(), nullptr) << "allocation " << number;
            EXPECT_EQ(broadcastWindow()->getApplications().size(), 1u) << "allocation " << number;
            vesta_hbbtv_shutdown();
        }
    }
}

TEST_F(OutOfMemoryReport, AParentEndsAlsoWhereThereIsNoneWhenItsChildHasLoaded)
{
    const long endless = 2000;
    long failures = 1;
    for (long number = 1; number < endless && failures > 0; ++number) {
        start();
        windowsAreShared = false;
        vesta_hbbtv_send_event(E_START_BROADCAST_INDEPENDENT_APPLICATION, longUrl());
        tickAll();
        void* created = nullptr;
        native_ApplicationCreateApplication("http://b.example/child", 1, runningId(), &created);
        tickAll();
        Window* const window = broadcastWindow();
        ASSERT_EQ(window->getApplications().size(), 2u);
        FailingMemory::fail(number, false);
        window->reportLoadSuccess(running()->getTavoWindow());
        failures = FailingMemory::stop();
        tickAll();
        EXPECT_EQ(window->getApplications().size(), 1u) << "allocation " << number;
        vesta_hbbtv_shutdown();
        windowsAreShared = true;
    }
}

TEST_F(OutOfMemoryReport, EveryFunctionAnswersItsError)
{
    runService();
    void* const id = runningId();
    const auto failing = [](auto call) {
        FailingMemory::fail(1, true);
        const auto answer = call();
        EXPECT_GT(FailingMemory::stop(), 0);
        return answer;
    };
    double number = 0;
    void* created = nullptr;
    EXPECT_EQ(failing([&] { return native_AppPrivateDataGetFreeMem(1, &number); }),
              VEIF_RETURN_ERROR);
    EXPECT_EQ(failing([&] { return native_KeySetSetValue(id, 1, &number); }), VEIF_RETURN_ERROR);
    EXPECT_EQ(failing([&] { return native_ApplicationHide(id); }), VEIF_RETURN_ERROR);
    EXPECT_EQ(failing([&] { return native_ApplicationShow(id); }), VEIF_RETURN_ERROR);
    FailingMemory::fail(1, true);
    EXPECT_EQ(native_ApplicationDestroyApplication(id), VEIF_RETURN_OK) << "the end is prepared";
    EXPECT_EQ(FailingMemory::stop(), 0);
    EXPECT_EQ(failing([&] { return native_ApplicationDestroyApplication(id); }), VEIF_RETURN_ERROR);
    const char* const page = "http://a.example/a/page/that/no/string/holds/in/place";
    EXPECT_EQ(failing([&] { return native_ApplicationCreateApplication(page, 1, id, &created); }),
              VEIF_RETURN_ERROR);
    EXPECT_EQ(failing([&] { return native_PermissionsIsTrusted(1, page); }),
              VEIF_RETURN_NOT_PERMITTED);
    EXPECT_EQ(failing([&] { return native_PermissionsIsBroadcastRelated(1, page); }),
              VEIF_RETURN_NOT_PERMITTED);
    EXPECT_EQ(failing([&] { return native_AppManNotifySetChannelCalled(1, page, nullptr); }),
              VEIF_RETURN_OK);
    EXPECT_FALSE(failing([&] {
        return vesta_hbbtv_is_within_boundaries(vesta_hbbtv_get_broadcast_window(), page);
    }));
    EXPECT_EQ(failing([&] { return vesta_hbbtv_create_window(); }), nullptr);
    int result = 0;
    TavoVestaEventData data = {};
    data.url = page;
    EXPECT_EQ(failing([&] {
                  return vesta_hbbtv_handle_notification(browser().handle(), browser().window(1),
                                                         TAVO_VESTA_EVT_URL_CHANGED, &data,
                                                         &result);
              }),
              1u);
    EXPECT_EQ(result, -3);
    vesta_hbbtv_shutdown();
    EXPECT_FALSE(failing([] { return vesta_hbbtv_add_notification_listener(listen); }));
    EXPECT_FALSE(failing([] { return vesta_hbbtv_tick(); }));
    EXPECT_EQ(failing([] { return vesta_hbbtv_set_time_shifted(nullptr, 1); }), 1u);
    vesta_hbbtv_shutdown();
}

}  // namespace
