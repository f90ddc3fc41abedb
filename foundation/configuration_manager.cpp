#include "foundation/configuration_manager.h"

#include <utility>

#include "vesta_hbbtv_appman.h"

#include "foundation/threadsafe_event_queue.h"
#include "integration/oc_download_manager.h"

namespace VestaHbbTV {

ConfigurationManager* ConfigurationManager::instance = nullptr;

ConfigurationManager* ConfigurationManager::create()
{
    instance = new ConfigurationManager;
    return instance;
}

ThreadsafeEventQueue* ConfigurationManager::getCurrentQueue()
{
    return instance ? instance->getEventQueue() : nullptr;
}

ConfigurationManager::ConfigurationManager() = default;

ConfigurationManager::~ConfigurationManager()
{
    ocDownloadManager_.reset();
    // The destructors of its events find this instance, and no queue in it any longer.
    eventQueue_.reset();
    if (instance == this)
        instance = nullptr;
}

void ConfigurationManager::init(TAVO_Vesta* browser)
{
    browser_ = browser;
    ocDownloadManager_ = std::make_unique<OCDownloadManager>();
    // The former queue dies last: the destructors of its events find the new one in place.
    const auto former = std::exchange(eventQueue_, std::make_unique<ThreadsafeEventQueue>());
    const int supported = hbbtv_keyset_get_supported_values();
    if (instance == this)  // the integrator may have shut the library down in return
        supportedKeySetValues_ = supported;
}

void ConfigurationManager::setHbbTVVersion(unsigned char major, unsigned char minor,
                                           unsigned char micro)
{
    hbbtvVersionMajor_ = major;
    hbbtvVersionMinor_ = minor;
    hbbtvVersionMicro_ = micro;
}

}  // namespace VestaHbbTV
