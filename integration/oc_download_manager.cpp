#include "integration/oc_download_manager.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/decision.h"
#include "foundation/logging.h"
#include "foundation/url_prefixes.h"
#include "signalling/hbbtv_url.h"

namespace VestaHbbTV {

namespace {

const char module[] = "OCDownloadManager";

const int statusOK = 200;
const int statusNotFound = 404;

/// A large carousel object never becomes one huge write.
const unsigned int maximumWriteBytes = 130048;

}  // namespace

/// The answer to one load, while it is given. The browser's handle and the platform's file are its
/// own only as long as nobody who is called meanwhile cancels the load, answers it or starts it
/// anew, or shuts the library down. It lives on the stack, inside of what was being answered then.
class OCDownloadManager::Answer {
public:
    Answer(OCDownloadManager* manager, void* id)
        : manager_(manager), outer_(manager->innermostAnswer_), id_(id)
    {
        manager->innermostAnswer_ = this;
    }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;
    ~Answer()
    {
        if (manager_)
            manager_->innermostAnswer_ = outer_;
    }

    bool isDue() const { return state_ == DUE; }

    /// Streams the file. @return false when that failed, which was answered
    bool deliver();

    void fail();

    /// Gives the platform its file back, unless it is another's by now.
    void closeFile() const;

    /// @name What happens to the answers to a load meanwhile, from the innermost one on
    /// @{
    static void cancel(Answer* answer, const void* id);
    static void takeOver(Answer* answer, const void* id);
    static void loseManager(Answer* answer);
    /// @}

private:
    enum State {
        DUE,
        CANCELLED,  ///< nobody waits for it, but its file is still to be closed
        TAKEN_OVER  ///< load and file are somebody else's
    };

    const char* stream() const;
    bool sendMimeType() const;
    void send(const char* bytes, unsigned int length) const;

    OCDownloadManager* manager_;
    Answer* outer_;
    void* id_;
    State state_ = DUE;
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
        explain(HBBTV_REASON_FILE_UNREADABLE, {}, 0, 0, error);
        fail();
        return false;
    }
    log(DEBUG, module, "read complete");
    takeOver(outer_, id_);
    ve_protocol_finished(id_, statusOK);
    closeFile();
    return true;
}

void OCDownloadManager::Answer::fail()
{
    takeOver(outer_, id_);
    ve_protocol_failed(id_, statusNotFound);
    closeFile();
}

void OCDownloadManager::Answer::closeFile() const
{
    if (state_ != TAKEN_OVER)
        dsmcc_close_file(id_);
}

/// The innermost answer closes the file.
void OCDownloadManager::Answer::cancel(Answer* answer, const void* id)
{
    while (answer && answer->id_ != id)
        answer = answer->outer_;
    if (!answer)
        return;
    if (answer->isDue())
        answer->state_ = CANCELLED;
    takeOver(answer->outer_, id);
}

void OCDownloadManager::Answer::takeOver(Answer* answer, const void* id)
{
    for (; answer; answer = answer->outer_) {
        if (answer->id_ == id)
            answer->state_ = TAKEN_OVER;
    }
}

void OCDownloadManager::Answer::loseManager(Answer* answer)
{
    for (; answer; answer = answer->outer_) {
        answer->state_ = TAKEN_OVER;
        answer->manager_ = nullptr;
    }
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

void DownloadsDeleter::operator()(OCDownloadManager* downloads) const
{
    delete downloads;
}

std::unique_ptr<OCDownloadManager, DownloadsDeleter> makeDownloads()
{
    return std::unique_ptr<OCDownloadManager, DownloadsDeleter>(new OCDownloadManager);
}

OCDownloadManager* OCDownloadManager::getCurrent()
{
    return ConfigurationManager::instance ? ConfigurationManager::instance->getOCDownloadManager()
                                          : nullptr;
}

OCDownloadManager::~OCDownloadManager()
{
    Answer::loseManager(innermostAnswer_);
}

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
    if (downloads_.erase(id) != 0)
        Answer::cancel(innermostAnswer_, id);
}

unsigned int OCDownloadManager::startDownload(HbbTVDVBURL* url, void* id)
{
    addDownload(id);
    Answer::takeOver(innermostAnswer_, id);
    Answer answer(this, id);
    const std::string text = url->getFullUrl();
    const std::string path =
        text.size() > absoluteDVBPrefix.size() ? text.substr(absoluteDVBPrefix.size()) : "";
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
    if (!isReady)
        explain(HBBTV_REASON_FILE_REFUSED, {}, 0, state, path.c_str());
    if (isReady && answer.deliver())
        return 1;
    // Deliberate: browser and platform hear a second time of a ready file that could not be read.
    if (answer.isDue())
        answer.fail();
    return 2;
}

bool OCDownloadManager::stopDownload(void* id)
{
    const bool isKnown = downloadExists(id);
    removeDownload(id);
    return isKnown;
}

bool OCDownloadManager::reportDownloadSucceeded(void* id)
{
    if (!downloadExists(id)) {
        log(WARN, module, "Unknown id when reporting download success");
        explain(HBBTV_REASON_FILE_UNKNOWN);
        return false;
    }
    return handleDownloaded(id);
}

bool OCDownloadManager::reportDownloadFailed(void* id)
{
    if (!downloadExists(id)) {
        log(WARN, module, "Unknown id when reporting download failed");
        explain(HBBTV_REASON_FILE_UNKNOWN);
        return false;
    }
    explain(HBBTV_REASON_FILE_FAILED);
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

}  // namespace VestaHbbTV
