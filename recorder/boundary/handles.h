/// What crosses the boundary as an address and is never followed: such values have names in a
/// record, so that a record means the same in another process.
#ifndef VESTA_RECORDER_BOUNDARY_HANDLES_H
#define VESTA_RECORDER_BOUNDARY_HANDLES_H

namespace recorder {

/// Whose name a handle's is. Each kind has names of its own: "window:1", "page:2".
enum class Handle {
    browser,      ///< TAVO_Vesta, the integrator's
    page,         ///< TAVO_VestaWindow, the integrator's
    window,       ///< the library's window
    application,  ///< the library's id for scripts
    load,         ///< request_id of a protocol load, the integrator's
    file,         ///< the library's id of a carousel file
    channel,      ///< the integrator's channel reference
    listener,     ///< a notification listener
    plugin,       ///< a listener of the scripts' plugin
    callback,     ///< a stream event's listener
    passed        ///< what is passed through unchanged, and addresses that only are there or not
};

/// "window" for Handle::window, and so on.
constexpr const char* nameOf(Handle kind)
{
    switch (kind) {
    case Handle::browser:
        return "browser";
    case Handle::page:
        return "page";
    case Handle::window:
        return "window";
    case Handle::application:
        return "application";
    case Handle::load:
        return "load";
    case Handle::file:
        return "file";
    case Handle::channel:
        return "channel";
    case Handle::listener:
        return "listener";
    case Handle::plugin:
        return "plugin";
    case Handle::callback:
        return "callback";
    case Handle::passed:
        return "passed";
    }
    return "";
}

}  // namespace recorder

#endif
