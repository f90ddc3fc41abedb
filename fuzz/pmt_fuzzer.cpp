/// Any section as a PMT, in a heap block of exactly the size that it declares, so that one byte too
/// many is seen; then every lookup. A section that declares more than there is declares what there
/// is.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "signalling/pmt.h"

using namespace VestaHbbTV;

namespace {

constexpr size_t sectionHeaderSize = 3;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void askForTag(PMT& table, unsigned char componentTag)
{
    std::vector<ElementaryStream*> found;
    require(table.getElementaryStreams(componentTag, found) == !found.empty());
    require(table.getElementaryStream(componentTag) == (found.empty() ? nullptr : found[0]));
    for (const ElementaryStream* stream : found)
        require(stream->hasComponentTag(componentTag));
}

void askStream(PMT& table, const ElementaryStream& stream)
{
    require(stream.getElementaryPID() <= 0x1FFF);
    require(table.getElementaryStreamByStreamType(stream.getStreamType()) != nullptr);
    if (const auto* identifier = stream.getStreamIdentifierDescriptor()) {
        require(table.getElementaryStream(identifier->getComponentTag()) != nullptr);
        askForTag(table, identifier->getComponentTag());
    }
    const CarouselIdentifierDescriptor* const carousel = stream.getCarouselIdentifierDescriptor();
    require(!carousel || carousel->equals(carousel));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < sectionHeaderSize)
        return 0;
    const size_t declared =
        sectionHeaderSize + (static_cast<size_t>(data[1] & 0x0F) << 8 | data[2]);
    const size_t held = declared < size ? declared : size;
    const std::unique_ptr<unsigned char[]> block(new unsigned char[held]);
    std::memcpy(block.get(), data, held);
    block[1] = static_cast<unsigned char>((held - sectionHeaderSize) >> 8);
    block[2] = static_cast<unsigned char>(held - sectionHeaderSize);
    PMT table(block.get());
    require(held >= 12 || table.getElementaryStreams().empty());
    for (const ElementaryStream& stream : table.getElementaryStreams())
        askStream(table, stream);
    askForTag(table, data[size - 1]);
    return 0;
}
