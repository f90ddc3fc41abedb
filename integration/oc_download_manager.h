/// Serves `dvb:` loads of the browser from the object carousel.
#ifndef VESTA_INTEGRATION_OC_DOWNLOAD_MANAGER_H
#define VESTA_INTEGRATION_OC_DOWNLOAD_MANAGER_H

#include <set>

#include "foundation/visibility.h"

namespace VestaHbbTV {

class HbbTVDVBURL;

/// Knows the loads by their ids, those that have ended, too, until the browser stops them. An id is
/// the browser's handle of the protocol load and also names the file towards the platform. Browser
/// thread only.
///
/// The platform and the browser may call back whenever they are called: cancel a load, start it
/// anew, report its file once more, or shut the library down. Whoever was answering a load that
/// another call has ended or taken over meanwhile lets go of it.
class VESTA_EXPORTED OCDownloadManager {
public:
    /// That of the existing configuration; null before init and after shutdown. Creates nothing.
    VESTA_HIDDEN static OCDownloadManager* getCurrent();

    OCDownloadManager() = default;
    OCDownloadManager(const OCDownloadManager&) = delete;
    OCDownloadManager& operator=(const OCDownloadManager&) = delete;
    ~OCDownloadManager();

    /// @name The set of known ids
    /// @{
    void addDownload(void* id);
    bool downloadExists(void* id) const;
    void removeDownload(void* id);
    /// @}

    /// Asks the platform for a file and streams it to the browser, now or when the platform says
    /// that it is ready.
    /// @param url an absolute `dvb:` URL @param id the load
    /// @return 0 the file is pending, 1 it was delivered or nobody waits for it, 2 it failed
    unsigned int startDownload(HbbTVDVBURL* url, void* id);

    /// The browser cancelled a load. The platform hears nothing of it, unless the load is just
    /// being answered: then its file is closed when that call returns. @return false for an unknown
    /// id
    bool stopDownload(void* id);

    /// The platform has the file.
    /// @return as handleDownloaded(); false for an unknown id
    bool reportDownloadSucceeded(void* id);

    /// The platform gave the file up. @return false for an unknown id
    bool reportDownloadFailed(void* id);

    /// Reads a file from the platform and streams it to the browser. A load that is cancelled from
    /// inside gets no answer any more; the platform's file is closed, unless the load was started
    /// anew or the library shut down.
    /// @return false when reading failed, which was answered
    bool handleDownloaded(void* id);

    /// Answers the load with a failure and closes the file.
    void handleDownloadFailed(void* id);

private:
    class VESTA_HIDDEN Answer;

    std::set<void*> downloads_;
    Answer* innermostAnswer_ = nullptr;  ///< of those that are being given
};

}  // namespace VestaHbbTV

#endif
