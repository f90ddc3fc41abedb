/// What a viewer sees, as a picture.
#ifndef VESTA_RECEIVER_WPE_PICTURE_H
#define VESTA_RECEIVER_WPE_PICTURE_H

#include <cairo.h>
#include <memory>
#include <string>
#include <vector>

#include "receiver/browser/video_plane.h"
#include "receiver/wpe/view.h"

namespace receiver {

/// 1280 by 720 pixels, opaque.
class Picture {
public:
    /// The video plane beneath the windows, the lowest first, as far as they are transparent.
    Picture(const VideoPlane& video, const std::vector<const Frame*>& windows);

    /// @return the bytes of a PNG file; empty where it could not be made
    std::string toPng() const;

    /// @return what went wrong, for people; empty for success
    std::string writeTo(const std::string& path) const;

    /// @param tolerance how far each of red, green and blue of a pixel may be off
    /// @return how they differ, for people; empty when they do not
    std::string differenceTo(const std::string& path, int tolerance) const;

private:
    struct Destroyer {
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    };

    std::unique_ptr<cairo_surface_t, Destroyer> surface_;
};

}  // namespace receiver

#endif
