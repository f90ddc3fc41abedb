#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "receiver/wpe/picture.h"
#include "receiver/wpe/style_sheet.h"

namespace receiver {
namespace {

using Colour = std::array<int, 3>;  // red, green, blue

/// A file that is gone after the test.
class TemporaryFile {
public:
    TemporaryFile()
    {
        path_ = std::filesystem::temp_directory_path() / "vesta-picture-XXXXXX";
        ::close(::mkstemp(path_.data()));
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { std::remove(path_.c_str()); }

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

Colour pixelOf(const Picture& picture, int x, int y)
{
    const TemporaryFile file;
    EXPECT_EQ(picture.writeTo(file.path()), "");
    cairo_surface_t* const read = cairo_image_surface_create_from_png(file.path().c_str());
    const unsigned char* const pixel =
        cairo_image_surface_get_data(read) + y * cairo_image_surface_get_stride(read) + x * 4;
    const Colour colour = {pixel[2], pixel[1], pixel[0]};
    cairo_surface_destroy(read);
    return colour;
}

/// A window of one colour. @param alpha of 255; the colours are premultiplied with it
Frame plainFrame(int red, int green, int blue, int alpha)
{
    Frame frame;
    frame.width = screenWidth;
    frame.height = screenHeight;
    frame.stride = screenWidth * 4;
    frame.number = 1;
    for (int pixel = 0; pixel < screenWidth * screenHeight; ++pixel) {
        for (const int part : {blue, green, red, alpha})
            frame.pixels.push_back(static_cast<unsigned char>(part));
    }
    return frame;
}

VideoPlane someService()
{
    VideoPlane video;
    video.service = 1;
    video.name = "One";
    return video;
}

const Colour black = {0, 0, 0};
const Colour greyBar = {191, 191, 191};
const Colour blueBar = {0, 0, 191};

TEST(Picture, IsBlackWithoutAService)
{
    EXPECT_EQ(pixelOf(Picture(VideoPlane(), {}), 640, 100), black);
}

TEST(Picture, ShowsTheTestCardOfTheService)
{
    const Picture picture(someService(), {});
    EXPECT_EQ(pixelOf(picture, 10, 10), greyBar);
    EXPECT_EQ(pixelOf(picture, screenWidth - 10, 10), blueBar);
}

TEST(Picture, TheTestCardNamesTheService)
{
    VideoPlane other = someService();
    other.name = "Two";
    const TemporaryFile file;
    Picture(someService(), {}).writeTo(file.path());
    EXPECT_EQ(Picture(someService(), {}).differenceTo(file.path(), 0), "");
    EXPECT_NE(Picture(other, {}).differenceTo(file.path(), 0), "");
}

TEST(Picture, TheVideoIsWhereAnApplicationWantsIt)
{
    VideoPlane video = someService();
    video.place = Rectangle{640, 360, 640, 360};
    const Picture picture(video, {});
    EXPECT_EQ(pixelOf(picture, 10, 10), black);
    EXPECT_EQ(pixelOf(picture, 650, 365), greyBar);
    EXPECT_EQ(pixelOf(picture, screenWidth - 5, 365), blueBar);
}

TEST(Picture, AVideoWithoutASizeIsNotSeen)
{
    VideoPlane video = someService();
    video.place = Rectangle{0, 0, 0, 0};
    EXPECT_EQ(pixelOf(Picture(video, {}), 0, 0), black);
}

TEST(Picture, AnOpaqueWindowHidesTheVideo)
{
    const Frame window = plainFrame(10, 20, 30, 255);
    EXPECT_EQ(pixelOf(Picture(someService(), {&window}), 10, 10), (Colour{10, 20, 30}));
}

TEST(Picture, ATransparentWindowShowsTheVideo)
{
    const Frame window = plainFrame(0, 0, 0, 0);
    EXPECT_EQ(pixelOf(Picture(someService(), {&window}), 10, 10), greyBar);
}

TEST(Picture, AHalfTransparentWindowIsMixedWithIt)
{
    const Frame window = plainFrame(128, 0, 0, 128);
    const Colour mixed = pixelOf(Picture(someService(), {&window}), 10, 10);
    EXPECT_NEAR(mixed[0], 128 + 191 / 2, 2);
    EXPECT_NEAR(mixed[1], 191 / 2, 2);
}

/// A part of a window is a hole for the video.
void cutHole(Frame& frame, int left, int top, int width, int height)
{
    for (int y = top; y < top + height; ++y) {
        for (int x = left; x < left + width; ++x)
            std::memcpy(frame.pixels.data() + size_t(y) * size_t(frame.stride) + size_t(x) * 4,
                        &videoKey, sizeof videoKey);
    }
}

TEST(Picture, AHoleInAnOpaqueWindowShowsTheVideo)
{
    Frame window = plainFrame(10, 20, 30, 255);
    cutHole(window, 0, 0, 100, 100);
    const Picture picture(someService(), {&window});
    EXPECT_EQ(pixelOf(picture, 99, 99), greyBar);
    EXPECT_EQ(pixelOf(picture, 100, 99), (Colour{10, 20, 30}));
}

TEST(Picture, AVideoInItsPlaceIsSeenThroughHolesAlone)
{
    VideoPlane video = someService();
    video.place = Rectangle{0, 0, 640, 360};
    Frame window = plainFrame(0, 0, 0, 0);
    cutHole(window, 0, 0, 50, 50);
    const Picture picture(video, {&window});
    EXPECT_EQ(pixelOf(picture, 49, 49), greyBar);
    EXPECT_EQ(pixelOf(picture, 50, 49), black) << "clipped by the page";
}

TEST(Picture, AVideoInItsPlaceIsSeenThroughATransparentWindowWithoutHoles)
{
    VideoPlane video = someService();
    video.place = Rectangle{0, 0, 640, 360};
    const Frame window = plainFrame(0, 0, 0, 0);
    const Picture picture(video, {&window});
    EXPECT_EQ(pixelOf(picture, 10, 10), greyBar);
    EXPECT_EQ(pixelOf(picture, 700, 10), black);
}

TEST(Picture, AHoleIsHiddenByAWindowAbove)
{
    Frame lower = plainFrame(10, 20, 30, 255);
    cutHole(lower, 0, 0, 100, 100);
    const Frame upper = plainFrame(40, 50, 60, 255);
    EXPECT_EQ(pixelOf(Picture(someService(), {&lower, &upper}), 10, 10), (Colour{40, 50, 60}));
}

TEST(Picture, TheLastWindowIsOnTop)
{
    const Frame lower = plainFrame(10, 20, 30, 255);
    const Frame upper = plainFrame(40, 50, 60, 255);
    EXPECT_EQ(pixelOf(Picture(someService(), {&lower, &upper}), 10, 10), (Colour{40, 50, 60}));
}

TEST(Picture, DiffersOnlyByMoreThanTheTolerance)
{
    const Frame one = plainFrame(10, 20, 30, 255);
    const Frame other = plainFrame(10, 20, 34, 255);
    const TemporaryFile file;
    Picture(VideoPlane(), {&one}).writeTo(file.path());
    const Picture picture(VideoPlane(), {&other});
    EXPECT_EQ(picture.differenceTo(file.path(), 4), "");
    EXPECT_EQ(picture.differenceTo(file.path(), 3),
              file.path() + ": 921600 pixels differ, by 4 at the most");
}

TEST(Picture, SaysWhichFileCannotBeWritten)
{
    EXPECT_EQ(Picture(VideoPlane(), {}).writeTo("/nowhere/picture.png"),
              "/nowhere/picture.png: error while writing to output stream");
}

TEST(Picture, SaysWhichFileCannotBeRead)
{
    EXPECT_EQ(Picture(VideoPlane(), {}).differenceTo("/nowhere/picture.png", 0),
              "/nowhere/picture.png: file not found");
}

TEST(Picture, SaysThatAFileIsOfAnotherSize)
{
    const TemporaryFile file;
    cairo_surface_t* const small = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 8, 8);
    cairo_surface_write_to_png(small, file.path().c_str());
    cairo_surface_destroy(small);
    EXPECT_EQ(Picture(VideoPlane(), {}).differenceTo(file.path(), 0),
              file.path() + ": not a picture of 1280 by 720");
}

}  // namespace
}  // namespace receiver
