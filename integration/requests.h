/// What the integrator asks for by an event: starts, ends, and how the terminal describes itself.
#ifndef VESTA_INTEGRATION_REQUESTS_H
#define VESTA_INTEGRATION_REQUESTS_H

#include "vesta_hbbtv_appman.h"

namespace VestaHbbTV {

/// Starts an application of the table in force. Unknown windows are ignored.
void startRequested(const HBBTV_StartApplicationEventData& request);

/// Starts a broadcast-independent application. Unknown windows and null URLs are ignored.
void startRequested(const HBBTV_StartURLEventData& request);

/// Ends the window's application. Unknown windows are ignored.
void endRequested(const HBBTV_WindowEventData& request);

/// Gives the browser the HbbTV part of its user-agent string.
void describeTerminal(const HBBTV_UserAgentEventData& terminal);

}  // namespace VestaHbbTV

#endif
