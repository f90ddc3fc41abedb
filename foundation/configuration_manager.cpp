#include "foundation/configuration_manager.h"

#include <utility>

#include "vesta_hbbtv_appman.h"

#include "foundation/threadsafe_event_queue.h"

namespace VestaHbbTV {

namespace {

unsigned long newSession()
{
    static unsigned long last = 0;
    return ++last;
}

}  // namespace

ConfigurationManager* ConfigurationManager::instance = nullptr;

ConfigurationManager* ConfigurationManager::getInstance()
{
    if (!instance)
        instance = new ConfigurationManager;
    return instance;
}

ThreadsafeEventQueue* ConfigurationManager::getCurrentQueue()
{
    return instance ? instance->getEventQueue() : nullptr;
}

ConfigurationManager::ConfigurationManager() : session_(newSession())
{
}

ConfigurationManager::~ConfigurationManager()
{
    ocDownloadManager_.reset();
    // The destructors of its events find this instance, and no queue in it any longer.
    eventQueue_.reset();
    if (instance == this)
        instance = nullptr;
}

bool ConfigurationManager::init(TAVO_Vesta* browser)
{
    const unsigned long session = session_;
    auto downloads = makeDownloads();
    auto queue = std::make_unique<ThreadsafeEventQueue>();
    browser_ = browser;
    ocDownloadManager_ = std::move(downloads);
    // The former queue dies last: the destructors of its events find the new one in place.
    const auto former = std::exchange(eventQueue_, std::move(queue));
    const int supported = hbbtv_keyset_get_supported_values();
    if (getSession() != session)
        return false;
    supportedKeySetValues_ = supported;
    return true;
}

void ConfigurationManager::setHbbTVVersion(unsigned char major, unsigned char minor,
                                           unsigned char micro)
{
    hbbtvVersionMajor_ = major;
    hbbtvVersionMinor_ = minor;
    hbbtvVersionMicro_ = micro;
}

}  // namespace VestaHbbTV
