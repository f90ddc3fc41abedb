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

/// The turn of a load that is not known (any more).
const unsigned long noTurn = 0;

/// Never reused, so that a later manager at the same address knows none of an earlier one's.
unsigned long nextTurn()
{
    static unsigned long last = noTurn;
    return ++last;
}

}  // namespace

/// The answer to one load. The browser's handle and the platform's file are its own only as long as
/// nobody who is called meanwhile cancels the load, answers it or starts it anew, or shuts the
/// library down.
class OCDownloadManager::Answer {
public:
    Answer(OCDownloadManager* manager, void* id)
        : manager_(manager), id_(id), turn_(manager->turnOf(id)), isManaged_(isCurrent())
    {
    }

    /// Whether nobody came in between. Ids that were never known have but one turn.
    bool isDue() const { return isLibraryRunning() && manager_->turnOf(id_) == turn_; }

    /// Streams the file. @return false when that failed, which was answered
    bool deliver();

    void fail();

    /// Gives the platform its file back, unless it is another's by now.
    void closeFile() const;

private:
    bool isLibraryRunning() const { return !isManaged_ || isCurrent(); }
    bool isCurrent() const;
    void endTurn();
    const char* stream() const;
    bool sendMimeType() const;
    void send(const char* bytes, unsigned int length) const;

    OCDownloadManager* manager_;
    void* id_;
    unsigned long turn_;
    bool isManaged_;  ///< the library's own manager, which may be gone after a call
};

bool OCDownloadManager::Answer::deliver()
{
    log(DEBUG, module, "Reading downloaded object...");
    const char* const error = stream();
    if (!isDue()) {
        closeFile();
        return true;  // nobody waits for this answer any more
    }
    if (error) {
        log(DEBUG, module, error);
        fail();
        return false;
    }
    log(DEBUG, module, "read complete");
    endTurn();
    ve_protocol_finished(id_, statusOK);
    closeFile();
    return true;
}

void OCDownloadManager::Answer::fail()
{
    endTurn();
    ve_protocol_failed(id_, statusNotFound);
    closeFile();
}

void OCDownloadManager::Answer::closeFile() const
{
    if (isDue() || (isLibraryRunning() && manager_->turnOf(id_) == noTurn))
        dsmcc_close_file(id_);
}

bool OCDownloadManager::Answer::isCurrent() const
{
    return ConfigurationManager::instance &&
           ConfigurationManager::instance->getOCDownloadManager() == manager_;
}

/// Whoever else was answering this load is no longer to do so.
void OCDownloadManager::Answer::endTurn()
{
    if (turn_ != noTurn)
        turn_ = manager_->downloads_[id_] = nextTurn();
}

/// Reads and writes to the end of the file, or until it is no longer due.
/// @return null, or what went wrong
const char* OCDownloadManager::Answer::stream() const
{
    if (!sendMimeType())
        return "dsmcc_get_mime_type != DSMCC_OK";
    while (isDue()) {
        char* buffer = nullptr;
        unsigned int length = 0;
        if (dsmcc_read(id_, &buffer, &length) != DSMCC_OK || (length > 0 && !buffer))
            return "dsmcc_read != DSMCC_OK";
        if (length == 0)
            return nullptr;
        send(buffer, length);
    }
    return nullptr;
}

/// @return whether the platform had an answer
bool OCDownloadManager::Answer::sendMimeType() const
{
    char* mimeType = nullptr;
    const bool isAnswered = dsmcc_get_mime_type(id_, &mimeType) == DSMCC_OK;
    if (isAnswered && mimeType && isDue())
        ve_protocol_set_mime_type(id_, mimeType);
    std::free(mimeType);
    return isAnswered;
}

void OCDownloadManager::Answer::send(const char* bytes, unsigned int length) const
{
    while (length > 0 && isDue()) {
        const unsigned int count = std::min(length, maximumWriteBytes);
        ve_protocol_write(id_, bytes, count);
        bytes += count;
        length -= count;
    }
}

void OCDownloadManager::addDownload(void* id)
{
    if (!downloadExists(id))
        downloads_[id] = nextTurn();
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
    downloads_[id] = nextTurn();
    Answer answer(this, id);
    const size_t schemeLength = 6;  // "dvb://"
    const std::string text = url->getFullUrl();
    const std::string path = text.size() > schemeLength ? text.substr(schemeLength) : "";
    const unsigned int state = dsmcc_get_file(path.c_str(), id);
    if (state == DSMCC_PENDING)
        return 0;
    if (!answer.isDue()) {
        answer.closeFile();
        return 1;
    }
    if (state == DSMCC_UNKNOWN_ID)
        log(WARN, module, "Unexpected return code from dsmcc_get_file: DSMCC_UNKNOWN_ID");
    const bool isReady = state != DSMCC_UNKNOWN_ID && state != DSMCC_ERROR;
    if (isReady && answer.deliver())
        return 1;
    // Deliberate: browser and platform hear a second time of a ready file that could not be read.
    if (answer.isDue())
        answer.fail();
    return 2;
}

bool OCDownloadManager::stopDownload(void* id)
{
    return downloads_.erase(id) != 0;
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
    return Answer(this, id).deliver();
}

void OCDownloadManager::handleDownloadFailed(void* id)
{
    Answer(this, id).fail();
}

/// @return never 0 for a load that is known
unsigned long OCDownloadManager::turnOf(void* id) const
{
    const auto found = downloads_.find(id);
    return found == downloads_.end() ? noTurn : found->second;
}

}  // namespace VestaHbbTV
