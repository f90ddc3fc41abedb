#include "receiver/console/picture_series.h"

#include <iomanip>
#include <sstream>
#include <utility>

#include "receiver/browser/browser_engine.h"

namespace receiver {

PictureRest::PictureRest(const BrowserEngine& browser)
    : browser_(browser), paintings_(browser.paintings())
{
}

bool PictureRest::isAtRest(Clock::time_point now)
{
    if (browser_.paintings() != paintings_) {
        paintings_ = browser_.paintings();
        since_ = now;
    }
    return now >= end();
}

PictureRest::Clock::time_point PictureRest::end() const
{
    return since_ + std::chrono::duration_cast<Clock::duration>(
                        std::chrono::duration<double>(pictureRestSeconds));
}

PictureSeries::PictureSeries(std::string folder, BrowserEngine& browser)
    : folder_(std::move(folder)), browser_(browser), rest_(browser)
{
}

std::string PictureSeries::look()
{
    if (!rest_.isAtRest(Clock::now()) || rest_.paintings() == written_)
        return "";
    written_ = rest_.paintings();
    std::ostringstream path;
    path << folder_ << "/" << std::setfill('0') << std::setw(4) << ++number_ << ".png";
    return browser_.writePicture(path.str());
}

std::optional<PictureSeries::Clock::time_point> PictureSeries::nextLook() const
{
    if (browser_.paintings() == written_)
        return std::nullopt;
    return rest_.end();
}

}  // namespace receiver
