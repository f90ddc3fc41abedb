/// One window: the table in force for it, and the state machine that decides which application
/// runs in it.
///
/// The sources are split by concern: window.cpp (books and lifetime), window_activation.cpp (what a
/// new table means), window_starting.cpp (from an entry or URL to a running application),
/// window_load_results.cpp (what the browser reports) and window_shutdown.cpp.
#ifndef VESTA_LIFECYCLE_WINDOW_H
#define VESTA_LIFECYCLE_WINDOW_H

#include <cstddef>
#include <map>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "foundation/ref_ptr.h"
#include "foundation/visibility.h"
#include "lifecycle/application_register.h"
#include "lifecycle/call_scope.h"
#include "signalling/ait.h"
#include "signalling/hbbtv_url.h"

namespace VestaHbbTV {

class Application;
class ApplicationDomain;
class WindowManager;

/// Browser thread only. Created by the WindowManager, which owns it. Applications belong to their
/// window. Every function that calls listeners, the browser or scripts survives whatever they do in
/// return, the release of this very window included. Whoever calls out while acting on a table
/// gives way to a newer one that came in force meanwhile.
class VESTA_EXPORTED Window {
public:
    enum State : int {
        IDLE = 0,     ///< no running application
        RUNNING = 1,  ///< an application runs
        TEARDOWN = 2  ///< a new table forbids the running application; it awaits its successor
    };

    /// While one of these lives, a window that is removed stays in memory, marked as released; the
    /// outermost one destroys it. Whoever works on a window across a call out holds one.
    class VESTA_HIDDEN Hold {
    public:
        /// @param window may be null
        explicit Hold(Window* window);
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
        ~Hold();

    private:
        const CallScope scope_;
        Window* const window_;
    };

    explicit Window(WindowManager* manager);
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    /// Ends the running and the pending application. Others that are left in its map go to the
    /// window manager; the rest are freed.
    virtual ~Window();

    /// Whether the address is that of a window that exists. Any pointer may be asked for.
    VESTA_HIDDEN static bool exists(const void* window);

    /// The storage of a window is not used again at once, so that a handle which somebody still
    /// keeps does not name its successor.
    /// @{
    static void* operator new(size_t size);
    static void operator delete(void* storage, size_t size);
    /// @}

    /// Puts a table in force. Starts and stops nothing.
    /// @param ait a null table marks the one in force as stale
    /// @return false for a null table
    virtual bool setAIT(const ref_ptr<AIT>& ait);

    /// How often setAIT() was called: whoever announces a table compares it afterwards, and gives
    /// way where another one came meanwhile.
    unsigned long getTablesSet() const { return tablesSet_; }

    /// Whether all that the table in force asked for was done; not so where memory ran out.
    bool isTableActedOn() const { return tableActedOn_; }

    /// Acts on the table in force: keeps, adopts or replaces the running application, or starts
    /// the first AUTOSTART application. @return false when there was nothing to act on
    virtual bool activateAIT();

    /// Asks the listeners, creates the application and queues its start.
    /// @param url resolved against the running application's start URL
    /// @param entry null for a start by URL
    /// @return the pending application, owned by this window; null when blocked or not possible
    virtual Application* createApplication(HbbTVURL url, AITApplication* entry);

    /// Starts an application of the table in force. @return as startApplication() below
    virtual Application* startApplication(unsigned long organisationId,
                                          unsigned short applicationId, HbbTVURL url);

    /// Makes the pending application the running one and opens its page.
    /// @param application one that is not pending (any more) is destroyed; null does nothing
    virtual void startPendingApplication(Application* application);

    /// Ends an application of this window's map.
    /// @param destroyNow false queues the end, so that none ends inside a browser callback
    /// @param reactivate whether the service's table may be activated again when nothing is left
    /// @param notify whether listeners hear of the stop
    /// @return false when the application is not one of this window's or is ending already, and
    ///         when there is no queue for a later end
    virtual bool shutdownApplication(Application* application, bool destroyNow, bool reactivate,
                                     bool notify);

    virtual Application* getRunningApplication();

    /// The application shown in a browser window; null when there is none.
    virtual Application* getApplication(TAVO_VestaWindow* tavoWindow);

    /// Starts the application of an entry, if everything that is signalled about it allows.
    /// @param entry null starts nothing
    /// @param url only its parameters and anchor are used, added to the page's
    /// @param transport null takes the first that is available
    /// @return the pending application, owned by this window; null when it did not start
    Application* startApplication(AITApplication* entry, HbbTVURL url,
                                  AITApplicationTransport* transport);

    /// Starts an application by its URL alone. @return as above; null for an empty URL
    Application* startBroadcastIndependentApplication(HbbTVURL url);

    /// Starts the first AUTOSTART application after an entry that can be started.
    Application* startNextAutostartApplication(AITApplication* after);

    /// Activates the table in force at once.
    /// @param restoreBroadcastAIT whether the service's own table comes back in force before
    void scheduleReactivateAIT(bool restoreBroadcastAIT);

    /// @return false when the value does not change
    bool setTimeShifted(bool timeShifted);

    /// The browser loaded a page of an application.
    void reportLoadSuccess(TAVO_VestaWindow* tavoWindow);

    /// The browser could not load a page. @return whether the failure was handled
    bool reportLoadFailed(TAVO_VestaWindow* tavoWindow);

    /// A page was not well-formed; decides what the next load result means.
    void reportXMLParseFailure(TAVO_VestaWindow* tavoWindow);

    /// @return whether the application was started again on a transport after its current one
    bool restartApplicationOnNextTransport(Application* application);

    /// Whether the page that the running application is loading lies in the domain.
    bool isLoadedUrlWithinBoundaries(ApplicationDomain* domain);

    /// Makes the parent of an application that failed to load the running one again.
    bool tryRestoreParentApplication(Application* application);

    /// Deliberate: the argument decides between an immediate and a queued end; nothing is
    /// reactivated in either case.
    void terminateRunningApplication(bool destroyNow);

    /// A change makes the state RUNNING, or IDLE for null.
    void setRunningApplication(Application* application);

    /// The former pending application, if there is one, awaits its own start, which frees it.
    void setPendingApplication(Application* application);
    void unsetPendingApplication();
    void destroyPendingApplication();
    bool isPendingApplication(const Application* application) const;
    Application* getPendingApplication() const { return pendingApplication_; }

    /// Puts an application into the map, under its browser window.
    void registerApplication(Application* application);
    void unregisterApplication(Application* application);
    /// Whether the map holds the application. Any pointer may be asked for.
    bool applicationExists(const Application* application) const;

    State getState() const { return state_; }
    bool isTimeShifted() const { return timeShifted_; }
    WindowManager* getManager() const { return manager_; }

    AIT* getAIT() const { return ait_.get(); }
    AIT* getPreviousAIT() const { return previousAIT_.get(); }
    AIT* getBroadcastAIT() const { return broadcastAIT_.get(); }
    /// The table whose sections are still being collected; null when there is none.
    AIT* getAssemblyAIT() const { return assemblyAIT_.get(); }
    void setAssemblyAIT(AIT* ait) { assemblyAIT_.reset(ait); }

    /// Unique in this process, never reused, never 0.
    unsigned long getSerial() const { return serial_; }

    /// Whether the window was removed and only awaits the end of a call into it.
    bool isReleased() const { return released_; }

    /// The manager let go of the window: it is destroyed now, or when nobody holds it any more.
    VESTA_HIDDEN void release();

    /// Ends every application at once, whoever holds the window: what its destructor does first.
    VESTA_HIDDEN void endApplications();

    /// The manager dies before this window.
    void loseManager() { manager_ = nullptr; }

    /// Every application that was created for this window and has not ended, in the order of their
    /// ids, which is that of creation.
    std::vector<Application*> getApplications() const { return applications_.list(); }
    bool hasApplications() const { return !applications_.empty(); }

    /// The id of one of these applications; 0 for any other pointer, which is not followed.
    VESTA_HIDDEN unsigned long getApplicationId(const Application* application) const;

    /// The one of these applications that has the id; null when there is none.
    VESTA_HIDDEN Application* findApplication(unsigned long id) const;

    /// The start that was queued for an application is over, or will not run: an application that
    /// did not get into the map by it is destroyed.
    VESTA_HIDDEN void abandonStart(unsigned long id);

    /// An application was created for this window. It belongs to itself until the window takes it
    /// as pending or into its map.
    VESTA_HIDDEN void adopt(Application* application);

    /// An application ends: nothing in this window leads to it any longer.
    VESTA_HIDDEN void forget(Application* application);

    /// An application is shown no longer: its browser window leads to this window no more, unless
    /// another application was given the same one meanwhile.
    /// @return whether none was, so that the browser window is to be given back
    VESTA_HIDDEN bool unlinkTavoWindow(Application* application);

private:
    /// How an application ends: what shutdownApplication() takes.
    struct Ending {
        bool destroyNow;
        bool reactivate;
        bool notify;
    };
    VESTA_HIDDEN static constexpr Ending atOnce = {true, false, true};
    VESTA_HIDDEN static constexpr Ending atOnceInSilence = {true, false, false};
    VESTA_HIDDEN static constexpr Ending atOnceReactivating = {true, true, true};
    VESTA_HIDDEN static constexpr Ending onALaterTick = {false, false, true};

    VESTA_HIDDEN bool shutdown(Application* application, const Ending& ending);

    void enter(State state) { state_ = state; }
    VESTA_HIDDEN void runAgain(Application* application);
    VESTA_HIDDEN void leaveTeardownWithoutSuccessor();

    VESTA_HIDDEN bool activateForRunningApplication();
    VESTA_HIDDEN bool isServiceBoundToFormerService(const AITApplication* entry) const;
    VESTA_HIDDEN bool adoptRunningApplication(Application* running, AITApplication* entry,
                                              AITApplication* successor);
    VESTA_HIDDEN bool becomeBroadcastRelated(Application* running, const AITApplication* entry,
                                             AITApplication* successor,
                                             ref_ptr<AITApplicationTransport>& transport);
    VESTA_HIDDEN AITApplicationTransport* findTransportOfXMLStart(Application* running,
                                                                  AITApplication* successor);
    VESTA_HIDDEN bool tearDownRunningApplication();
    VESTA_HIDDEN bool activateWithoutRunningApplication();
    VESTA_HIDDEN bool startFirstAutostartApplication(AITApplication* first);
    VESTA_HIDDEN void endTeardown();

    VESTA_HIDDEN bool mayStart(const AITApplication* entry);
    VESTA_HIDDEN bool survivesTimeShift(const AITApplication* entry) const;
    VESTA_HIDDEN bool mayCreateApplications() const;
    VESTA_HIDDEN HBBTV_ApplicationActionType askForStart(const HbbTVURL& url,
                                                         const AITApplication* entry);
    VESTA_HIDDEN void refuseStart(HBBTV_ApplicationActionType answer);
    VESTA_HIDDEN Application* makePending(const HbbTVURL& url, AITApplication* entry,
                                          unsigned long tables);
    VESTA_HIDDEN void settleRunningApplication(Application* successor);
    VESTA_HIDDEN void abortStart(Application* application);
    VESTA_HIDDEN void run(Application* application);
    VESTA_HIDDEN Application* displace(TAVO_VestaWindow* tavoWindow);

    VESTA_HIDDEN bool handleFailedStart(Application* application);
    VESTA_HIDDEN void showLoadedApplication(Application* application);
    VESTA_HIDDEN bool queueShutdown(Application* application, bool reactivate, bool notify);
    VESTA_HIDDEN void endNow(Application* application, bool reactivate, bool notify);
    VESTA_HIDDEN bool notifyStop(Application* application, bool reactivateNow);

    VESTA_HIDDEN void destroyApplication(Application* application);
    VESTA_HIDDEN void tellPlugin(Application* application);
    VESTA_HIDDEN void leaveApplicationsBehind();
    VESTA_HIDDEN void leaveBehind(Application* application);
    VESTA_HIDDEN void dropFromBooks(Application* application);
    VESTA_HIDDEN bool isHttpAvailable() const;

    ApplicationRegister applications_;
    std::map<TAVO_VestaWindow*, Application*> shown_;  ///< by the browser window that shows them
    WindowManager* manager_;
    ref_ptr<AIT> ait_;
    ref_ptr<AIT> previousAIT_;
    ref_ptr<AIT> assemblyAIT_;
    ref_ptr<AIT> broadcastAIT_;
    unsigned long tablesSet_ = 0;
    unsigned long tableChanges_ = 0;  ///< of the one in force, by whatever cause
    bool tableActedOn_ = true;
    Application* runningApplication_ = nullptr;
    Application* pendingApplication_ = nullptr;
    State state_ = IDLE;
    bool timeShifted_ = false;

    const unsigned long serial_;
    unsigned holds_ = 0;
    bool released_ = false;
    bool applicationsEnded_ = false;
    Window* next_;  ///< of all that exist
};

}  // namespace VestaHbbTV

#endif
