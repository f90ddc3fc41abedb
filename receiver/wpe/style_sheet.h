/// How documents show the objects that no engine knows.
#ifndef VESTA_RECEIVER_WPE_STYLE_SHEET_H
#define VESTA_RECEIVER_WPE_STYLE_SHEET_H

#include <cstdint>

namespace receiver {

/// Where a page has this colour, opaque, it has a hole: the video plane is seen through it. Where
/// nothing of the page lies beneath a video, it is transparent there anyway, and what is on it can
/// be transparent, too; else the scripts' side marks the object (video_place.js), which gets this
/// colour. No page uses it for itself.
constexpr uint32_t videoKey = 0xFF010002;  ///< ARGB

/// Of a terminal (OIPF DAE, 7.1): objects without a picture take no room, and those with a video
/// are holes. The page may say where and how large.
/// For the two fonts of every terminal (ETSI TS 102 796, 10.2.1) there are others of the machine,
/// with about the same widths.
constexpr char terminalStyleSheet[] = R"css(
@font-face {
    font-family: "Tiresias";
    src: local("Tiresias"), local("Tiresias PCfont"), local("DejaVu Sans Condensed");
    font-weight: 1 1000;
}
@font-face {
    font-family: "Letter Gothic 12 Pitch";
    src: local("Letter Gothic 12 Pitch"), local("DejaVu Sans Mono");
    font-weight: 1 1000;
}
object[type^="application/oipf" i], object[type^="application/notif" i] {
    display: block; width: 0; height: 0; border: 0; overflow: hidden;
}
object[type^="video/" i], object[type^="audio/" i], object[type^="application/dash+xml" i],
video, audio {
    display: inline-block; width: 300px; height: 150px; overflow: hidden;
    color: transparent !important;
}
object[type^="audio/" i], audio { width: 0; height: 0; }
object[data-vesta-hole] { background: rgb(1, 0, 2) !important; }
object[type^="video/" i] > *, object[type^="audio/" i] > *,
object[type^="application/oipf" i] > *, video > *, audio > * { display: none !important; }
)css";

}  // namespace receiver

#endif
