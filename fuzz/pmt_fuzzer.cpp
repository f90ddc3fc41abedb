/// Any section as a PMT, in a heap block of exactly the size that it declares (missing bytes are
/// 0), so that one byte too many is seen; then every lookup.
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

void askTable(const PMT& table)
{
    size_t tagged = 0;
    for (unsigned value = 0; value <= 0xFF; ++value) {
        const auto byte = static_cast<unsigned char>(value);
        std::vector<ElementaryStream*> found;
        require(table.getElementaryStreams(byte, found) == !found.empty());
        require(table.getElementaryStream(byte) == (found.empty() ? nullptr : found[0]));
        tagged += found.size();
        const ElementaryStream* const ofType = table.getElementaryStreamByStreamType(byte);
        require(!ofType || ofType->getStreamType() == byte);
    }
    for (const auto& stream : table.getElementaryStreams()) {
        tagged -= stream->getStreamIdentifierDescriptor() ? 1 : 0;
        require(stream->getElementaryPID() <= 0x1FFF);
        const CarouselIdentifierDescriptor* const carousel =
            stream->getCarouselIdentifierDescriptor();
        require(!carousel || carousel->equals(carousel));
    }
    require(tagged == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < sectionHeaderSize)
        return 0;
    const size_t declared =
        sectionHeaderSize + (static_cast<size_t>(data[1] & 0x0F) << 8 | data[2]);
    const std::unique_ptr<unsigned char[]> block(new unsigned char[declared]());
    std::memcpy(block.get(), data, declared < size ? declared : size);
    const PMT table(block.get());
    require(declared >= 12 || table.getElementaryStreams().empty());
    askTable(table);
    return 0;
}
