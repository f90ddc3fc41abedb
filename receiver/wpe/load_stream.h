/// What WebKit reads of a load while the application manager still writes it.
#ifndef VESTA_RECEIVER_WPE_LOAD_STREAM_H
#define VESTA_RECEIVER_WPE_LOAD_STREAM_H

#include <cstddef>
#include <functional>
#include <gio/gio.h>

namespace receiver {

/// @param stopped called once if WebKit wants no more before all was read
/// @return a new stream, the caller's
GInputStream* newLoadStream(std::function<void()> stopped);

/// @name For streams of newLoadStream()
/// @{
void writeTo(GInputStream* stream, const char* bytes, size_t count);
/// No bytes follow.
void finish(GInputStream* stream);
/// No bytes follow because of a failure: a network error for the page.
void fail(GInputStream* stream);
/// From now on nobody wants to know whether it is stopped.
void forgetStopped(GInputStream* stream);
/// @}

}  // namespace receiver

#endif
