/// The browser behind the receiver. The console browser stands here; a real engine can take its
/// place.
#ifndef VESTA_RECEIVER_BROWSER_BROWSER_ENGINE_H
#define VESTA_RECEIVER_BROWSER_BROWSER_ENGINE_H

#include <string>

#include "vesta_browser.h"

namespace receiver {

/// What the application manager's browser interface (vesta_browser.h) needs of an engine, and what
/// the integrator's listener does with windows. Browser thread only.
class BrowserEngine {
public:
    virtual ~BrowserEngine() = default;

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
};

}  // namespace receiver

#endif
