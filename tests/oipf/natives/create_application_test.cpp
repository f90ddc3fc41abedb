// Scripts that start applications.

#include "lifecycle/application.h"
#include "tests/oipf/natives/natives_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char native[] = "DEBUG ApplicationManager: native_ApplicationCreateApplication";
const char createFailed[] = "ERR ApplicationManager: Create application failed";

class CreateApplication : public NativesTest {
protected:
    struct Answer {
        int status;
        void* id;
    };

    static Answer create(const char* url, void* parent)
    {
        Answer answer = {-1, &answer};
        answer.status = native_ApplicationCreateApplication(url, 1, parent, &answer.id);
        return answer;
    }

    /// A table with the running application 1.1, and 1a.2b that may be asked for.
    void startService()
    {
        sendAIT(AITSection()
                    .add(httpApplication(1, 1))
                    .add(httpApplication(0x1A, 0x2B, "b.html").controlCode(2)));
        tickAll();
        ASSERT_NE(running(), nullptr);
        forgetJournal();
        log().clear();
    }

    static std::string creating(const std::string& url)
    {
        return "DEBUG ApplicationManager: Creating application: " + url;
    }
};

TEST_F(CreateApplication, ByURLStartsABroadcastIndependentChild)
{
    startService();
    void* const parent = id();
    const Answer answer = create("http://b.example/child?q#f", parent);
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.id, reinterpret_cast<void*>(uintptr_t{2}));
    EXPECT_EQ(log().leveledLines()[0], native);
    EXPECT_EQ(log().leveledLines()[1], creating("http://b.example/child?q#f"));
    const Application* const pending = window()->getPendingApplication();
    ASSERT_NE(pending, nullptr);
    EXPECT_EQ(pending->getParent(), running());
    EXPECT_TRUE(pending->isStartedOnRequest());
    tickAll();
    EXPECT_EQ(journal(), Lines({
                             "START 0.0 independent http://b.example/child?q#f",
                             "REQUEST w2",
                             "ve_clear_history(w2)",
                             "ve_open_url(w2, http://b.example/child?q#f)",
                         }));
    EXPECT_EQ(id(), answer.id);
}

TEST_F(CreateApplication, ByIdsStartsTheEntryOfTheTableInForce)
{
    startService();
    const Answer answer = create("dvb://current.ait/1a.2b?lang=de#top", id());
    EXPECT_EQ(answer.status, 0);
    tickAll();
    EXPECT_EQ(journal(), Lines({
                             "START 1a.2b related http://a.example/b.html?lang=de#top",
                             "CHANGE 0.0 related trusted=1 http://a.example/b.html?lang=de#top",
                             "REQUEST w2",
                             "ve_clear_history(w2)",
                             "ve_open_url(w2, http://a.example/b.html?lang=de#top)",
                         }));
    EXPECT_EQ(id(), answer.id);
}

TEST_F(CreateApplication, ByIdsDoesNotNeedTheHTTPSwitch)
{
    sendAIT(AITSection()
                .add(AITEntry(1, 1).carousel(1, 9).location("a"))
                .add(AITEntry(1, 2, 2).carousel(1, 9).location("b")));
    send(E_HTTP_UNAVAILABLE);
    tickAll();
    ASSERT_NE(running(), nullptr);
    EXPECT_EQ(create("dvb://current.ait/1.2", id()).status, 0);
}

TEST_F(CreateApplication, ByAnyOtherURLNeedsTheHTTPSwitch)
{
    startService();
    send(E_HTTP_UNAVAILABLE);
    tickAll();
    forgetJournal();
    for (const char* const url : {"http://b.example/", "dvb://1.2.3.4/a", "relative", ""}) {
        log().clear();
        const Answer answer = create(url, id());
        EXPECT_EQ(answer.status, 1) << url;
        EXPECT_EQ(answer.id, nullptr) << url;
        EXPECT_EQ(log().leveledLines(), Lines({native, creating(url), createFailed}));
    }
    EXPECT_EQ(journal(), Lines());
}

TEST_F(CreateApplication, ByDVBURLStartsWithTheHTTPSwitch)
{
    startService();
    EXPECT_EQ(create("dvb://1.2.3.4/a", id()).status, 0);
    EXPECT_EQ(journal(), Lines({"START 0.0 independent dvb://1.2.3.4/a"}));
}

TEST_F(CreateApplication, RelativeURLIsResolvedAgainstTheRunningApplication)
{
    startService();
    EXPECT_EQ(create("child.html", id()).status, 0);
    EXPECT_EQ(journal(), Lines({"START 0.0 independent http://a.example/child.html"}));
}

TEST_F(CreateApplication, MalformedIdsAreAnErrorWithoutAFurtherLogLine)
{
    startService();
    for (const char* const url :
         {"dvb://current.ait/", "dvb://current.ait/1", "dvb://current.ait/1.",
          "dvb://current.ait/.1", "dvb://current.ait/xyz.1", "dvb://current.ait/1a.2b/index.html",
          "dvb://current.ait/1.2.3"}) {
        log().clear();
        const Answer answer = create(url, id());
        EXPECT_EQ(answer.status, 4) << url;
        EXPECT_EQ(answer.id, nullptr) << url;
        EXPECT_EQ(log().leveledLines(), Lines({native, creating(url)}));
    }
    EXPECT_EQ(journal(), Lines());
}

TEST_F(CreateApplication, IdsThatNameNoApplicationFail)
{
    startService();
    for (const char* const url : {"dvb://current.ait/1a.2c", "dvb://current.ait/1b.2b",
                                  "dvb://current.ait/1a.1002b", "dvb://current.ait/1a.ffffffff002b",
                                  "dvb://current.ait/10000001a.2b", "dvb://current.ait/0.0"}) {
        const Answer answer = create(url, id());
        EXPECT_EQ(answer.status, 1) << url;
        EXPECT_EQ(answer.id, nullptr) << url;
        EXPECT_EQ(log().leveledLines().back(), createFailed);
    }
    EXPECT_EQ(journal(), Lines());
}

TEST_F(CreateApplication, IdsEndWithTheHighestThatATableCanSignal)
{
    sendAIT(AITSection()
                .add(httpApplication(1, 1))
                .add(httpApplication(0x1A, 0, "zero.html").controlCode(2))
                .add(httpApplication(0x1A, 0xFFFF, "last.html").controlCode(2)));
    tickAll();
    listener().startAction = HBBTV_APPLICATION_ACTION_START;  // also for a reserved id
    EXPECT_EQ(create("dvb://current.ait/1a.10000", id()).status, 1);
    EXPECT_EQ(create("dvb://current.ait/1a.ffff", id()).status, 0);
}

TEST_F(CreateApplication, NullURLCountsAsEmpty)
{
    startService();
    const Answer answer = create(nullptr, id());
    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.id, nullptr);
    EXPECT_EQ(log().leveledLines()[1], creating(""));
    EXPECT_EQ(log().leveledLines().back(), createFailed);
}

TEST_F(CreateApplication, ThatIsBlockedFails)
{
    startService();
    listener().startAction = HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP;
    const Answer answer = create("http://b.example/", id());
    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.id, nullptr);
    EXPECT_EQ(log().leveledLines().back(), createFailed);
    EXPECT_NE(running(), nullptr);
}

TEST_F(CreateApplication, ChildTakesThePlaceOfItsParentWhenItsPageHasLoaded)
{
    startService();
    finishLoading();
    const Answer answer = create("http://b.example/child", id());
    tickAll();
    forgetJournal();
    finishLoading(2);
    EXPECT_EQ(journal(),
              Lines({"SHOW w2", "STOP 1.1 related reactivate=0 http://a.example/index.html",
                     "RELEASE w1"}));
    EXPECT_EQ(id(), answer.id);
    EXPECT_EQ(running()->getParent(), nullptr);
    EXPECT_FALSE(running()->isStartedOnRequest());
}

TEST_F(CreateApplication, ListenerMayEndTheParentOfTheChildThatItIsAskedAbout)
{
    startService();
    void* const parent = id();
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [&](HBBTV_NotificationData*) {
        window()->terminateRunningApplication(true);
    };
    const Answer answer = create("http://b.example/", parent);
    EXPECT_EQ(answer.status, 0);
    ASSERT_NE(window()->getPendingApplication(), nullptr);
    EXPECT_EQ(window()->getPendingApplication()->getParent(), nullptr);
    tickAll();
    EXPECT_EQ(id(), answer.id);
}

TEST_F(CreateApplication, ListenerMayReleaseTheWindowOfTheChildThatItIsAskedAbout)
{
    startService();
    void* const parent = id();
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [&](HBBTV_NotificationData*) {
        vesta_hbbtv_release_window(window());
    };
    const Answer answer = create("http://b.example/", parent);
    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.id, nullptr);
}

TEST_F(CreateApplication, ListenerMayShutTheLibraryDownWhenItIsAsked)
{
    startService();
    void* const parent = id();
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [](HBBTV_NotificationData*) {
        vesta_hbbtv_shutdown();
    };
    const Answer answer = create("http://b.example/", parent);
    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.id, nullptr);
    EXPECT_FALSE(vesta_hbbtv_tick());
}

}  // namespace
