/// Functions that stand in for the program's listeners, which the library calls by their addresses.
#ifndef VESTA_RECORDER_LISTENERS_H
#define VESTA_RECORDER_LISTENERS_H

#include "vesta_hbbtv_appman.h"

namespace recorder {

/// What the library is to call in the listener's place: the same for the same listener. The
/// listener itself, and a word about it, where there are more than 64 of them.
VestaHbbTV::HBBTV_NotificationListener standInFor(VestaHbbTV::HBBTV_NotificationListener listener);

/// The library has forgotten the listeners, so that their stand-ins may serve others.
void forgetListeners();

/// Likewise for a stream event's listener, which is never forgotten. @param callback may be null
VestaHbbTV::HBBTV_StreamEventCallback standInFor(VestaHbbTV::HBBTV_StreamEventCallback callback);

}  // namespace recorder

#endif
