/// What the environment asks of the recorder.
#ifndef VESTA_RECORDER_SETTINGS_H
#define VESTA_RECORDER_SETTINGS_H

#include <cstdint>
#include <string>
#include <variant>

namespace recorder {

struct Settings {
    std::string path;  ///< VESTA_RECORD; empty: nothing is to be recorded
    uint64_t limit = UINT64_MAX;
    bool leavesOutBodies = false;
    bool leavesOutQueries = false;
};

/// The values of VESTA_RECORD, VESTA_RECORD_LIMIT and VESTA_RECORD_LEAVE_OUT, each null where it is
/// not set; an empty one counts as not set.
/// @return the settings; where a value is none that there is, a sentence that says what is expected
std::variant<Settings, std::string> readSettings(const char* record, const char* limit,
                                                 const char* leaveOut);

}  // namespace recorder

#endif
