/// The browser's plugin behind the OIPF objects: what scripts hear of applications.
#ifndef VESTA_LIFECYCLE_SCRIPT_PLUGIN_H
#define VESTA_LIFECYCLE_SCRIPT_PLUGIN_H

#include "foundation/visibility.h"

namespace VestaHbbTV {

class Application;

/// The id as scripts carry it; null for null.
VESTA_EXPORTED void* get_id_from_application(Application* application);

/// Tells the plugin that memory is low.
VESTA_EXPORTED void call_low_memory_listener();

/// Tells the plugin that the initial page of an application could not be loaded.
VESTA_EXPORTED void call_application_load_error_listener(Application* application);

/// Tells the plugin that an application has ended.
VESTA_EXPORTED void call_application_destroyed_listener(Application* application);

}  // namespace VestaHbbTV

#endif
