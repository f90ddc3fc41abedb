/// What the whole library shares: the browser, the event queue, the downloads and the terminal's
/// capabilities.
#ifndef VESTA_FOUNDATION_CONFIGURATION_MANAGER_H
#define VESTA_FOUNDATION_CONFIGURATION_MANAGER_H

#include <cstdint>
#include <memory>

#include "vesta_browser.h"

#include "foundation/visibility.h"

namespace VestaHbbTV {

class OCDownloadManager;
class ThreadsafeEventQueue;

/// Whose the downloads are need not know what they are: both of these are defined beside them.
struct DownloadsDeleter {
    void operator()(OCDownloadManager* downloads) const;
};
std::unique_ptr<OCDownloadManager, DownloadsDeleter> makeDownloads();

/// Singleton of the browser thread; only its event queue is shared with other threads.
class VESTA_EXPORTED ConfigurationManager {
public:
    /// The one instance, created without a queue on first use (without a lock).
    static ConfigurationManager* getInstance();

    /// The queue of the existing instance; null before init and after shutdown. Creates nothing.
    static ThreadsafeEventQueue* getCurrentQueue();

    ConfigurationManager(const ConfigurationManager&) = delete;
    ConfigurationManager& operator=(const ConfigurationManager&) = delete;

    /// Deletes the downloads, then the queue with every event in it, unexecuted.
    ~ConfigurationManager();

    /// Makes a fresh download manager and queue and asks the integrator for the key sets. What an
    /// earlier call made is deleted.
    /// @param browser stored as given, may be null
    /// @return false when the integrator shut the library down in return: this object is gone then
    bool init(TAVO_Vesta* browser);

    /// Tells one life of the library from the next: a number of the instance, never reused; 0
    /// without one. Whoever calls out compares it afterwards.
    static unsigned long getSession() { return instance ? instance->session_ : 0; }

    /// The browser given to init(); may be null.
    TAVO_Vesta* getBrowser() const { return browser_; }
    /// Null before init(). Owned by this object.
    ThreadsafeEventQueue* getEventQueue() const { return eventQueue_.get(); }
    /// Null before init(). Owned by this object.
    OCDownloadManager* getOCDownloadManager() const { return ocDownloadManager_.get(); }

    /// The HbbTV version that the terminal claims; 1.2.1 unless set.
    unsigned char getHbbTVVersionMajor() const { return hbbtvVersionMajor_; }
    unsigned char getHbbTVVersionMinor() const { return hbbtvVersionMinor_; }
    unsigned char getHbbTVVersionMicro() const { return hbbtvVersionMicro_; }
    void setHbbTVVersion(unsigned char major, unsigned char minor, unsigned char micro);

    /// The terminal's application profile mask (ETSI TS 102 809, 5.2.5.1); 0 unless set.
    unsigned short getSupportedProfiles() const { return supportedProfiles_; }
    void setSupportedProfiles(unsigned short profiles) { supportedProfiles_ = profiles; }

    /// The OIPF key-set groups that the terminal can deliver, asked at init().
    int getSupportedKeySetValues() const { return supportedKeySetValues_; }

    /// Null before the first getInstance() and after the end.
    static ConfigurationManager* instance;

private:
    ConfigurationManager();

    const unsigned long session_;
    TAVO_Vesta* browser_ = nullptr;
    std::unique_ptr<ThreadsafeEventQueue> eventQueue_;
    std::unique_ptr<OCDownloadManager, DownloadsDeleter> ocDownloadManager_;
    uint8_t hbbtvVersionMajor_ = 1;
    uint8_t hbbtvVersionMinor_ = 2;
    uint8_t hbbtvVersionMicro_ = 1;
    uint16_t supportedProfiles_ = 0;
    int32_t supportedKeySetValues_ = 0;
};

/// The life of the library in which it was made: whoever calls out and goes on asks afterwards
/// whether that one is over.
class Session {
public:
    bool isOver() const { return ConfigurationManager::getSession() != number_; }

private:
    const unsigned long number_ = ConfigurationManager::getSession();
};

}  // namespace VestaHbbTV

#endif
