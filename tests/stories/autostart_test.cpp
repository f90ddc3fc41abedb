// An application that the service starts by itself, from the first section to its last notice.

#include "lifecycle/window.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class AutostartStory : public LibraryTest {};

TEST_F(AutostartStory, TuneInStartsShowsAndStopsTheApplication)
{
    sendAIT(AITSection().version(7).add(httpApplication(0x1A, 0x2B)));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({
                             "AIT broadcast [1a.2b]",
                             "hbbtv_ait_completed(7)",
                             "START 1a.2b related autostart http://a.example/index.html",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/index.html)",
                         }));
    EXPECT_EQ(window()->getState(), Window::RUNNING);

    finishLoading();
    EXPECT_EQ(journal(), Lines());  // a broadcast-related application shows itself
    void* appId = nullptr;
    EXPECT_EQ(native_AppManGetApplicationId(1, nullptr, &appId), VEIF_RETURN_OK);
    EXPECT_EQ(native_ApplicationShow(appId), VEIF_RETURN_OK);
    EXPECT_EQ(journal(), Lines({"SHOW w1"}));

    shutdown();
    EXPECT_EQ(journal(), Lines({
                             "STOP 1a.2b related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                         }));
}

}  // namespace
