#include "receiver/glib/glib_main_loop.h"

#include <algorithm>
#include <glib.h>

namespace receiver {

namespace {

gboolean endSleep(gpointer /*nothing*/)
{
    return G_SOURCE_REMOVE;
}

}  // namespace

void GLibMainLoop::sleep(const std::optional<std::chrono::steady_clock::time_point>& deadline)
{
    if (!deadline) {
        g_main_context_iteration(nullptr, TRUE);
        return;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        *deadline - std::chrono::steady_clock::now());
    // One more, so that the deadline is over afterwards.
    const auto milliseconds = std::clamp<long long>(left.count() + 1, 0, G_MAXINT);
    GSource* const alarm = g_timeout_source_new(static_cast<guint>(milliseconds));
    g_source_set_callback(alarm, endSleep, nullptr, nullptr);
    g_source_attach(alarm, nullptr);
    g_main_context_iteration(nullptr, TRUE);
    g_source_destroy(alarm);
    g_source_unref(alarm);
}

void GLibMainLoop::wake()
{
    g_main_context_wakeup(nullptr);
}

}  // namespace receiver
