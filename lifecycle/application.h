/// One started HbbTV application.
#ifndef VESTA_LIFECYCLE_APPLICATION_H
#define VESTA_LIFECYCLE_APPLICATION_H

#include <memory>
#include <set>

#include "vesta_browser.h"

#include "foundation/ref_ptr.h"
#include "foundation/visibility.h"
#include "signalling/ait_application_reference.h"
#include "signalling/ait_application_transport.h"
#include "signalling/hbbtv_url.h"

namespace VestaHbbTV {

class ApplicationDomain;
class KeySet;
class ReleaseWindowNotification;
class StopApplicationEvent;
class Window;

/// The page that it was started with, the table's entry that it runs for, the browser window that
/// shows it, its boundaries, its key set and its place behind or in front of another application.
///
/// Created by a Window, which owns it; browser thread only. It talks to the integrator through
/// notifications and to the browser through the browser's functions.
class VESTA_EXPORTED Application {
public:
    /// Takes the next id and tells listeners when the application is broadcast-related.
    /// @param window the window that starts it; null only outside a lifecycle
    /// @param url the start URL
    /// @param entry null for an application started by its URL alone; not owned. While the
    ///        application points at it, the entry's table stays alive if anybody counts it.
    Application(Window* window, HbbTVURL url, AITApplication* entry);
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Releases the browser window, if that has not happened yet.
    virtual ~Application();

    /// Unique in this process, never reused; 0 is never an id.
    virtual unsigned long getID();

    /// Null once the window, or the application, has ended.
    virtual Window* getWindow();
    virtual void setTavoWindow(TAVO_VestaWindow* tavoWindow);

    /// The browser window that shows it; null before a listener supplied one, and after it was
    /// given back or the application has ended.
    virtual TAVO_VestaWindow* getTavoWindow();

    /// Asks the listeners for a browser window. @return false without one, or if there is one
    bool init();

    /// Opens the start URL as the browser window's first page. Without a browser window the browser
    /// is asked with null.
    void loadInitialPage();

    /// Wants to be seen. A child whose initial page has not loaded stays behind its parent.
    void show();
    void hide();

    /// Stores the value and tells listeners when it changed.
    void setBroadcastRelated(bool broadcastRelated);
    bool isBroadcastRelated() const { return broadcastRelated_; }

    /// Marks the initial page as loaded; ends the mark of a requested start.
    void setInitialPageLoaded();
    bool isInitialPageLoaded() const { return initialPageLoaded_; }

    /// Whether the URL lies inside the application's own domain (ETSI TS 102 796, 6.3).
    bool isWithinApplicationBoundaries(const HbbTVURL& url) const;
    /// @param url null counts as empty
    bool isWithinApplicationBoundaries(const char* url) const;

    /// The domain made of the start URL's origin and the boundary of the entry. Never null.
    ApplicationDomain* getApplicationDomain() const;

    AITApplication* getAITApplication() const { return entry_.get(); }
    void setAITApplication(AITApplication* entry);

    /// The transport that it was started on, or that the table which took it over has for it; null
    /// for a start by URL.
    AITApplicationTransport* getTransport() const { return transport_.get(); }
    void setTransport(AITApplicationTransport* transport) { transport_.reset(transport); }

    const HbbTVURL& getURL() const { return url_; }
    /// The page that the browser last said to show; the start URL until then.
    const HbbTVURL& getCurrentURL() const { return *currentUrl_; }
    VESTA_HIDDEN void setCurrentURL(const HbbTVURL& url);

    /// The ids of the entry that it was started with; 0 without one.
    unsigned long getOrganisationId() const { return organisationId_; }
    unsigned short getApplicationId() const { return applicationId_; }

    /// Never null.
    KeySet* getKeySet() const { return keySet_.get(); }
    /// The keys that are held down and were delivered.
    std::set<TAVO_VIRTUAL_KEY>& getKeys() { return keys_; }

    bool isAutostarted() const { return autostarted_; }
    void setAutostarted(bool autostarted) { autostarted_ = autostarted; }
    bool isStartedOnRequest() const { return startedOnRequest_; }
    void setStartedOnRequest(bool startedOnRequest) { startedOnRequest_ = startedOnRequest; }
    bool isVisible() const { return visible_; }
    bool isTerminateOnLoad() const { return terminateOnLoad_; }
    void setTerminateOnLoad(bool terminateOnLoad) { terminateOnLoad_ = terminateOnLoad; }

    /// The application that this one replaces once its initial page has loaded. Null when there is
    /// none, and as soon as that one ends.
    Application* getParent() const { return parent_; }
    VESTA_HIDDEN void setParent(Application* parent);
    /// Whether it may be another one's parent: it was set as such once.
    bool hasBeenParent() const { return hasBeenParent_; }

    /// Leaves the window's books and releases the browser window, unless another application of
    /// the window has it by now. Whoever still holds a pointer sees an application without window.
    /// Does nothing the second time. Calls out, and cannot fail where memory has run out.
    VESTA_HIDDEN void end();

    /// Whether its window is ending it, or it has ended.
    bool isEnding() const { return stage_ >= ENDING; }
    VESTA_HIDDEN void setEnding();

    /// Whether its window frees it: from the moment on when it became pending or was registered.
    bool isOwnedByWindow() const { return stage_ >= OWNED; }
    VESTA_HIDDEN void setOwnedByWindow();

    /// The end that is under way is to be reported to the listeners, whoever began it.
    void wantStopNotice(bool wanted = true) { stopNoticeWanted_ = wanted; }
    bool isStopNoticeWanted() const { return stopNoticeWanted_; }

    /// The window died and left this application to the window manager.
    VESTA_HIDDEN void loseWindow();

    /// Gives the browser window back to the listeners. Does nothing without one.
    VESTA_HIDDEN void releaseTavoWindow();

    /// Another application is shown in the browser window from now on, and will give it back.
    VESTA_HIDDEN void forfeitTavoWindow();

    /// A queued end that was made with the application: ending it must not need memory.
    /// @{
    VESTA_HIDDEN void prepareStop(std::unique_ptr<StopApplicationEvent> stop);
    /// @return null the second time
    VESTA_HIDDEN std::unique_ptr<StopApplicationEvent> takePreparedStop();
    /// @}

    static unsigned long next_id;

private:
    friend class ApplicationList;

    /// From its creation to its end.
    enum Stage {
        NEW,     ///< whoever created it owns it
        OWNED,   ///< its window does
        ENDING,  ///< its window is ending it
        ENDED    ///< nothing leads to it any more
    };

    struct NotYetAdopted {};

    /// Everything of it that nobody hears of.
    VESTA_HIDDEN Application(Window* window, HbbTVURL url, AITApplication* entry, NotYetAdopted);

    void extendDomainFromAITApplication();
    VESTA_HIDDEN void unregisterTavoWindow();

    const unsigned long id_;
    Window* window_;
    TAVO_VestaWindow* tavoWindow_ = nullptr;  ///< listeners know it by its address
    bool tavoWindowReleased_ = false;
    const HbbTVURL url_;
    std::unique_ptr<HbbTVURL> currentUrl_;
    AITApplicationReference entry_;
    ref_ptr<AITApplicationTransport> transport_;
    bool trusted_ = true;  // what a broadcast-related change says of it
    bool initialPageLoaded_ = false;
    bool autostarted_ = false;
    bool broadcastRelated_ = false;
    bool startedOnRequest_ = false;
    bool visible_ = false;
    bool terminateOnLoad_ = false;
    bool stopNoticeWanted_ = false;
    Stage stage_ = NEW;
    unsigned long organisationId_ = 0;
    unsigned short applicationId_ = 0;
    std::unique_ptr<ApplicationDomain> domain_;
    std::unique_ptr<KeySet> keySet_;
    Application* parent_ = nullptr;
    bool hasBeenParent_ = false;
    std::set<TAVO_VIRTUAL_KEY> keys_;
    bool releaseAnswer_ = false;  ///< outlives the notice, which writes it
    /// Made before a browser window is asked for: giving it back must not need memory.
    std::unique_ptr<ReleaseWindowNotification> releaseNotice_;
    std::unique_ptr<StopApplicationEvent> stop_;
    std::unique_ptr<Application> next_;  ///< in the list of those that wait for their end
};

}  // namespace VestaHbbTV

#endif
