/// The memory of windows, which is not used again at once.
#ifndef VESTA_LIFECYCLE_WINDOW_STORAGE_H
#define VESTA_LIFECYCLE_WINDOW_STORAGE_H

#include <cstddef>

namespace VestaHbbTV {

/// The integrator knows windows by their addresses, and may keep that of a window it released. So
/// the storage of a released window rests until many others were released after it, and until no
/// queued event names a window by its handle. Taking and giving back are the browser thread's.
class WindowStorage {
public:
    /// How many released windows' storage rests, at the least once so many were released.
    static constexpr unsigned resting = 64;

    /// Says while it lives that some window may be named by its handle. Any thread may have one.
    class Mention {
    public:
        /// @param isOne whether a window is named at all
        explicit Mention(bool isOne) : isOne_(isOne)
        {
            if (isOne_)
                countMention();
        }
        Mention(const Mention&) = delete;
        Mention& operator=(const Mention&) = delete;
        ~Mention()
        {
            if (isOne_)
                forgetMention();
        }

    private:
        const bool isOne_;
    };

    static void* take(size_t size);

    /// How many released windows' storage rests just now.
    static unsigned getResting();

    /// Cannot fail. @param storage as take() gave it; null is ignored
    static void giveBack(void* storage, size_t size);

private:
    static void countMention();
    static void forgetMention();
};

}  // namespace VestaHbbTV

#endif
