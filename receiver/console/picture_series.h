/// A picture of every change of what a viewer sees.
#ifndef VESTA_RECEIVER_CONSOLE_PICTURE_SERIES_H
#define VESTA_RECEIVER_CONSOLE_PICTURE_SERIES_H

#include <chrono>
#include <optional>
#include <string>

namespace receiver {

class BrowserEngine;

/// A page paints in several steps: what is seen counts once nothing has changed for so long.
constexpr double pictureRestSeconds = 0.3;

/// Tells when nothing has been painted for a while.
class PictureRest {
public:
    using Clock = std::chrono::steady_clock;

    /// @param browser borrowed
    explicit PictureRest(const BrowserEngine& browser);

    bool isAtRest(Clock::time_point now);

    /// When it will be, if nothing is painted meanwhile.
    Clock::time_point end() const;

    /// How much was painted until the last look.
    unsigned long long paintings() const { return paintings_; }

private:
    const BrowserEngine& browser_;
    unsigned long long paintings_;
    Clock::time_point since_ = Clock::now();
};

/// Writes FOLDER/0001.png and so on, one whenever what is seen has settled after a change.
class PictureSeries {
public:
    using Clock = PictureRest::Clock;

    /// @param browser borrowed
    PictureSeries(std::string folder, BrowserEngine& browser);

    /// @return what went wrong, for people; empty for success
    std::string look();

    /// When to look again; nothing when that has time until something happens.
    std::optional<Clock::time_point> nextLook() const;

private:
    const std::string folder_;
    BrowserEngine& browser_;
    PictureRest rest_;
    unsigned long long written_ = 0;  // paintings in the last picture
    unsigned number_ = 0;
};

}  // namespace receiver

#endif
