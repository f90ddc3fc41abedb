#include "lifecycle/script_plugin.h"

#include <cstdint>

#include "vesta_hbbtv_appman.h"

#include "lifecycle/application.h"

VEIF_ApplicationManagerListener veif_applicationManagerListener = nullptr;
VEIF_ApplicationDestroyedListener veif_applicationDestroyedListener = nullptr;

namespace VestaHbbTV {

namespace {

const int lowMemoryEvent = 0;
const int loadErrorEvent = 3;

}  // namespace

void* get_id_from_application(Application* application)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the plugin's ids are numbers in pointers
    return application ? reinterpret_cast<void*>(static_cast<uintptr_t>(application->getID()))
                       : nullptr;
}

void call_low_memory_listener()
{
    if (veif_applicationManagerListener)
        veif_applicationManagerListener(lowMemoryEvent, nullptr);
}

void call_application_load_error_listener(Application* application)
{
    if (veif_applicationManagerListener)
        veif_applicationManagerListener(loadErrorEvent, get_id_from_application(application));
}

void call_application_destroyed_listener(Application* application)
{
    if (veif_applicationDestroyedListener)
        veif_applicationDestroyedListener(get_id_from_application(application));
}

}  // namespace VestaHbbTV
