/// The seam between the receiver and its browser: the console browser stands behind it, or a real
/// engine.
#ifndef VESTA_RECEIVER_BROWSER_BROWSER_ENGINE_H
#define VESTA_RECEIVER_BROWSER_BROWSER_ENGINE_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "vesta_browser.h"

#include "receiver/browser/video_plane.h"

/// The browser; the application manager knows it by address alone.
struct TAVO_Vesta {};

/// A browser window; the application manager knows it by address alone. Engines derive theirs.
struct TAVO_VestaWindow {
    TAVO_VestaWindow() = default;
    TAVO_VestaWindow(const TAVO_VestaWindow&) = delete;
    TAVO_VestaWindow& operator=(const TAVO_VestaWindow&) = delete;
    virtual ~TAVO_VestaWindow() = default;

    long id = 0;
    std::string url;  ///< of the page, as it was opened
    bool visible = false;
    bool loaded = false;  ///< the page and all its subresources came or failed
};

namespace receiver {

/// What the page of a window is made of.
struct PageSource {
    struct Resource {
        std::string url;
        size_t size;
        std::string type;
        int status;  ///< of HTTP; 0: no connection
    };

    std::string url;
    std::string type;
    size_t size = 0;                  ///< in bytes
    std::string beginning;            ///< of its bytes, as they came
    std::vector<Resource> resources;  ///< what was loaded for it, the page itself among them
};

/// What the application manager's browser interface (vesta_browser.h) needs of an engine, and what
/// the integrator's listener does with windows. Browser thread only.
class BrowserEngine {
public:
    BrowserEngine() { current = this; }
    BrowserEngine(const BrowserEngine&) = delete;
    BrowserEngine& operator=(const BrowserEngine&) = delete;
    virtual ~BrowserEngine() { current = nullptr; }

    /// What the application manager is given as the browser: without one it lets no script
    /// subscribe to stream events.
    TAVO_Vesta* handle() { return &handle_; }

    /// Does the next thing that the browser has to do, without waiting for one. @return false when
    /// there is none
    virtual bool runTask() = 0;

    /// Whether something is under way that needs nothing but time, such as a page that is laid out
    /// or comes from the network: not one that waits for a carousel.
    virtual bool isBusy() const { return false; }

    virtual std::vector<const TAVO_VestaWindow*> windows() const = 0;

    /// The window that gets the keys: the visible one that was shown last; null without one.
    virtual TAVO_VestaWindow* focusedWindow() const = 0;

    /// A page asks for another file. @param url absolute or relative to the page
    /// @return whether it is loaded; not when the engine does not load files of its kind
    virtual bool loadResource(TAVO_VestaWindow* window, const std::string& url) = 0;

    /// @param url absolute or relative to the page
    virtual bool hasLoaded(const TAVO_VestaWindow& window, const std::string& url) const = 0;

    /// @name What a viewer sees, of engines that paint
    /// @{
    /// @param service its id; 0 for none @param name UTF-8
    virtual void setService(unsigned /*service*/, const std::string& /*name*/) {}
    /// @param place nothing: the whole screen
    virtual void setVideoPlace(const std::optional<Rectangle>& /*place*/) {}
    virtual bool paints() const { return false; }
    /// Counts up with everything that is painted anew.
    virtual unsigned long long paintings() const { return 0; }
    /// Where the video is seen; nothing where there is none.
    virtual std::optional<Rectangle> videoPlace() const { return std::nullopt; }
    /// What is seen now. @return makes it a PNG file's bytes (empty: it cannot), on any thread and
    ///         whatever becomes of the engine; null of engines that paint nothing
    virtual std::function<std::string()> takePicture() { return nullptr; }
    /// Instead of a picture, of engines that paint nothing; null where there is none. Valid until
    /// the browser has something to do.
    virtual const PageSource* sourceOf(long /*window*/) const { return nullptr; }
    /// @return what went wrong, for people; empty for success
    virtual std::string writePicture(const std::string& path);
    /// @param tolerance of each colour of a pixel, of 255
    /// @return how what is seen differs, for people; empty when it does not
    virtual std::string comparePicture(const std::string& path, int tolerance);
    /// @}

    /// @name Windows, for the integrator
    /// @{
    virtual TAVO_VestaWindow* createWindow() = 0;
    virtual void closeWindow(TAVO_VestaWindow* window) = 0;
    virtual void setVisible(TAVO_VestaWindow* window, bool visible) = 0;
    /// @}

    /// @name What the application manager calls; 0 is success
    /// @{
    virtual int openURL(TAVO_VestaWindow* window, const std::string& url) = 0;
    virtual int clearHistory(TAVO_VestaWindow* window) = 0;
    /// @return null when there is no such window
    virtual TAVO_VestaWindow* findWindow(long id) = 0;
    /// @return 0 when there is no such window
    virtual long identifierOf(TAVO_VestaWindow* window) = 0;
    /// @return null when there is no such window; valid until the next call
    virtual const char* loadingURL(TAVO_VestaWindow* window) = 0;
    /// @return null when it cannot be resolved; valid until the next call
    virtual const char* resolve(const std::string& base, const std::string& url) = 0;
    virtual int setUserAgentExtension(const std::string& extension) = 0;
    virtual int setMimeType(void* load, const std::string& type) = 0;
    virtual int write(void* load, const char* bytes, size_t count) = 0;
    virtual int finish(void* load, int status) = 0;
    virtual int fail(void* load, int status) = 0;
    virtual int deliverKey(const TAVO_KeyboardEvent& event) = 0;
    /// @}

    /// The engine that the C functions lead to; null outside a run.
    static BrowserEngine* current;

private:
    TAVO_Vesta handle_;
};

}  // namespace receiver

#endif
