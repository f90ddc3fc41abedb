/// The listeners of the scripts' plugin, which are variables of the library's that programs may
/// read and write.
#ifndef VESTA_RECORDER_PLUGIN_LISTENERS_H
#define VESTA_RECORDER_PLUGIN_LISTENERS_H

#include "vesta_hbbtv_appman.h"

namespace recorder {

/// The recorder's functions stand in the variables while the library is running, and nowhere else:
/// to the program they always hold what it put there. The browser thread's.
class PluginListeners {
public:
    /// Writes down which listeners the program put into the variables since the library ran last,
    /// as calls of the natives that do the same. Before the library runs again.
    static void recordChanges();

    /// The library begins to run: listeners that are there are heard by the recorder first.
    static void listen();

    /// It ceases to.
    static void giveBack();

    /// The program's listeners; null for none. To be asked where the library is not running.
    static VEIF_ApplicationManagerListener manager();
    static VEIF_ApplicationDestroyedListener destroyed();
};

}  // namespace recorder

#endif
