/// Any sections, one after the other, into one carousel under small limits; then everything that
/// can be asked of it. A section is given as association tag, 16-bit size and bytes, and lies in a
/// heap block of its size, so that one byte too far is seen.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "foundation/byte_reader.h"
#include "receiver/carousel/carousel_path.h"
#include "receiver/carousel/object_carousel.h"

using receiver::CarouselLimits;
using receiver::FileView;
using receiver::Lookup;
using receiver::ObjectCarousel;

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

CarouselLimits smallLimits()
{
    CarouselLimits limits;
    limits.memory = 256 * 1024;
    limits.moduleSize = 64 * 1024;
    limits.modules = 64;
    limits.infoIndications = 8;
    limits.directoryDepth = 8;
    limits.listedFiles = 256;
    return limits;
}

// Reads every byte, so that a view that leaves its module is seen.
void readAll(const FileView& file)
{
    const volatile unsigned char* bytes = file.data;
    for (size_t i = 0; i < file.size; ++i)
        static_cast<void>(bytes[i]);
}

void feedSection(ObjectCarousel& carousel, uint16_t tag, VestaHbbTV::ByteReader bytes)
{
    const size_t size = bytes.remaining();
    const std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
    if (size != 0)
        std::copy_n(bytes.data(), size, block.get());
    carousel.feedSection(tag, block.get(), size);
    require(carousel.progress().memoryUsed <= smallLimits().memory);
}

void askEverything(const ObjectCarousel& carousel)
{
    const receiver::CarouselListing listing = carousel.list();
    for (const auto& file : listing.files) {
        readAll(file.file);
        require(carousel.find(file.path).result == Lookup::Result::Ready);
    }
    for (const char* path : {"", "a", "a/b", "index.html", "a/a/a/a/a/"})
        readAll(carousel.find(path).file);
    const auto progress = carousel.progress();
    require(progress.modulesKnown <= smallLimits().modules);
    require(progress.modulesComplete + progress.modulesRefused <= progress.modulesKnown);
    require(carousel.list().streamEvents.size() <= smallLimits().listedFiles);
    carousel.wantedAssociationTags();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    receiver::parseCarouselPath(std::string(data, data + size));
    ObjectCarousel carousel(smallLimits(), [](const std::string& text) { require(!text.empty()); });
    VestaHbbTV::ByteReader input(data, size);
    while (!input.empty()) {
        const uint8_t tag = input.u8();
        const size_t sectionSize = std::min<size_t>(input.u16(), input.remaining());
        feedSection(carousel, tag, input.take(sectionSize));
    }
    askEverything(carousel);
    carousel.clear();
    require(carousel.progress().memoryUsed == 0);
    return 0;
}
