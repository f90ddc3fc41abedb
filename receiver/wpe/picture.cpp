#include "receiver/wpe/picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "receiver/wpe/style_sheet.h"

namespace receiver {

namespace {

struct ContextDestroyer {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Context = std::unique_ptr<cairo_t, ContextDestroyer>;

void fill(cairo_t* context, const std::array<double, 3>& colour, const Rectangle& place)
{
    cairo_set_source_rgb(context, colour[0], colour[1], colour[2]);
    cairo_rectangle(context, place.x, place.y, place.width, place.height);
    cairo_fill(context);
}

void writeCentred(cairo_t* context, const std::string& text, double size, double y)
{
    cairo_set_font_size(context, size);
    cairo_text_extents_t extents;
    cairo_text_extents(context, text.c_str(), &extents);
    cairo_move_to(context, (screenWidth - extents.x_advance) / 2, y);
    cairo_show_text(context, text.c_str());
}

/// Bars of 75 % (as of old), a grey ramp, and whose picture it is.
void paintTestCard(cairo_t* context, const VideoPlane& video)
{
    static const std::array<std::array<double, 3>, 7> bars = {{{0.75, 0.75, 0.75},
                                                               {0.75, 0.75, 0.0},
                                                               {0.0, 0.75, 0.75},
                                                               {0.0, 0.75, 0.0},
                                                               {0.75, 0.0, 0.75},
                                                               {0.75, 0.0, 0.0},
                                                               {0.0, 0.0, 0.75}}};
    const double barHeight = 540;
    const double barWidth = double(screenWidth) / bars.size();
    for (size_t index = 0; index < bars.size(); ++index)
        fill(context, bars[index], {barWidth * double(index), 0, barWidth, barHeight});
    const int steps = 16;
    const double stepWidth = double(screenWidth) / steps;
    for (int step = 0; step < steps; ++step) {
        const double grey = double(step) / (steps - 1);
        fill(context, {grey, grey, grey},
             {stepWidth * step, barHeight, stepWidth, screenHeight - barHeight});
    }
    const Rectangle plate = {screenWidth / 2.0 - 260, 250, 520, 150};
    fill(context, {0.05, 0.05, 0.08}, plate);
    cairo_set_source_rgb(context, 1, 1, 1);
    cairo_select_font_face(context, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
    writeCentred(context, video.name.empty() ? "Service" : video.name, 52, plate.y + 70);
    writeCentred(context, std::to_string(video.service), 32, plate.y + 120);
}

void paintVideo(cairo_t* context, const VideoPlane& video)
{
    const Rectangle whole = {0, 0, screenWidth, screenHeight};
    fill(context, {0, 0, 0}, whole);
    if (video.service == 0)
        return;
    const Rectangle place = video.place.value_or(whole);
    if (place.width <= 0 || place.height <= 0)
        return;
    cairo_save(context);
    cairo_translate(context, place.x, place.y);
    cairo_scale(context, place.width / screenWidth, place.height / screenHeight);
    paintTestCard(context, video);
    cairo_restore(context);
}

/// @param visit gets where a window has a hole: x, y
template <typename Visit>
void forEachHole(const Frame& frame, const Visit& visit)
{
    for (int y = 0; y < std::min(frame.height, screenHeight); ++y) {
        const unsigned char* const line = frame.pixels.data() + size_t(y) * size_t(frame.stride);
        for (int x = 0; x < std::min(frame.width, screenWidth); ++x) {
            uint32_t colour = 0;
            std::memcpy(&colour, line + size_t(x) * sizeof colour, sizeof colour);
            if (colour == videoKey)
                visit(x, y);
        }
    }
}

/// Where a window has holes, a video that has a place of its own is seen through them alone: where
/// the page clips its object, there is none.
void limitToHoles(cairo_surface_t* surface, const std::vector<const Frame*>& windows)
{
    std::vector<bool> isHole(size_t(screenWidth) * screenHeight);
    bool hasHoles = false;
    const auto indexOf = [](int x, int y) { return size_t(y) * screenWidth + size_t(x); };
    for (const Frame* const window : windows)
        forEachHole(*window, [&](int x, int y) { isHole[indexOf(x, y)] = hasHoles = true; });
    if (!hasHoles)
        return;
    cairo_surface_flush(surface);
    unsigned char* const pixels = cairo_image_surface_get_data(surface);
    const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(surface));
    const uint32_t black = 0xFF000000;
    for (int y = 0; y < screenHeight; ++y) {
        for (int x = 0; x < screenWidth; ++x) {
            if (!isHole[indexOf(x, y)])
                std::memcpy(pixels + size_t(y) * stride + size_t(x) * sizeof black, &black,
                            sizeof black);
        }
    }
    cairo_surface_mark_dirty(surface);
}

void paintWindow(cairo_t* context, const Frame& frame)
{
    std::vector<unsigned char> pixels = frame.pixels;
    forEachHole(frame, [&](int x, int y) {
        std::memset(pixels.data() + size_t(y) * size_t(frame.stride) + size_t(x) * 4, 0, 4);
    });
    cairo_surface_t* const surface = cairo_image_surface_create_for_data(
        pixels.data(), CAIRO_FORMAT_ARGB32, frame.width, frame.height, frame.stride);
    cairo_set_source_surface(context, surface, 0, 0);
    cairo_paint(context);
    cairo_surface_destroy(surface);
}

struct Difference {
    size_t pixels = 0;
    int most = 0;
};

Difference compare(cairo_surface_t* one, cairo_surface_t* other, int tolerance)
{
    Difference difference;
    const int channels = 3;
    for (int y = 0; y < screenHeight; ++y) {
        const unsigned char* const left =
            cairo_image_surface_get_data(one) + y * cairo_image_surface_get_stride(one);
        const unsigned char* const right =
            cairo_image_surface_get_data(other) + y * cairo_image_surface_get_stride(other);
        for (int x = 0; x < screenWidth; ++x) {
            int most = 0;
            for (int channel = 0; channel < channels; ++channel)
                most = std::max(most, std::abs(left[x * 4 + channel] - right[x * 4 + channel]));
            difference.pixels += most > tolerance ? 1 : 0;
            difference.most = std::max(difference.most, most);
        }
    }
    return difference;
}

}  // namespace

Picture::Picture(const VideoPlane& video, const std::vector<const Frame*>& windows)
    : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, screenWidth, screenHeight))
{
    const Context context(cairo_create(surface_.get()));
    paintVideo(context.get(), video);
    if (video.place)
        limitToHoles(surface_.get(), windows);
    for (const Frame* const frame : windows)
        paintWindow(context.get(), *frame);
    cairo_surface_flush(surface_.get());
}

std::string Picture::toPng() const
{
    std::string bytes;
    const auto append = [](void* to, const unsigned char* from, unsigned count) {
        static_cast<std::string*>(to)->append(reinterpret_cast<const char*>(from), count);
        return CAIRO_STATUS_SUCCESS;
    };
    const cairo_status_t status = cairo_surface_write_to_png_stream(surface_.get(), append, &bytes);
    return status == CAIRO_STATUS_SUCCESS ? bytes : "";
}

std::string Picture::writeTo(const std::string& path) const
{
    const cairo_status_t status = cairo_surface_write_to_png(surface_.get(), path.c_str());
    return status == CAIRO_STATUS_SUCCESS ? "" : path + ": " + cairo_status_to_string(status);
}

std::string Picture::differenceTo(const std::string& path, int tolerance) const
{
    const std::unique_ptr<cairo_surface_t, Destroyer> other(
        cairo_image_surface_create_from_png(path.c_str()));
    const cairo_status_t status = cairo_surface_status(other.get());
    if (status != CAIRO_STATUS_SUCCESS)
        return path + ": " + cairo_status_to_string(status);
    const bool isSameSize = cairo_image_surface_get_width(other.get()) == screenWidth &&
                            cairo_image_surface_get_height(other.get()) == screenHeight;
    if (!isSameSize)
        return path + ": not a picture of 1280 by 720";
    const Difference difference = compare(surface_.get(), other.get(), tolerance);
    if (difference.pixels == 0)
        return "";
    return path + ": " + std::to_string(difference.pixels) + " pixels differ, by " +
           std::to_string(difference.most) + " at the most";
}

}  // namespace receiver
