/// The registry of the library's windows and applications.
#ifndef VESTA_LIFECYCLE_WINDOW_MANAGER_H
#define VESTA_LIFECYCLE_WINDOW_MANAGER_H

#include <list>
#include <map>
#include <memory>

#include "vesta_browser.h"

#include "foundation/visibility.h"
#include "lifecycle/application_list.h"

namespace VestaHbbTV {

class Application;
class ApplicationPolicy;
class Window;

/// Owns the windows, knows which of them shows the broadcast service, and finds windows by browser
/// window and applications by id. Singleton of the browser thread. Pointers that it is asked about
/// may be null, stale or foreign: they are compared, never followed.
class VESTA_EXPORTED WindowManager {
public:
    /// The one instance, created on first use.
    static WindowManager* getInstance();

    WindowManager(const WindowManager&) = delete;
    WindowManager& operator=(const WindowManager&) = delete;

    /// Removes every window and frees every application that a dead window left behind.
    virtual ~WindowManager();

    /// @return null when there is none with this id; borrowed until the application ends
    virtual Application* getApplication(unsigned long id);

    /// Does nothing.
    void init();

    /// @return owned by this manager; null when the policy refuses
    Window* createWindow();

    /// Takes the window out of the list and destroys it; one that the library is working on is
    /// destroyed when the outermost call into it returns. @return false when it is not in the list
    bool removeWindow(Window* window);

    /// Removes every window, and frees the applications that dead windows left behind. The
    /// applications end at once, also those of windows that the library is working on.
    void removeAllWindows();

    /// Lets nothing start any more, for good, and removes all windows.
    VESTA_HIDDEN void close();

    /// Whether the window is in the list; the two are the same.
    bool windowExists(const Window* window) const;

    /// The window of a handle that came from outside; null for whatever is no window in the list.
    Window* knownWindow(void* handle) const;
    bool handledWindow(const Window* window) const;

    /// The serial of a window in the list; 0 for any other pointer.
    VESTA_HIDDEN unsigned long getSerial(const Window* window) const;

    /// @param index in creation order, from 0; removing a window shifts those after it
    Window* getWindow(unsigned int index) const;

    /// @return false, with nothing changed, when the window is not in the list
    bool setBroadcastWindow(Window* window);
    Window* getBroadcastWindow() const { return broadcastWindow_; }

    /// The window's browser window, the first by address; null when it has none.
    TAVO_VestaWindow* getTavoWindow(const Window* window) const;

    /// The window that manages a browser window; null when none does.
    Window* getWindow(TAVO_VestaWindow* tavoWindow) const;
    /// The application shown in a browser window; null when there is none.
    VESTA_HIDDEN Application* findApplication(TAVO_VestaWindow* tavoWindow) const;
    void registerTavoWindow(TAVO_VestaWindow* tavoWindow, Window* window);
    void unregisterTavoWindow(TAVO_VestaWindow* tavoWindow);

    bool registerApplication(Application* application);

    /// Forgets the id and tells the scripts' plugin that the application is gone.
    bool unregisterApplication(Application* application);

    /// Whether HTTP transports may be used.
    bool isHttpAvailable() const { return httpAvailable_; }
    void setHttpAvailable(bool available) { httpAvailable_ = available; }

    /// Whether every window is being removed: nothing starts meanwhile.
    bool isClosing() const { return closing_; }

    /// The windows in creation order; borrowed, valid until one is created or removed.
    const std::list<Window*>& getWindows() const { return windows_; }

    /// An application leaves: its id must not lead to it any longer. Tells nobody.
    VESTA_HIDDEN void forgetApplication(Application* application);

    /// Takes over an application whose window dies: it stays reachable by its id, and is freed
    /// with the manager or by removeAllWindows().
    VESTA_HIDDEN void adoptOrphan(Application* application);

    /// A window dies: nothing may lead to it any longer.
    VESTA_HIDDEN void forgetWindow(Window* window);

    static WindowManager* instance;

private:
    WindowManager();

    struct Life {};

    VESTA_HIDDEN void destroyWindow(Window* window);
    VESTA_HIDDEN void freeOrphans();

    std::list<Window*> windows_;
    std::list<Window*> departing_;  // out of the list, not yet destroyed
    bool httpAvailable_ = true;
    bool closing_ = false;
    std::map<TAVO_VestaWindow*, Window*> tavoWindows_;
    std::map<unsigned long, Application*> applications_;
    ApplicationList orphans_;
    std::unique_ptr<ApplicationPolicy> policy_;
    Window* broadcastWindow_ = nullptr;
    /// Tells whoever calls out and goes on whether the manager still exists.
    std::shared_ptr<const Life> life_;
};

}  // namespace VestaHbbTV

#endif
