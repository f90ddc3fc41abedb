/// Listeners for the library to call: they have no context, so that each is a function of its own
/// that knows its name.
#ifndef VESTA_REPLAY_LISTENERS_H
#define VESTA_REPLAY_LISTENERS_H

#include <cstddef>
#include <string>
#include <type_traits>

#include "vesta_hbbtv_appman.h"

#include "replay/names.h"

namespace replay {

class Listeners {
public:
    /// How many of a kind can be had.
    static constexpr size_t most = 64;

    /// The listener of that name; its address is bound to it. @return null for one too many
    VestaHbbTV::HBBTV_NotificationListener notification(const std::string& name, Names& names);

    /// Likewise.
    VestaHbbTV::HBBTV_StreamEventCallback streamEvent(const std::string& name, Names& names);

    /// A listener of the scripts' plugin. What it is told does not say which of them it is.
    template <typename Function>
    static Function plugin()
    {
        if constexpr (std::is_same_v<Function, VEIF_ApplicationManagerListener>)
            return managerListener();
        else
            return destroyedListener();
    }

private:
    static VEIF_ApplicationManagerListener managerListener();
    static VEIF_ApplicationDestroyedListener destroyedListener();

    size_t notifications_ = 0;
    size_t streamEvents_ = 0;
};

}  // namespace replay

#endif
