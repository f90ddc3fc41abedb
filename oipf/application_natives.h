/// What the natives behind the OIPF objects share, and the library's calls back into their plugin.
#ifndef VESTA_OIPF_APPLICATION_NATIVES_H
#define VESTA_OIPF_APPLICATION_NATIVES_H

namespace VestaHbbTV {

class Application;

/// The application shown in a window of the browser's number; null when there is none.
Application* get_application_from_window(long windowId);

/// The application of an id as scripts carry it; null for a null or unknown id.
Application* get_application_from_id(void* appId);

/// The id as scripts carry it; null for null.
void* get_id_from_application(Application* application);

/// Tells the plugin that memory is low.
void call_low_memory_listener();

/// Tells the plugin that the initial page of an application could not be loaded.
void call_application_load_error_listener(Application* application);

/// Tells the plugin that an application has ended.
void call_application_destroyed_listener(Application* application);

}  // namespace VestaHbbTV

#endif
