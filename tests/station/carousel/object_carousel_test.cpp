#include <gtest/gtest.h>
#include <map>
#include <string>

#include "station/carousel/download_sections.h"
#include "station/carousel/object_carousel.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

using Files = std::map<std::string, Bytes>;

Carousel plainCarousel()
{
    Carousel carousel;
    carousel.id = 7;
    carousel.componentTag = 42;
    carousel.moduleSize = 1024;
    carousel.compress = false;
    return carousel;
}

/// How many bytes the DII announces for its modules.
std::vector<size_t> moduleSizes(const CarouselSections& sections)
{
    constexpr size_t firstModule = 40;
    const Bytes& list = sections.control.at(1);
    std::vector<size_t> sizes;
    size_t at = firstModule;
    for (size_t i = 0; i < sections.modules; ++i) {
        sizes.push_back(size_t(list.at(at + 4)) << 8 | list.at(at + 5));
        at += 8U + list.at(at + 7);
    }
    return sizes;
}

TEST(ObjectCarousel, AnEmptyFolderHasAGateway)
{
    const CarouselSections sections = makeCarousel(plainCarousel(), {});
    EXPECT_EQ(sections.files, 0U);
    EXPECT_EQ(sections.modules, 1U);
    EXPECT_EQ(sections.control.size(), 2U);
    EXPECT_EQ(sections.blocks.size(), 1U);
}

TEST(ObjectCarousel, FilesShareModulesUpToTheSizeOfOne)
{
    const size_t frame = 56;  // around a file of type text/plain
    const Files files = {{"a.txt", Bytes(400)},
                         {"b.txt", Bytes(1024 - 2 * frame - 400)},
                         {"c.txt", Bytes(1)},
                         {"d.txt", Bytes(5000)},
                         {"e.txt", Bytes(1)}};
    const CarouselSections sections = makeCarousel(plainCarousel(), files);
    const auto sizes = moduleSizes(sections);
    ASSERT_EQ(sizes.size(), 5U);
    EXPECT_EQ(sizes[1], 1024U) << "a and b fill it";
    EXPECT_EQ(sizes[2], 1 + frame);
    EXPECT_EQ(sizes[3], 5000 + frame) << "a file that is larger has its own";
    EXPECT_EQ(sizes[4], 1 + frame);
}

TEST(ObjectCarousel, OnlyWhatGetsSmallerIsCompressed)
{
    Carousel carousel = plainCarousel();
    carousel.compress = true;
    const CarouselSections sections =
        makeCarousel(carousel, {{"a.txt", Bytes(1000)}, {"b.bin", bytesOf(noise(1000))}});
    const auto sizes = moduleSizes(sections);
    ASSERT_EQ(sizes.size(), 3U);
    EXPECT_LT(sizes[1], 100U);
    EXPECT_EQ(sizes[2], 1044U) << "neither type nor packing";
}

TEST(ObjectCarousel, ManyModulesHaveSeveralLists)
{
    Files files;
    for (int i = 0; i < 250; ++i)
        files[std::to_string(i)] = Bytes(1000);
    const CarouselSections sections = makeCarousel(plainCarousel(), files);
    EXPECT_EQ(sections.modules, 251U);
    EXPECT_EQ(sections.control.size(), 4U) << "DSI, three DIIs";
}

TEST(ObjectCarousel, ANameThatIsTooLongIsRefused)
{
    EXPECT_NO_THROW(makeCarousel(plainCarousel(), {{std::string(254, 'n'), {}}}));
    EXPECT_THROW(makeCarousel(plainCarousel(), {{std::string(255, 'n'), {}}}), TooLong);
}

}  // namespace

}  // namespace station
