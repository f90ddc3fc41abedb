// What comes too late, or twice: profiles after the table that asks for them, and both events of a
// load that failed.

#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class LateProfiles : public LibraryTest {
protected:
    LateProfiles()
    {
        sendTable(0);
        tickAll();
        EXPECT_EQ(lastLine(), "REJECT 1.1 related autostart");
        send(E_SUPPORTED_PROFILES, profilesRecord(profile));
        tickAll();
    }

    void sendTable(uint8_t version)
    {
        sendAIT(AITSection().version(version).add(
            httpApplication(1, 1).profiles({{profile, 1, 1, 1}})));
    }

    static constexpr uint16_t profile = 0x0001;
    const std::string opened = "ve_open_url(w1, http://a.example/index.html)";
};

TEST_F(LateProfiles, DoNotStartWhatWasRejected)
{
    sendTable(0);
    tickAll();
    EXPECT_EQ(journal(), Lines());
}

TEST_F(LateProfiles, CountForTheNextVersionOfTheTable)
{
    sendTable(1);
    tickAll();
    EXPECT_EQ(lastLine(), opened);
}

TEST_F(LateProfiles, CountForTheSameVersionAfterAChannelChange)
{
    send(E_CHANNEL_CHANGE);
    tickAll();
    EXPECT_FALSE(running());
    sendTable(0);
    tickAll();
    EXPECT_EQ(lastLine(), opened);
}

TEST_F(LateProfiles, CountForAStartThatIsAskedFor)
{
    send(E_START_APPLICATION, startRecord(window(), 1, 1));
    tickAll();
    EXPECT_EQ(lastLine(), opened);
}

class FailedTwice : public LibraryTest {};

TEST_F(FailedTwice, AsksTheListenersAgain)
{
    startApplication(httpApplication(1, 1).http(2, "http://b.example/").labels({1, 2}));
    failLoading();
    const Lines once = journal();
    EXPECT_THAT(once, ::testing::Contains(::testing::StartsWith("START 1.1")));
    TavoVestaEventData data = {};
    notify(TAVO_VESTA_EVT_LOADING_FAILED, 1, data);
    EXPECT_EQ(journal(), once);
}

TEST_F(FailedTwice, AFailureWithAnyOtherStatusIsALoadedPage)
{
    startApplication(httpApplication(1, 1));
    TavoVestaEventData data = {};
    data.http_status = 500;
    int result = -1;
    EXPECT_EQ(notify(TAVO_VESTA_EVT_LOADING_FINISHED, 1, data, &result), 1u);
    EXPECT_EQ(result, 0);
    tickAll();
    failLoading();
    EXPECT_EQ(journal(), Lines()) << "its page has loaded, so that a later failure changes nothing";
}

class StopRecord : public LibraryTest {};

TEST_F(StopRecord, HasNoUsageType)
{
    static unsigned char usageType;
    startApplication(httpApplication(1, 1).usage(1));
    usageType = 0xFF;
    vesta_hbbtv_add_notification_listener(
        [](HBBTV_NotificationType type, HBBTV_NotificationData* data) {
            if (type == HBBTV_NOTIFICATION_STOP_APPLICATION)
                usageType = data->application.usageType;
            return HBBTV_STATUS_OK;
        });
    send(E_TERMINATE_APPLICATION, windowRecord(window()));
    tickAll();
    EXPECT_EQ(usageType, 0);
}

}  // namespace
