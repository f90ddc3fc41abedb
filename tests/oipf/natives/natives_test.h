/// What the tests of the natives share.
#ifndef VESTA_TESTS_OIPF_NATIVES_TEST_H
#define VESTA_TESTS_OIPF_NATIVES_TEST_H

#include <string>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"

namespace vesta::test {

inline const char invalidId[] =
    "WARN ApplicationManager: Native application manager api called with invalid appId.";
inline const char noWindow[] = "ERR ApplicationManager: No window found in native call";

/// An id that no application has.
inline void* unknownId()
{
    return reinterpret_cast<void*>(uintptr_t{0xFFFF0000});
}

class NativesTest : public LibraryTest {
protected:
    /// As startApplication(), whatever ran before.
    void start(const AITEntry& entry) { startApplication(entry, version_++); }

    void startByURL(const std::string& url)
    {
        send(VestaHbbTV::E_START_BROADCAST_INDEPENDENT_APPLICATION,
             urlRecord(window(), url.c_str()));
        tickAll();
        ASSERT_NE(running(), nullptr);
        forgetJournal();
        log().clear();
    }

    /// The running application's id as the scripts have it.
    void* id() const
    {
        return running() ? reinterpret_cast<void*>(static_cast<uintptr_t>(running()->getID()))
                         : nullptr;
    }

    static double keySetOf(void* appId)
    {
        double value = -1234;
        EXPECT_EQ(native_KeySetGetValue(appId, &value), 0);
        return value;
    }

    /// Makes it one of the library's browser windows that shows no application.
    void registerEmptyWindow(long windowId)
    {
        manager()->registerTavoWindow(browser().window(windowId), window());
    }

    /// Runs a parent with a child in another browser window, and releases their window.
    /// @return the id of the parent, which has lost its window
    void* leaveOrphanBehind()
    {
        startByURL("http://b.example/");
        void* const parent = id();
        void* child = nullptr;
        EXPECT_EQ(native_ApplicationCreateApplication("http://b.example/child", 1, parent, &child),
                  0);
        tickAll();
        EXPECT_EQ(id(), child);
        running()->setParent(nullptr);  // else it would go with its child
        vesta_hbbtv_release_window(window());
        return parent;
    }

private:
    uint8_t version_ = 0;
};

}  // namespace vesta::test

#endif
