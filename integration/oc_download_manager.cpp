#include "integration/oc_download_manager.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "signalling/hbbtv_url.h"

namespace VestaHbbTV {

namespace {

const char module[] = "OCDownloadManager";

const int statusOK = 200;
const int statusNotFound = 404;

/// A large carousel object never becomes one huge write.
const unsigned int maximumWriteBytes = 130048;

/// Whether a load that is being answered may still be: whoever is called in between may cancel it,
/// or shut the library down. The browser's handle and the platform's file are then gone.
class LiveLoad {
public:
    LiveLoad(const OCDownloadManager* manager, void* id)
        : manager_(manager), id_(id), isKnown_(manager->downloadExists(id)), isManaged_(isCurrent())
    {
    }

    /// Whether the library still runs, so that the platform may be called.
    bool hasPlatform() const { return !isManaged_ || isCurrent(); }

    /// Whether the browser waits no longer. Loads that were never known by their ids can only be
    /// answered to their end.
    bool isGone() const { return !hasPlatform() || (isKnown_ && !manager_->downloadExists(id_)); }

private:
    bool isCurrent() const
    {
        return ConfigurationManager::instance &&
               ConfigurationManager::instance->getOCDownloadManager() == manager_;
    }

    const OCDownloadManager* manager_;
    void* id_;
    bool isKnown_;
    bool isManaged_;  ///< not one that somebody else made for himself
};

void closeFile(const LiveLoad& load, void* id)
{
    if (load.hasPlatform())
        dsmcc_close_file(id);
}

/// @return whether the platform had an answer
bool sendMimeType(const LiveLoad& load, void* id)
{
    char* mimeType = nullptr;
    const bool isAnswered = dsmcc_get_mime_type(id, &mimeType) == DSMCC_OK;
    if (isAnswered && mimeType && !load.isGone())
        ve_protocol_set_mime_type(id, mimeType);
    std::free(mimeType);
    return isAnswered;
}

void sendBytes(const LiveLoad& load, void* id, const char* bytes, unsigned int length)
{
    while (length > 0 && !load.isGone()) {
        const unsigned int count = std::min(length, maximumWriteBytes);
        ve_protocol_write(id, bytes, count);
        bytes += count;
        length -= count;
    }
}

/// Streams a file to its end, or until its load is gone. @return null, or what went wrong
const char* sendFile(const LiveLoad& load, void* id)
{
    if (!sendMimeType(load, id))
        return "dsmcc_get_mime_type != DSMCC_OK";
    while (!load.isGone()) {
        char* buffer = nullptr;
        unsigned int length = 0;
        if (dsmcc_read(id, &buffer, &length) != DSMCC_OK || (length > 0 && !buffer))
            return "dsmcc_read != DSMCC_OK";
        if (length == 0)
            return nullptr;
        sendBytes(load, id, buffer, length);
    }
    return nullptr;
}

}  // namespace

void OCDownloadManager::addDownload(void* id)
{
    downloads_.insert(id);
}

bool OCDownloadManager::downloadExists(void* id) const
{
    return downloads_.count(id) != 0;
}

void OCDownloadManager::removeDownload(void* id)
{
    downloads_.erase(id);
}

unsigned int OCDownloadManager::startDownload(HbbTVDVBURL* url, void* id)
{
    addDownload(id);
    const size_t schemeLength = 6;  // "dvb://"
    const std::string text = url->getFullUrl();
    const std::string path = text.size() > schemeLength ? text.substr(schemeLength) : "";
    const LiveLoad load(this, id);
    const unsigned int answer = dsmcc_get_file(path.c_str(), id);
    if (answer == DSMCC_PENDING)
        return 0;
    if (load.isGone()) {
        closeFile(load, id);
        return 1;
    }
    if (answer == DSMCC_UNKNOWN_ID)
        log(WARN, module, "Unexpected return code from dsmcc_get_file: DSMCC_UNKNOWN_ID");
    const bool isReady = answer != DSMCC_UNKNOWN_ID && answer != DSMCC_ERROR;
    if (isReady && handleDownloaded(id))
        return 1;
    // Deliberate: browser and platform hear a second time of a ready file that could not be read.
    if (!load.isGone())
        handleDownloadFailed(id);
    return 2;
}

bool OCDownloadManager::stopDownload(void* id)
{
    if (!downloadExists(id))
        return false;
    removeDownload(id);
    return true;
}

bool OCDownloadManager::reportDownloadSucceeded(void* id)
{
    if (!downloadExists(id)) {
        log(WARN, module, "Unknown id when reporting download success");
        return false;
    }
    return handleDownloaded(id);
}

bool OCDownloadManager::reportDownloadFailed(void* id)
{
    if (!downloadExists(id)) {
        log(WARN, module, "Unknown id when reporting download failed");
        return false;
    }
    handleDownloadFailed(id);
    return true;
}

bool OCDownloadManager::handleDownloaded(void* id)
{
    log(DEBUG, module, "Reading downloaded object...");
    const LiveLoad load(this, id);
    const char* const error = sendFile(load, id);
    if (load.isGone()) {
        closeFile(load, id);
        return true;  // nobody waits for an answer any more
    }
    if (error) {
        log(DEBUG, module, error);
        handleDownloadFailed(id);
        return false;
    }
    log(DEBUG, module, "read complete");
    ve_protocol_finished(id, statusOK);
    closeFile(load, id);
    return true;
}

void OCDownloadManager::handleDownloadFailed(void* id)
{
    const LiveLoad load(this, id);
    ve_protocol_failed(id, statusNotFound);
    closeFile(load, id);
}

}  // namespace VestaHbbTV
