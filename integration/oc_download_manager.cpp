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
        : manager_(manager), id_(id), isKnown_(isHeld())
    {
    }

    /// Loads that the library does not know by their ids can only be answered to their end.
    bool isGone() const { return isKnown_ && !isHeld(); }

    /// Whether the library still runs, so that the platform may be called.
    bool hasPlatform() const { return !isKnown_ || isCurrent(); }

private:
    bool isCurrent() const
    {
        return ConfigurationManager::instance &&
               ConfigurationManager::instance->getOCDownloadManager() == manager_;
    }
    bool isHeld() const { return isCurrent() && manager_->downloadExists(id_); }

    const OCDownloadManager* manager_;
    void* id_;
    bool isKnown_;
};

/// @return what dsmcc_get_mime_type() answered
unsigned int sendMimeType(void* id)
{
    char* mimeType = nullptr;
    const unsigned int result = dsmcc_get_mime_type(id, &mimeType);
    if (result == DSMCC_OK && mimeType)
        ve_protocol_set_mime_type(id, mimeType);
    std::free(mimeType);
    return result;
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

/// Reads once. @return whether there was anything; failed tells why not
bool readOnce(void* id, char*& buffer, unsigned int& length, bool& failed)
{
    buffer = nullptr;
    length = 0;
    failed = dsmcc_read(id, &buffer, &length) != DSMCC_OK || (length > 0 && !buffer);
    return !failed && length > 0;
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
    switch (dsmcc_get_file(path.c_str(), id)) {
    case DSMCC_PENDING:
        return 0;
    case DSMCC_UNKNOWN_ID:
        log(WARN, module, "Unexpected return code from dsmcc_get_file: DSMCC_UNKNOWN_ID");
        handleDownloadFailed(id);
        return 2;
    case DSMCC_ERROR:
        handleDownloadFailed(id);
        return 2;
    default:
        break;
    }
    if (handleDownloaded(id))
        return 1;
    // Deliberate: browser and platform hear of this failure a second time.
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
    if (sendMimeType(id) != DSMCC_OK) {
        log(DEBUG, module, "dsmcc_get_mime_type != DSMCC_OK");
        handleDownloadFailed(id);
        return false;
    }
    char* buffer = nullptr;
    unsigned int length = 0;
    bool failed = false;
    while (!load.isGone() && readOnce(id, buffer, length, failed))
        sendBytes(load, id, buffer, length);
    if (load.isGone()) {
        if (load.hasPlatform())
            dsmcc_close_file(id);
        return true;  // nobody waits for an answer any more
    }
    if (failed) {
        log(DEBUG, module, "dsmcc_read != DSMCC_OK");
        handleDownloadFailed(id);
        return false;
    }
    log(DEBUG, module, "read complete");
    ve_protocol_finished(id, statusOK);
    dsmcc_close_file(id);
    return true;
}

void OCDownloadManager::handleDownloadFailed(void* id)
{
    ve_protocol_failed(id, statusNotFound);
    dsmcc_close_file(id);
}

}  // namespace VestaHbbTV
