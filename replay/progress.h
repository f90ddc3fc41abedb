/// Where the replay is, for whoever has to say so when the library crashes: another process, or the
/// handler of a signal, which may only read plain memory.
#ifndef VESTA_REPLAY_PROGRESS_H
#define VESTA_REPLAY_PROGRESS_H

#include <cstddef>
#include <cstdint>

namespace replay {

struct Progress {
    struct Step {
        uint64_t number;
        bool isIn;
        char name[56];
    };
    static constexpr size_t remembered = 32;
    static constexpr size_t deepest = 256;

    Step latest[remembered];
    size_t begun;        ///< so many steps; the latest is at (begun - 1) % remembered
    Step open[deepest];  ///< the calls that have not ended, the outermost first
    size_t depth;
    bool isIdle;  ///< an idle tick runs
    /// What came of it, where another process wants to know.
    int code;
    size_t line;  ///< place in the record's lines
    char signature[1 << 16];

    void begin(uint64_t number, bool isIn, const char* name);
    void end();

    /// The function that runs, the innermost one; empty if none does.
    const char* function() const;
};

/// That of the replay which is under way; never null.
extern Progress* progress;

/// From now on a crash says the latest steps on the standard error output, before the signal takes
/// its course.
/// @param steps how many
void noteCrashes(size_t steps);

}  // namespace replay

#endif
