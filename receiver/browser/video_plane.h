/// What lies beneath the applications.
#ifndef VESTA_RECEIVER_BROWSER_VIDEO_PLANE_H
#define VESTA_RECEIVER_BROWSER_VIDEO_PLANE_H

#include <optional>
#include <string>

namespace receiver {

/// Of HbbTV's screen, in pixels (ETSI TS 102 796, 10.2.1).
constexpr int screenWidth = 1280;
constexpr int screenHeight = 720;

/// A part of the screen, in pixels.
struct Rectangle {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
};

/// The service's picture: a test card stands for it.
struct VideoPlane {
    unsigned service = 0;            ///< its id; 0 for none: the plane is black
    std::string name;                ///< UTF-8
    std::optional<Rectangle> place;  ///< null: on the whole screen; empty: nowhere
};

}  // namespace receiver

#endif
