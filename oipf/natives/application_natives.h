/// What the natives behind the OIPF objects share.
#ifndef VESTA_OIPF_NATIVES_APPLICATION_NATIVES_H
#define VESTA_OIPF_NATIVES_APPLICATION_NATIVES_H

#include "foundation/visibility.h"

namespace VestaHbbTV {

class Application;

/// The application shown in a window of the browser's number; null when there is none.
VESTA_EXPORTED Application* get_application_from_window(long windowId);

/// The application of an id as scripts carry it; null for a null or unknown id.
VESTA_EXPORTED Application* get_application_from_id(void* appId);

}  // namespace VestaHbbTV

#endif
