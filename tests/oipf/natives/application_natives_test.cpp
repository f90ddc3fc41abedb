// What scripts ask of the application manager, their application and its key set.

#include <cmath>
#include <limits>

#include "lifecycle/application.h"
#include "lifecycle/script_plugin.h"
#include "oipf/natives/application_natives.h"
#include "tests/oipf/natives/natives_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class ApplicationNatives : public NativesTest {};

struct NativeCase {
    const char* name;
    /// Calls the native for an application or browser window that there is not.
    int (*callUnknown)();
    int answer;
    Lines log;
};

std::ostream& operator<<(std::ostream& stream, const NativeCase& native)
{
    return stream << native.name;
}

double number = 1234;
void* pointer = &number;
long longNumber = 1234;

const NativeCase unknownCases[] = {
    {"KeySetSetValue",
     [] { return native_KeySetSetValue(unknownId(), 1, &number); },
     4,
     {"DEBUG ApplicationManager: native_KeySetSetValue", invalidId}},
    {"KeySetGetValue",
     [] { return native_KeySetGetValue(unknownId(), &number); },
     4,
     {"DEBUG ApplicationManager: native_KeySetGetValue", invalidId}},
    {"IsBroadcastRelated",
     [] { return native_PermissionsIsBroadcastRelated(1, "http://x/"); },
     7,
     {"DEBUG ApplicationManager: native_PermissionsIsBroadcastRelated()", noWindow}},
    {"IsTrusted",
     [] { return native_PermissionsIsTrusted(1, "http://x/"); },
     7,
     {"DEBUG ApplicationManager: native_PermissionIsTrusted()", noWindow}},
    {"NotifySetChannelCalled",
     [] { return native_AppManNotifySetChannelCalled(1, "http://x/", &number); },
     0,
     {"DEBUG ApplicationManager: native_AppManNotifySetChannelCalled()", noWindow}},
    {"GetWindowOfApplication",
     [] { return native_AppManGetWindowOfApplication(unknownId(), &longNumber); },
     4,
     {invalidId}},
    {"GetCurrentChannel",
     [] {
         void* channel = &number;
         const int answer = native_AppPrivateDataGetCurrentChannel(unknownId(), &channel);
         EXPECT_EQ(channel, nullptr);
         return answer;
     },
     4,
     {"DEBUG ApplicationManager: native_AppPrivateDataGetCurrentChannel", invalidId}},
    {"Destroy",
     [] { return native_ApplicationDestroyApplication(unknownId()); },
     4,
     {"DEBUG ApplicationManager: native_ApplicationDestroyApplication", invalidId}},
    {"Hide",
     [] { return native_ApplicationHide(unknownId()); },
     4,
     {"DEBUG ApplicationManager: native_ApplicationHide", invalidId}},
    {"Show",
     [] { return native_ApplicationShow(unknownId()); },
     4,
     {"DEBUG ApplicationManager: native_ApplicationShow", invalidId}},
    {"GetApplicationId",
     [] { return native_AppManGetApplicationId(1, nullptr, &pointer); },
     4,
     {"DEBUG ApplicationManager: native_AppManGetApplicationId", noWindow}},
    {"Create",
     [] { return native_ApplicationCreateApplication("http://x/", 0, unknownId(), &pointer); },
     4,
     {"DEBUG ApplicationManager: native_ApplicationCreateApplication", invalidId,
      "ERR ApplicationManager: Invalid parent application id in native application create call"}},
};

class NativeOfNobody : public NativesTest, public ::testing::WithParamInterface<NativeCase> {};

TEST_P(NativeOfNobody, AnswersLogsAndWritesNothing)
{
    EXPECT_EQ(GetParam().callUnknown(), GetParam().answer);
    EXPECT_EQ(log().leveledLines(), GetParam().log);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(number, 1234);
    EXPECT_EQ(pointer, &number);
    EXPECT_EQ(longNumber, 1234);
    EXPECT_EQ(tickAll(), 0);
}

TEST_P(NativeOfNobody, AnswersTheSameOutsideTheLifeOfTheLibrary)
{
    shutdown();
    forgetJournal();
    log().clear();
    EXPECT_EQ(GetParam().callUnknown(), GetParam().answer);
    EXPECT_EQ(journal(), Lines());
    for (const std::string& line : log().leveledLines())
        EXPECT_EQ(line.find("Invalid parent"), std::string::npos) << "nobody was looked for";
}

INSTANTIATE_TEST_SUITE_P(Natives, NativeOfNobody, ::testing::ValuesIn(unknownCases),
                         [](const auto& suite) { return suite.param.name; });

TEST_F(ApplicationNatives, WithoutAPlaceForTheResultAnswerAnErrorAndDoNothingElse)
{
    start(httpApplication(1, 1));
    EXPECT_EQ(native_AppPrivateDataGetFreeMem(1, nullptr), 4);
    EXPECT_EQ(native_KeySetGetMaximumValue(1, nullptr), 4);
    EXPECT_EQ(native_KeySetSetValue(id(), 0x3FF, nullptr), 4);
    EXPECT_EQ(native_KeySetGetValue(id(), nullptr), 4);
    EXPECT_EQ(native_AppManGetWindowOfApplication(id(), nullptr), 4);
    EXPECT_EQ(native_AppPrivateDataGetCurrentChannel(id(), nullptr), 4);
    EXPECT_EQ(native_AppManGetApplicationId(1, nullptr, nullptr), 4);
    EXPECT_EQ(native_ApplicationCreateApplication("http://b.example/", 0, id(), nullptr), 4);
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG ApplicationManager: native_AppPrivateDataGetFreeMem",
                     "DEBUG ApplicationManager: native_KeySetGetMaximumValue",
                     "DEBUG ApplicationManager: native_KeySetSetValue",
                     "DEBUG ApplicationManager: native_KeySetGetValue",
                     "DEBUG ApplicationManager: native_AppPrivateDataGetCurrentChannel",
                     "DEBUG ApplicationManager: native_AppManGetApplicationId",
                     "DEBUG ApplicationManager: native_ApplicationCreateApplication"}));
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(keySetOf(id()), 0);
    EXPECT_EQ(tickAll(), 0);
}

TEST_F(ApplicationNatives, NothingToDestroyOrHideIsLoggedAllTheSame)
{
    EXPECT_EQ(native_ApplicationDestroyApplication(nullptr), 0);
    EXPECT_EQ(native_ApplicationHide(nullptr), 0);
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG ApplicationManager: native_ApplicationDestroyApplication",
                     "DEBUG ApplicationManager: native_ApplicationHide"}));
}

TEST_F(ApplicationNatives, NullIdIsNoApplicationAndIsNotLoggedAsInvalid)
{
    EXPECT_EQ(native_KeySetSetValue(nullptr, 1, &number), 4);
    EXPECT_EQ(native_KeySetGetValue(nullptr, &number), 4);
    EXPECT_EQ(native_AppManGetWindowOfApplication(nullptr, &longNumber), 4);
    void* channel = &number;
    EXPECT_EQ(native_AppPrivateDataGetCurrentChannel(nullptr, &channel), 4);
    EXPECT_EQ(channel, nullptr);
    EXPECT_EQ(native_ApplicationDestroyApplication(nullptr), 0);
    EXPECT_EQ(native_ApplicationHide(nullptr), 0);
    EXPECT_EQ(native_ApplicationShow(nullptr), 4);
    EXPECT_EQ(native_ApplicationCreateApplication("http://x/", 0, nullptr, &pointer), 4);
    EXPECT_EQ(log().count(invalidId), 0);
    EXPECT_EQ(tickAll(), 0);
}

TEST_F(ApplicationNatives, WindowThatTheBrowserDoesNotKnowIsNotLogged)
{
    start(httpApplication(1, 1));
    EXPECT_EQ(native_PermissionsIsTrusted(0, "http://a.example/"), 7);
    EXPECT_EQ(log().count(noWindow), 0);
    browser().results["ve_get_window"] = 1;  // although it gives a handle
    EXPECT_EQ(native_PermissionsIsBroadcastRelated(1, "http://a.example/"), 7);
    EXPECT_EQ(native_AppManGetApplicationId(1, nullptr, &pointer), 4);
    EXPECT_EQ(log().count(noWindow), 0);
    EXPECT_EQ(browser().askedBrowser, browser().handle());
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationNatives, FreeMemoryIsWhatAListenerAnswers)
{
    double answer = 0;
    EXPECT_EQ(native_AppPrivateDataGetFreeMem(77, &answer), 0);
    EXPECT_EQ(answer, -1);
    listener().freeMemory = 123456789;
    EXPECT_EQ(native_AppPrivateDataGetFreeMem(-1, &answer), 0);
    EXPECT_EQ(answer, 123456789);
    EXPECT_EQ(journal(), Lines({"MEMORY?", "MEMORY?"}));
    EXPECT_EQ(log().leveledLines(),
              Lines(2, "DEBUG ApplicationManager: native_AppPrivateDataGetFreeMem"));
    shutdown();
    EXPECT_EQ(native_AppPrivateDataGetFreeMem(1, &answer), 0);
    EXPECT_EQ(answer, -1);
}

TEST_F(ApplicationNatives, MaximumKeySetIsTheTerminals)
{
    double answer = 0;
    EXPECT_EQ(native_KeySetGetMaximumValue(77, &answer), 0);
    EXPECT_EQ(answer, 0x3FF);
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG ApplicationManager: native_KeySetGetMaximumValue"}));
    platform().supportedKeySets = 0x1F;
    vesta_hbbtv_init(browser().handle());
    EXPECT_EQ(native_KeySetGetMaximumValue(77, &answer), 0);
    EXPECT_EQ(answer, 0x1F);
}

TEST_F(ApplicationNatives, SetKeySetIsAnsweredBeforeListenersAreTold)
{
    start(httpApplication(1, 1));
    double granted = -1;
    double seen = -1;
    listener().onNotification[HBBTV_NOTIFICATION_KEYSET_CHANGED] = [&](auto*) { seen = granted; };
    EXPECT_EQ(native_KeySetSetValue(id(), 5, &granted), 0);
    EXPECT_EQ(seen, 5);
}

TEST_F(ApplicationNatives, SetKeySetGrantsWhatTheTerminalSupportsAndTellsListeners)
{
    platform().supportedKeySets = 0x1F;
    vesta_hbbtv_init(browser().handle());
    start(httpApplication(1, 1));
    double granted = -1;
    EXPECT_EQ(native_KeySetSetValue(id(), 0x3FF, &granted), 0);
    EXPECT_EQ(granted, 0x1F);
    EXPECT_EQ(keySetOf(id()), 0x1F);
    EXPECT_EQ(native_KeySetSetValue(id(), 0x3FF, &granted), 0);
    EXPECT_EQ(journal(), Lines({"KEYSET w1 31", "KEYSET w1 31"}));
    EXPECT_EQ(log().leveledLines().front(), "DEBUG ApplicationManager: native_KeySetSetValue");
}

TEST_F(ApplicationNatives, KeySetNumbersAreCutTowardZeroAndSaturate)
{
    platform().supportedKeySets = -1;
    vesta_hbbtv_init(browser().handle());
    start(httpApplication(1, 1));
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<double, int> numbers[] = {
        {3.99, 3},
        {-0.5, 0},
        {-3.99, -3},
        {1e300, std::numeric_limits<int>::max()},
        {-infinity, std::numeric_limits<int>::min()},
        {std::nan(""), 0},
    };
    for (const auto& [value, stored] : numbers) {
        double granted = 0;
        EXPECT_EQ(native_KeySetSetValue(id(), value, &granted), 0);
        EXPECT_EQ(granted, stored);
        EXPECT_EQ(keySetOf(id()), stored);
    }
}

TEST_F(ApplicationNatives, WindowOfApplicationIsTheBrowsersNumber)
{
    start(httpApplication(1, 1));
    long windowId = 0;
    EXPECT_EQ(native_AppManGetWindowOfApplication(id(), &windowId), 0);
    EXPECT_EQ(windowId, 1);
    EXPECT_EQ(browser().askedBrowser, browser().handle());
    EXPECT_EQ(log().lines(), Lines());
    browser().results["ve_get_window_identifier"] = 2;
    EXPECT_EQ(native_AppManGetWindowOfApplication(id(), &windowId), 4);
}

TEST_F(ApplicationNatives, ApplicationIdIsFoundByTheBrowsersWindowNumber)
{
    start(httpApplication(1, 1));
    void* found = nullptr;
    EXPECT_EQ(native_AppManGetApplicationId(1, &number, &found), 0);
    EXPECT_EQ(found, id());
    EXPECT_EQ(reinterpret_cast<uintptr_t>(found), running()->getID());
    registerEmptyWindow(9);
    EXPECT_EQ(native_AppManGetApplicationId(9, nullptr, &pointer), 4);
    EXPECT_EQ(pointer, &number);
    EXPECT_EQ(log().count(noWindow), 0);
}

TEST_F(ApplicationNatives, CurrentChannelIsThatOfABroadcastRelatedApplication)
{
    char channel;
    sendAIT(AITSection().add(httpApplication(1, 1)), &channel);
    tickAll();
    void* found = nullptr;
    EXPECT_EQ(native_AppPrivateDataGetCurrentChannel(id(), &found), 0);
    EXPECT_EQ(found, &channel);
    running()->setBroadcastRelated(false);
    EXPECT_EQ(native_AppPrivateDataGetCurrentChannel(id(), &found), 1);
    EXPECT_EQ(found, nullptr);
}

TEST_F(ApplicationNatives, CurrentChannelIsNullWithoutAnEntryOrAHandle)
{
    startByURL("http://b.example/");
    void* found = &number;
    EXPECT_EQ(native_AppPrivateDataGetCurrentChannel(id(), &found), 1);
    EXPECT_EQ(found, nullptr);
    start(httpApplication(1, 1));
    found = &number;
    EXPECT_EQ(native_AppPrivateDataGetCurrentChannel(id(), &found), 1);
    EXPECT_EQ(found, nullptr);
}

TEST_F(ApplicationNatives, DestroyQueuesTheEndAndLetsTheServiceComeBack)
{
    start(httpApplication(1, 1, "i.html?a#b"));
    EXPECT_EQ(native_ApplicationDestroyApplication(id()), 0);
    EXPECT_EQ(log().leveledLines()[0],
              "DEBUG ApplicationManager: native_ApplicationDestroyApplication");
    EXPECT_EQ(log().leveledLines()[1], "DEBUG ApplicationManager: http://a.example/i.html?a#b");
    EXPECT_EQ(journal(), Lines());
    EXPECT_TRUE(vesta_hbbtv_tick());
    const Lines lines = journal();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[0], "STOP 1.1 related reactivate=1 http://a.example/i.html?a#b");
    EXPECT_EQ(lines[1], "RELEASE w1");
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/i.html?a#b");  // started anew
}

TEST_F(ApplicationNatives, DestroyLogsTheURLThatTheApplicationWasStartedWith)
{
    start(httpApplication(1, 1, "i.html?a#b"));
    TavoVestaEventData data = {};
    data.url = "http://a.example/another.html";
    notify(TAVO_VESTA_EVT_URL_CHANGED, 1, data);
    log().clear();
    EXPECT_EQ(native_ApplicationDestroyApplication(id()), 0);
    EXPECT_EQ(takeLog("ApplicationManager"),
              Lines({"DEBUG ApplicationManager: native_ApplicationDestroyApplication",
                     "DEBUG ApplicationManager: http://a.example/i.html?a#b"}));
}

TEST_F(ApplicationNatives, DestroyOfAnEndedApplicationIsInvalid)
{
    start(httpApplication(1, 1));
    void* const ended = id();
    send(E_TERMINATE_APPLICATION, windowRecord(window()));
    tickAll();
    EXPECT_EQ(native_ApplicationDestroyApplication(ended), 4);
    EXPECT_EQ(log().count(invalidId), 1);
}

TEST_F(ApplicationNatives, ApplicationWithoutWindowCannotBeDestroyedNorHaveChildren)
{
    // A listener gives the same browser window to a child; its parent stays behind in the map and
    // outlives the window.
    void* const orphan = leaveOrphanBehind();
    ASSERT_NE(orphan, nullptr);
    log().clear();
    forgetJournal();
    EXPECT_EQ(native_ApplicationDestroyApplication(orphan), 4);
    EXPECT_EQ(takeLog("ApplicationManager"),
              Lines({"DEBUG ApplicationManager: native_ApplicationDestroyApplication",
                     "DEBUG ApplicationManager: http://b.example/",
                     "ERR ApplicationManager: No window found for application in native call."}));
    EXPECT_EQ(native_ApplicationCreateApplication("http://c.example/", 0, orphan, &pointer), 4);
    EXPECT_EQ(log().leveledLines().back(),
              "ERR ApplicationManager: No window found to create application in in native call");
    EXPECT_EQ(pointer, &number);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationNatives, ShowActsAtOnceAndHideOnTheThirdTick)
{
    start(httpApplication(1, 1));
    finishLoading();
    EXPECT_EQ(native_ApplicationShow(id()), 0);
    EXPECT_EQ(journal(), Lines({"SHOW w1"}));
    EXPECT_EQ(native_ApplicationHide(id()), 0);
    for (int tick = 0; tick < 2; ++tick) {
        EXPECT_TRUE(vesta_hbbtv_tick());
        EXPECT_EQ(journal(), Lines());
    }
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_EQ(journal(), Lines({"HIDE w1"}));
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(ApplicationNatives, HideOfAnApplicationThatEndsMeanwhileDoesNothing)
{
    start(httpApplication(1, 1));
    native_ApplicationHide(id());
    send(E_TERMINATE_APPLICATION, windowRecord(window()));
    tickAll();
    EXPECT_EQ(journal(),
              Lines({"STOP 1.1 related reactivate=0 http://a.example/index.html", "RELEASE w1"}));
}

std::vector<std::string> scriptCalls;

void onManagerEvent(int event, void* appId)
{
    scriptCalls.push_back("event " + std::to_string(event) + " " +
                          std::to_string(reinterpret_cast<uintptr_t>(appId)));
}

void onDestroyed(void* appId)
{
    scriptCalls.push_back("destroyed " + std::to_string(reinterpret_cast<uintptr_t>(appId)));
}

TEST_F(ApplicationNatives, SettersStoreTheListenersWithoutALogLine)
{
    EXPECT_EQ(native_ApplicationManagerSetListener(onManagerEvent), 0);
    EXPECT_EQ(native_ApplicationManagerSetAppDestroyedListener(onDestroyed), 0);
    EXPECT_EQ(veif_applicationManagerListener, onManagerEvent);
    EXPECT_EQ(veif_applicationDestroyedListener, onDestroyed);
    EXPECT_EQ(native_ApplicationManagerSetListener(nullptr), 0);
    EXPECT_EQ(native_ApplicationManagerSetAppDestroyedListener(nullptr), 0);
    EXPECT_EQ(veif_applicationManagerListener, nullptr);
    EXPECT_EQ(veif_applicationDestroyedListener, nullptr);
    EXPECT_EQ(log().lines(), Lines());
}

TEST_F(ApplicationNatives, ListenersHearOfLowMemoryLoadErrorsAndEnds)
{
    scriptCalls.clear();
    start(httpApplication(1, 1));
    call_low_memory_listener();
    call_application_load_error_listener(running());
    call_application_destroyed_listener(running());
    EXPECT_EQ(scriptCalls, Lines());
    native_ApplicationManagerSetListener(onManagerEvent);
    native_ApplicationManagerSetAppDestroyedListener(onDestroyed);
    call_low_memory_listener();
    call_application_load_error_listener(running());
    call_application_load_error_listener(nullptr);
    call_application_destroyed_listener(running());
    EXPECT_EQ(scriptCalls, Lines({"event 0 0", "event 3 1", "event 3 0", "destroyed 1"}));
    scriptCalls.clear();
    send(E_TERMINATE_APPLICATION, windowRecord(window()));
    tickAll();
    EXPECT_EQ(scriptCalls, Lines({"destroyed 1"}));
    EXPECT_EQ(get_id_from_application(nullptr), nullptr);
}

}  // namespace
