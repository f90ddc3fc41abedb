#include "receiver/wpe/view.h"

#include <cstring>
#include <memory>
#include <wayland-server.h>
#include <wpe/fdo.h>
#include <wpe/unstable/fdo-shm.h>
#include <wpe/wpe.h>

#include "vesta_browser.h"

#include "receiver/browser/video_plane.h"
#include "receiver/wpe/style_sheet.h"

namespace receiver {

namespace {

/// Of a screen; a page's animations are told this pace.
const unsigned millisecondsPerFrame = 16;

/// WebKit gives most keys of a remote control no code, or one of its own. So they go in as
/// characters of Unicode's private use area, from which the scripts' side takes the code.
const uint32_t privateUseKeys = 0x0100E000;

/// Keys whose natural effect pages count on: input fields take digits, links and buttons take
/// Enter.
uint32_t keySymbolOf(int code)
{
    if (code == TAVO_VK_ENTER)
        return WPE_KEY_Return;
    const bool isCharacter =
        (code >= TAVO_VK_0 && code <= TAVO_VK_9) || (code >= TAVO_VK_A && code <= TAVO_VK_Z);
    if (!isCharacter)
        return privateUseKeys + static_cast<uint32_t>(code);
    return static_cast<uint32_t>(code >= TAVO_VK_A ? code + ('a' - 'A') : code);
}

/// @return the caller's
WebKitUserContentManager* terminalStyles()
{
    WebKitUserContentManager* const manager = webkit_user_content_manager_new();
    WebKitUserStyleSheet* const sheet =
        webkit_user_style_sheet_new(terminalStyleSheet, WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                                    WEBKIT_USER_STYLE_LEVEL_USER, nullptr, nullptr);
    webkit_user_content_manager_add_style_sheet(manager, sheet);
    webkit_user_style_sheet_unref(sheet);
    return manager;
}

}  // namespace

bool startWpe()
{
    static const bool isStarted =
        wpe_loader_init("libWPEBackend-fdo-1.0.so.1") && wpe_fdo_initialize_shm();
    return isStarted;
}

View::View(WebKitWebContext* context, WebKitSettings* settings, std::function<void()> painted)
    : painted_(std::move(painted)), exit_(new Exit{this})
{
    static const wpe_view_backend_exportable_fdo_client client = {nullptr, nullptr, receive,
                                                                  nullptr, nullptr};
    exit_->exportable =
        wpe_view_backend_exportable_fdo_create(&client, exit_, screenWidth, screenHeight);
    WebKitWebViewBackend* const backend = webkit_web_view_backend_new(
        wpe_view_backend_exportable_fdo_get_view_backend(exit_->exportable),
        [](void* data) {
            const std::unique_ptr<Exit> exit(static_cast<Exit*>(data));
            wpe_view_backend_exportable_fdo_destroy(exit->exportable);
        },
        exit_);
    WebKitUserContentManager* const styles = terminalStyles();
    web_ = static_cast<WebKitWebView*>(g_object_new(WEBKIT_TYPE_WEB_VIEW, "backend", backend,
                                                    "web-context", context, "settings", settings,
                                                    "user-content-manager", styles, nullptr));
    g_object_unref(styles);
    WebKitColor transparent = {0, 0, 0, 0};
    webkit_web_view_set_background_color(web_, &transparent);
    wpe_view_backend_add_activity_state(
        wpe_view_backend_exportable_fdo_get_view_backend(exit_->exportable),
        wpe_view_activity_state_in_window);
}

View::~View()
{
    if (timer_ != 0)
        g_source_remove(timer_);
    exit_->view = nullptr;
    // Its page is closed whoever keeps it: one that waits for the page's answer would else wait for
    // as long as a script runs.
    g_object_run_dispose(G_OBJECT(web_));
    g_object_unref(web_);  // and with it the backend
}

void View::setVisible(bool visible)
{
    wpe_view_backend* const backend =
        wpe_view_backend_exportable_fdo_get_view_backend(exit_->exportable);
    const uint32_t states = wpe_view_activity_state_visible | wpe_view_activity_state_focused;
    if (visible)
        wpe_view_backend_add_activity_state(backend, states);
    else
        wpe_view_backend_remove_activity_state(backend, states);
}

void View::pressKey(int code, bool isDown)
{
    wpe_input_keyboard_event event = {};
    event.time = static_cast<uint32_t>(g_get_monotonic_time() / 1000);
    event.key_code = keySymbolOf(code);
    event.hardware_key_code = 0;
    event.pressed = isDown;
    wpe_view_backend_dispatch_keyboard_event(
        wpe_view_backend_exportable_fdo_get_view_backend(exit_->exportable), &event);
}

void View::receive(void* data, wpe_fdo_shm_exported_buffer* buffer)
{
    const Exit* const exit = static_cast<Exit*>(data);
    if (exit->view)
        exit->view->copy(buffer);
    wpe_view_backend_exportable_fdo_dispatch_release_shm_exported_buffer(exit->exportable, buffer);
}

void View::copy(wpe_fdo_shm_exported_buffer* buffer)
{
    wl_shm_buffer* const pixels = wpe_fdo_shm_exported_buffer_get_shm_buffer(buffer);
    frame_.width = wl_shm_buffer_get_width(pixels);
    frame_.height = wl_shm_buffer_get_height(pixels);
    frame_.stride = wl_shm_buffer_get_stride(pixels);
    frame_.pixels.resize(static_cast<size_t>(frame_.stride) * static_cast<size_t>(frame_.height));
    wl_shm_buffer_begin_access(pixels);
    std::memcpy(frame_.pixels.data(), wl_shm_buffer_get_data(pixels), frame_.pixels.size());
    wl_shm_buffer_end_access(pixels);
    ++frame_.number;
    if (timer_ == 0)
        timer_ = g_timeout_add(
            millisecondsPerFrame,
            [](gpointer view) {
                static_cast<View*>(view)->completeFrame();
                return G_SOURCE_REMOVE;
            },
            this);
    painted_();
}

/// Only then WebKit paints the next one.
void View::completeFrame()
{
    timer_ = 0;
    wpe_view_backend_exportable_fdo_dispatch_frame_complete(exit_->exportable);
}

}  // namespace receiver
