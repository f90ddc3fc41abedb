// Tables and starts that come from inside of what the library calls while it acts on an older one:
// the newest table is in force, and its application runs.

#include <algorithm>
#include <cctype>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class NewestTable : public LibraryTest {
protected:
    static std::string pageOf(unsigned version) { return "v" + std::to_string(version); }

    static AITSection tableOf(uint8_t version)
    {
        return AITSection().version(version).add(
            httpApplication(1, static_cast<uint16_t>(version + 1), pageOf(version)));
    }

    static void tickIn(uint8_t version)
    {
        sendAIT(tableOf(version));
        tickAll();
    }

    /// Does something in the first of these notifications only.
    static void once(HBBTV_NotificationType type, const std::function<void()>& action)
    {
        listener().onNotification[type] = [action, done = std::make_shared<bool>(false)](auto*) {
            if (!std::exchange(*done, true))
                action();
        };
    }

    void expectInForce(uint8_t version)
    {
        ASSERT_NE(window()->getAIT(), nullptr);
        EXPECT_EQ(window()->getAIT()->getVersion(), version);
        EXPECT_EQ(runningURL(), "http://a.example/" + pageOf(version));
        EXPECT_EQ(window()->getApplications().size(), 1u);
        EXPECT_EQ(window()->getState(), Window::RUNNING);
    }
};

TEST_F(NewestTable, IsTheOneThatAListenerOfTheFormerOnesAnnouncementTicksIn)
{
    once(HBBTV_NOTIFICATION_AIT_UPDATE, [] { tickIn(2); });
    tickIn(1);
    expectInForce(2);
    const Lines lines = journal();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "hbbtv_ait_completed(1)"), 0);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "hbbtv_ait_completed(2)"), 1);

    tickIn(1);  // a newer version of the first content is one of its own
    expectInForce(1);
}

TEST_F(NewestTable, IsNotPutBackWhereThePlatformTicksItInAtTheEndOfTheFormerOne)
{
    bool done = false;
    platform().whileIn["hbbtv_ait_completed"] = [&done] {
        if (std::exchange(done, true))
            return;
        tickIn(2);
    };
    tickIn(1);
    expectInForce(2);
}

TEST_F(NewestTable, StartsItsApplicationWhereTheFormerOnesWasAskedFor)
{
    once(HBBTV_NOTIFICATION_START_APPLICATION, [] { tickIn(2); });
    tickIn(1);
    expectInForce(2);
    EXPECT_EQ(log().count("WARN Window: Pending application added when pending already existed."),
              0);
}

TEST_F(NewestTable, IsNotDisturbedByTheAnswerToTheFormerOnesQuestion)
{
    for (const int blocking : {1, 2}) {
        bool asked = false;
        listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [&](auto* data) {
            if (std::exchange(asked, true))
                return;
            tickIn(static_cast<uint8_t>(2 * blocking));
            data->application.action = static_cast<HBBTV_ApplicationActionType>(blocking);
        };
        tickIn(static_cast<uint8_t>(2 * blocking - 1));
        expectInForce(static_cast<uint8_t>(2 * blocking));
    }
}

TEST_F(NewestTable, StartsItsApplicationWhereTheFormerOnesIsMade)
{
    once(HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE, [] { tickIn(2); });
    tickIn(1);
    expectInForce(2);
}

TEST_F(NewestTable, EndsTheWalkThroughTheFormerOnesApplications)
{
    once(HBBTV_NOTIFICATION_REJECT_APPLICATION, [] { tickIn(2); });
    sendAIT(AITSection()
                .version(1)
                .add(httpApplication(1, 1).profiles({{0, 9, 9, 9}}))
                .add(httpApplication(1, 2))
                .add(httpApplication(1, 3)));
    tickAll();
    expectInForce(2);
    EXPECT_EQ(log().count("LOG Window: First AUTOSTART application failed to start, started lower "
                          "prio one instead."),
              0);
    EXPECT_EQ(log().count("WARN Window: AUTOSTART application failed to start."), 0);
}

TEST_F(NewestTable, EndsTheWalkAfterALowerApplicationToo)
{
    once(HBBTV_NOTIFICATION_START_APPLICATION, [] { tickIn(2); });
    sendAIT(AITSection()
                .version(1)
                .add(httpApplication(1, 1).profiles({{0, 9, 9, 9}}))
                .add(httpApplication(1, 2))
                .add(httpApplication(1, 3)));
    tickAll();
    expectInForce(2);
}

TEST_F(NewestTable, DecidesAloneWhereTheFormerOneForbidsTheApplication)
{
    startApplication(httpApplication(1, 9), 0);
    once(HBBTV_NOTIFICATION_REJECT_APPLICATION, [] {
        sendAIT(AITSection().version(2).add(httpApplication(1, 9)));
        vesta_hbbtv_tick();
    });
    sendAIT(AITSection().version(1).add(httpApplication(1, 1).profiles({{0, 9, 9, 9}})));
    tickAll();
    EXPECT_EQ(window()->getAIT()->getVersion(), 2);
    ASSERT_NE(running(), nullptr);
    EXPECT_EQ(running()->getApplicationId(), 9);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
}

TEST_F(NewestTable, MayBeOneThatTheIntegrationBuilt)
{
    once(HBBTV_NOTIFICATION_AIT_UPDATE, [this] {
        sendXMLAIT({httpApplication(5, 6, "xml")});
        tickAll();
    });
    tickIn(1);
    EXPECT_TRUE(window()->getAIT()->isXMLBased());
    EXPECT_EQ(runningURL(), "http://a.example/xml");
}

TEST_F(NewestTable, IsNotReplacedByOneThatTheIntegrationBuiltBefore)
{
    once(HBBTV_NOTIFICATION_AIT_UPDATE, [] { tickIn(2); });
    sendXMLAIT({httpApplication(5, 6, "xml")});
    tickAll();
    expectInForce(2);
}

TEST_F(NewestTable, IsNotPutInForceWhereTheChannelIsChangedWhileItIsAnnounced)
{
    once(HBBTV_NOTIFICATION_AIT_UPDATE, [] {
        send(E_CHANNEL_CHANGE);
        tickAll();
    });
    tickIn(1);
    EXPECT_EQ(window()->getAIT(), nullptr);
    EXPECT_EQ(running(), nullptr);
    tickIn(1);
    expectInForce(1);
}

TEST_F(NewestTable, IsNotActivatedTwiceWhereItComesInTheStopOfAnApplication)
{
    startApplication(httpApplication(1, 9), 0);
    once(HBBTV_NOTIFICATION_STOP_APPLICATION, [] {
        sendAIT(tableOf(2));
        vesta_hbbtv_tick();
    });
    listener().reactivateAIT = 1;
    window()->shutdownApplication(running(), true, true, true);
    EXPECT_EQ(log().count("LOG Window: Reactivating AIT..."), 0);
    tickAll();
    expectInForce(2);
    EXPECT_EQ(log().count("WARN Window: Pending application added when pending already existed."),
              0);
}

TEST_F(NewestTable, IsNotReplacedByTheServicesWhereItComesInTheStopOfAnApplication)
{
    startApplication(httpApplication(1, 9), 0);
    once(HBBTV_NOTIFICATION_STOP_APPLICATION, [this] {
        sendXMLAIT({httpApplication(5, 6, "xml")});
        vesta_hbbtv_tick();
    });
    listener().reactivateAIT = 1;
    window()->shutdownApplication(running(), true, true, true);
    tickAll();
    EXPECT_TRUE(window()->getAIT()->isXMLBased());
    EXPECT_EQ(runningURL(), "http://a.example/xml");
}

TEST_F(NewestTable, ComesInForceAlsoWhereTheFormerOneIsActivatedAgainWhileItIsAnnounced)
{
    startApplication(httpApplication(1, 9), 0);
    sendXMLAIT({httpApplication(1, 9), httpApplication(5, 6, "xml")});
    tickAll();
    ASSERT_TRUE(window()->getAIT()->isXMLBased());
    once(HBBTV_NOTIFICATION_AIT_UPDATE, [this] { window()->scheduleReactivateAIT(true); });
    tickIn(1);
    EXPECT_EQ(window()->getAIT()->getVersion(), 1);
}

TEST_F(NewestTable, MayComeTwiceWhileTheBrowserIsAskedForThePageOfAnXMLStart)
{
    sendXMLAIT({httpApplication(5, 6, "xml")});
    tickAll();
    ASSERT_EQ(runningURL(), "http://a.example/xml");
    // Nobody but the window counts the table that is activated.
    window()->setAIT(broadcastTable(AITSection().version(1).add(httpApplication(5, 6, "xml"))));
    browser().loadingURL = "http://a.example/xml";
    bool isFirst = true;
    browser().whileIn["ve_get_loading_url"] = [&] {
        if (!std::exchange(isFirst, false))
            return;
        for (const unsigned version : {2u, 3u, 4u})
            tickIn(static_cast<uint8_t>(version));
    };
    window()->activateAIT();
    tickAll();
    EXPECT_FALSE(isFirst);
    EXPECT_EQ(window()->getAIT()->getVersion(), 4);
}

/// Where a table may come from inside of. A number is a notification's type.
class NestedTables : public NewestTable, public ::testing::WithParamInterface<std::string> {
protected:
    ~NestedTables() override
    {
        listener().onNotification.clear();
        browser().whileIn.clear();
        platform().whileIn.clear();
    }

    static constexpr int deepest = 4;

    void goDeeper()
    {
        if (depth_ == deepest)
            return;
        ++depth_;
        tickIn(static_cast<uint8_t>(depth_));
    }

    int depth_ = 0;
};

TEST_P(NestedTables, TheDeepestOneWins)
{
    startApplication(httpApplication(1, 9), 31);
    const auto deeper = [this] { goDeeper(); };
    const std::string& place = GetParam();
    if (std::isdigit(static_cast<unsigned char>(place.front())))
        listener().onNotification[std::stoi(place)] = [deeper](auto*) { deeper(); };
    else if (place.rfind("ve_", 0) == 0)
        browser().whileIn[place] = deeper;
    else
        platform().whileIn[place] = deeper;
    goDeeper();
    EXPECT_GE(depth_, 2) << "nothing comes past " << place;  // what ends, ends once
    expectInForce(static_cast<uint8_t>(depth_));
    EXPECT_EQ(listener().windowsInUse.size(), 1u);
}

// Stop, AIT update, start, change, request, release; and what the browser and the platform are
// asked.
INSTANTIATE_TEST_SUITE_P(Everywhere, NestedTables,
                         ::testing::Values("0", "1", "3", "5", "7", "8", "ve_clear_history",
                                           "ve_open_url", "hbbtv_ait_completed"));

}  // namespace
