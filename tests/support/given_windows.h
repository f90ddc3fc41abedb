/// The least that an integrator does, where nothing is recorded: for benchmarks and measurements.
#ifndef VESTA_TESTS_SUPPORT_GIVEN_WINDOWS_H
#define VESTA_TESTS_SUPPORT_GIVEN_WINDOWS_H

#include "vesta_hbbtv_appman.h"

#include "tests/support/fake_browser.h"

namespace vesta::test {

/// A listener that gives every application the fake browser's first window.
inline VestaHbbTV::HBBTV_STATUS giveWindows(VestaHbbTV::HBBTV_NotificationType type,
                                            VestaHbbTV::HBBTV_NotificationData* data)
{
    if (type == VestaHbbTV::HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        *data->window.tavoWindow = FakeBrowser::instance().window(1);
        data->window.success = 1;
    }
    return VestaHbbTV::HBBTV_STATUS_OK;
}

inline void tickAll()
{
    while (VestaHbbTV::vesta_hbbtv_tick())
        continue;
}

}  // namespace vesta::test

#endif
