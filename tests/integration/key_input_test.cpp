// Keys on their way to an application.

#include <climits>

#include "integration/key_set.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class KeyInput : public LibraryTest {
protected:
    void startWithKeys(int keySet)
    {
        startApplication(httpApplication(1, 1));
        EXPECT_EQ(running()->getKeySet()->setValue(keySet), keySet);
    }

    static int press(int type, int key, long windowId = 1)
    {
        TAVO_KeyboardEvent event = {type, static_cast<TAVO_VIRTUAL_KEY>(key)};
        return vesta_hbbtv_key_input(browser().window(windowId), &event);
    }

    static int down(int key, long windowId = 1) { return press(TAVO_KEY_DOWN, key, windowId); }
    static int up(int key, long windowId = 1) { return press(TAVO_KEY_UP, key, windowId); }
};

TEST_F(KeyInput, DownAndUpAreForwardedInPairs)
{
    startWithKeys(KeySet::RED);
    EXPECT_EQ(down(403), 1);
    EXPECT_EQ(up(403), 1);
    EXPECT_EQ(browser().keys, Lines({"down 403", "up 403"}));
}

TEST_F(KeyInput, EventItselfIsForwarded)
{
    startWithKeys(KeySet::RED);
    TAVO_KeyboardEvent event = {TAVO_KEY_DOWN, TAVO_VK_RED};
    EXPECT_EQ(vesta_hbbtv_key_input(browser().window(1), &event), 1);
    EXPECT_EQ(browser().lastKeyEvent, &event);
    EXPECT_EQ(event.type, TAVO_KEY_DOWN);
    EXPECT_EQ(event.key_code, TAVO_VK_RED);
    EXPECT_EQ(log().lines(), Lines());
}

TEST_F(KeyInput, KeyUpWithoutKeyDownIsConsumedButNotForwarded)
{
    startWithKeys(KeySet::NAVIGATION);
    EXPECT_EQ(up(13), 1);
    EXPECT_EQ(down(13), 1);
    EXPECT_EQ(up(13), 1);
    EXPECT_EQ(up(13), 1);
    EXPECT_EQ(browser().keys, Lines({"down 13", "up 13"}));
}

TEST_F(KeyInput, RepeatedKeyDownIsForwardedEachTimeAndEndsWithOneKeyUp)
{
    startWithKeys(KeySet::NAVIGATION);
    for (const auto step :
         {&KeyInput::down, &KeyInput::down, &KeyInput::down, &KeyInput::up, &KeyInput::up})
        EXPECT_EQ(step(40, 1), 1);
    EXPECT_EQ(browser().keys, Lines({"down 40", "down 40", "down 40", "up 40"}));
}

TEST_F(KeyInput, KeysAreHeldIndependently)
{
    startWithKeys(KeySet::NAVIGATION);
    down(37);
    down(38);
    up(37);
    up(39);
    up(38);
    EXPECT_EQ(browser().keys, Lines({"down 37", "down 38", "up 37", "up 38"}));
    EXPECT_TRUE(running()->getKeys().empty());
}

TEST_F(KeyInput, KeyThatIsNotInTheSetIsNotDelivered)
{
    startWithKeys(KeySet::RED);
    for (const int key : {404, 13, 0, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(down(key), 0);
        EXPECT_EQ(up(key), 0);
    }
    EXPECT_EQ(browser().keys, Lines());
    EXPECT_TRUE(running()->getKeys().empty());
}

TEST_F(KeyInput, EndOfAKeyThatWasPressedBeforeTheSetWasWidenedIsNotForwarded)
{
    startWithKeys(KeySet::RED);
    EXPECT_EQ(down(404), 0);
    running()->getKeySet()->setValue(KeySet::RED | KeySet::GREEN);
    EXPECT_EQ(up(404), 1);
    EXPECT_EQ(browser().keys, Lines());
}

TEST_F(KeyInput, EndOfAKeyThatIsNoLongerInTheSetIsNotDelivered)
{
    startWithKeys(KeySet::GREEN);
    EXPECT_EQ(down(404), 1);
    running()->getKeySet()->setValue(KeySet::RED);
    EXPECT_EQ(up(404), 0);
    running()->getKeySet()->setValue(KeySet::GREEN);
    EXPECT_EQ(up(404), 1);  // still held down as far as the application knows
    EXPECT_EQ(browser().keys, Lines({"down 404", "up 404"}));
}

TEST_F(KeyInput, EventsOfAnyOtherTypeAreConsumedWithoutBeingForwarded)
{
    startWithKeys(KeySet::RED);
    down(403);
    for (const int type : {2, 3, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(press(type, 403), 1);
        EXPECT_EQ(press(type, 404), 0);
    }
    EXPECT_EQ(browser().keys, Lines({"down 403"}));
    EXPECT_EQ(running()->getKeys().size(), 1u);
}

TEST_F(KeyInput, WindowWithoutAnApplicationGetsNoKeys)
{
    EXPECT_EQ(down(403, 1), 0);
    startWithKeys(0x3FF);
    char foreign;
    TAVO_KeyboardEvent event = {TAVO_KEY_DOWN, TAVO_VK_RED};
    EXPECT_EQ(vesta_hbbtv_key_input(nullptr, &event), 0);
    EXPECT_EQ(vesta_hbbtv_key_input(reinterpret_cast<TAVO_VestaWindow*>(&foreign), &event), 0);
    EXPECT_EQ(down(403, 5), 0);
    manager()->registerTavoWindow(browser().window(9), window());
    EXPECT_EQ(down(403, 9), 0);
    EXPECT_EQ(browser().keys, Lines());
}

TEST_F(KeyInput, NoEventIsNotDealtWith)
{
    startWithKeys(0x3FF);
    EXPECT_EQ(vesta_hbbtv_key_input(browser().window(1), nullptr), 0);
    EXPECT_EQ(vesta_hbbtv_key_input(nullptr, nullptr), 0);
}

TEST_F(KeyInput, ApplicationThatHasEndedGetsNoKeys)
{
    startWithKeys(0x3FF);
    down(403);
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(up(403), 0);
    shutdown();
    EXPECT_EQ(down(403), 0);
    EXPECT_EQ(browser().keys, Lines({"down 403"}));
}

TEST_F(KeyInput, BroadcastRelatedApplicationStartsWithoutKeysAndAnIndependentOneWithAll)
{
    startApplication(httpApplication(1, 1));
    EXPECT_EQ(down(403), 0);
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), "http://b.example/"));
    tickAll();
    EXPECT_EQ(down(403), 1);
    EXPECT_EQ(down(65), 1);
}

TEST_F(KeyInput, KeyIsHeldAlreadyWhileItsBeginningIsDelivered)
{
    startWithKeys(KeySet::RED);
    browser().whileIn["tavo_keyboard_evt"] = [] {
        browser().whileIn.clear();
        EXPECT_EQ(up(403), 1);
    };
    EXPECT_EQ(down(403), 1);
    EXPECT_EQ(browser().keys, Lines({"down 403", "up 403"}));
}

TEST_F(KeyInput, BrowserMayEndTheApplicationWithAKey)
{
    startWithKeys(KeySet::RED);
    browser().whileIn["tavo_keyboard_evt"] = [&] { vesta_hbbtv_release_window(window()); };
    EXPECT_EQ(down(403), 1);
    EXPECT_EQ(up(403), 0);
}

}  // namespace
