/// A WebKit view without a display: its pictures come as bytes, keys go in by calls.
#ifndef VESTA_RECEIVER_WPE_VIEW_H
#define VESTA_RECEIVER_WPE_VIEW_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>
#include <wpe/webkit.h>

struct wpe_fdo_shm_exported_buffer;
struct wpe_view_backend_exportable_fdo;

namespace receiver {

/// What a view shows, as cairo's CAIRO_FORMAT_ARGB32: premultiplied, 0 where the page is
/// transparent.
struct Frame {
    int width = 0;
    int height = 0;
    int stride = 0;  ///< bytes of a line
    std::vector<unsigned char> pixels;
    uint64_t number = 0;  ///< how many came
};

/// Before the first context or view is made. @return false where the backend is not installed
bool startWpe();

/// Browser thread.
class View {
public:
    /// @param context, settings shared by all views; borrowed
    /// @param painted called whenever a picture came
    View(WebKitWebContext* context, WebKitSettings* settings, std::function<void()> painted);
    ~View();
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    WebKitWebView* web() const { return web_; }
    const Frame& frame() const { return frame_; }

    void setVisible(bool visible);

    /// @param code a TAVO_VIRTUAL_KEY
    void pressKey(int code, bool isDown);

private:
    /// Where WebKit's pictures come out. It is the web view's, which others may keep for longer
    /// than we do: a question that its page has not answered does.
    struct Exit {
        View* view;  ///< null when it is gone
        wpe_view_backend_exportable_fdo* exportable = nullptr;
    };

    static void receive(void* data, wpe_fdo_shm_exported_buffer* buffer);
    void copy(wpe_fdo_shm_exported_buffer* buffer);
    void completeFrame();

    std::function<void()> painted_;
    Exit* exit_;
    WebKitWebView* web_;
    Frame frame_;
    unsigned timer_ = 0;  // until the picture counts as shown
};

}  // namespace receiver

#endif
