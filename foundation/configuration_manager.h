/// @file
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

/// Whose the downloads are need not know what they are: this and makeDownloads() are defined beside
/// them.
/// @thread{browser} @since 1.0
struct DownloadsDeleter {
    /// Deletes the manager with all of its downloads; null does nothing.
    void operator()(OCDownloadManager* downloads) const;
};

/// Makes a download manager that has nothing to download. Never null.
/// @thread{browser} @since 1.0
std::unique_ptr<OCDownloadManager, DownloadsDeleter> makeDownloads();

/// Singleton; of what it holds, only the event queue is for other threads, too.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED ConfigurationManager {
public:
    /// The one instance, created without a queue on first use. Never null; it lives until
    /// vesta_hbbtv_shutdown().
    static ConfigurationManager* getInstance();

    /// The queue of the existing instance; null before init and after shutdown. Creates nothing.
    /// Borrowed until the next init or shutdown, during which no other thread may use it.
    /// @thread{any} @since 1.0
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

    /// The events that wait for a tick. Null before init(). Owned by this object.
    ThreadsafeEventQueue* getEventQueue() const { return eventQueue_.get(); }

    /// The files that are fetched from object carousels. Null before init(). Owned by this object.
    OCDownloadManager* getOCDownloadManager() const { return ocDownloadManager_.get(); }

    /// The HbbTV version that the terminal claims; 1.2.1 unless set. This is its first number.
    unsigned char getHbbTVVersionMajor() const { return hbbtvVersionMajor_; }
    /// Its second number.
    unsigned char getHbbTVVersionMinor() const { return hbbtvVersionMinor_; }
    /// Its third number.
    unsigned char getHbbTVVersionMicro() const { return hbbtvVersionMicro_; }

    /// Claims another version, for every profile that is compared from now on.
    void setHbbTVVersion(unsigned char major, unsigned char minor, unsigned char micro);

    /// The terminal's application profile mask (ETSI TS 102 809, 5.2.5.1); 0 unless set.
    unsigned short getSupportedProfiles() const { return supportedProfiles_; }
    /// Sets this mask, for every profile that is compared from now on.
    void setSupportedProfiles(unsigned short profiles) { supportedProfiles_ = profiles; }

    /// The OIPF key-set groups that the terminal can deliver, asked at init().
    int getSupportedKeySetValues() const { return supportedKeySetValues_; }

    /// What getInstance() made: null before its first call, and after the end. Not to be set.
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
/// @thread{browser} @since 1.0
class Session {
public:
    /// Whether that life is over, even if another one has begun.
    bool isOver() const { return ConfigurationManager::getSession() != number_; }

private:
    const unsigned long number_ = ConfigurationManager::getSession();
};

}  // namespace VestaHbbTV

#endif
