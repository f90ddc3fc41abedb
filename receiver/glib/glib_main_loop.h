/// GLib's main loop as the place where the browser thread waits.
#ifndef VESTA_RECEIVER_GLIB_GLIB_MAIN_LOOP_H
#define VESTA_RECEIVER_GLIB_GLIB_MAIN_LOOP_H

#include "receiver/integration/main_loop.h"

namespace receiver {

/// The default main context, in which WebKit calls back.
class GLibMainLoop : public MainLoop {
public:
    void sleep(const std::optional<std::chrono::steady_clock::time_point>& deadline) override;
    void wake() override;
};

}  // namespace receiver

#endif
