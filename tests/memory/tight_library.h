/// A library whose memory runs out when a test says so, with its listener and its platform.
#ifndef VESTA_TESTS_MEMORY_TIGHT_LIBRARY_H
#define VESTA_TESTS_MEMORY_TIGHT_LIBRARY_H

#include <cstdint>
#include <gtest/gtest.h>

#include "vesta_hbbtv_appman.h"

#include "tests/support/fake_browser.h"
#include "tests/support/section_builder.h"

namespace VestaHbbTV {
class Application;
class Window;
}  // namespace VestaHbbTV

namespace vesta::test {

/// The library has ended after each test, and so has its log.
class TightLibraryTest : public ::testing::Test {
protected:
    TightLibraryTest();
    ~TightLibraryTest() override;

    /// Writes the lines to a log that counts those which say that memory ran out.
    static void countReports();
    /// How many there were since then.
    static int reports();

    /// Ends the library, and starts and ends it once more with an application that runs.
    static void expectUsable();
};

FakeBrowser& browser();

/// Gives one browser window to everybody, unless a test wants one for each.
VestaHbbTV::HBBTV_STATUS listen(VestaHbbTV::HBBTV_NotificationType type,
                                VestaHbbTV::HBBTV_NotificationData* data);
inline bool windowsAreShared = true;
inline bool isWindowInUse = false;

/// Starts the library, with a broadcast window and the listener.
void start();
void tickAll();

/// The service's application runs, its page loaded.
void runService();

VestaHbbTV::Window* broadcastWindow();
VestaHbbTV::Application* running();
/// As scripts know it; null when none runs.
void* runningId();

/// An application of which no text is short.
AITEntry httpApplication(uint16_t applicationId);
/// A table with it, and with one that may not run here.
AITSection section(uint8_t version, uint16_t applicationId);
void sendTable(uint8_t version, uint16_t applicationId);
/// The record of a start in the broadcast window, by a long URL.
VestaHbbTV::HBBTV_EventData* longUrl();

/// An event of the browser window that everybody shares.
unsigned int notify(TAVO_VESTA_EVENT event, const char* url = nullptr, const char* second = nullptr,
                    int httpStatus = 200);

}  // namespace vesta::test

#endif
