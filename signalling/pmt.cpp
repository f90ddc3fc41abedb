#include "signalling/pmt.h"

#include <algorithm>
#include <cstddef>

#include "foundation/descriptor.h"

namespace VestaHbbTV {

namespace {

constexpr size_t bytesBeforeSectionLength = 1;  // table_id
constexpr size_t bytesBeforeProgramInfo = 10;   // table_id to PCR_PID
constexpr size_t bytesBeforeStreamInfo = 3;     // stream_type and elementary_PID
constexpr size_t crcSize = 4;
constexpr size_t carouselIdSize = 4;

// ISO/IEC 13818-6 (association tags), ETSI TS 102 809, 5.3.5.1 (application signalling).
constexpr uint8_t associationTagTag = 0x14;
constexpr uint8_t deferredAssociationTagsTag = 0x15;
constexpr uint8_t applicationSignallingTag = 0x6F;

/// Reads to the end that the 12-bit length field after `before` bytes states.
ByteReader readerFromOwnLength(const unsigned char* data, size_t before)
{
    if (!data)
        return ByteReader();
    ByteReader header(data, before + 2);
    header.skip(before);
    return ByteReader(data, before + 2 + header.length12());
}

}  // namespace

bool CarouselIdentifierDescriptor::equals(const CarouselIdentifierDescriptor* other) const
{
    return other && other->carouselId_ == carouselId_;
}

// An entry of the stream loop: ISO/IEC 13818-1, 2.4.4.8.
ElementaryStream::ElementaryStream(const unsigned char* entry)
{
    ByteReader reader = readerFromOwnLength(entry, bytesBeforeStreamInfo);
    parse(reader);
}

ElementaryStream::ElementaryStream(ByteReader& reader)
{
    parse(reader);
}

void ElementaryStream::parse(ByteReader& reader)
{
    streamType_ = reader.u8();
    elementaryPID_ = reader.u16() & 0x1FFF;
    const size_t infoLength = reader.length12();
    const ByteReader info = reader.take(std::min(infoLength, reader.remaining()));
    forEachDescriptor(info, [this](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
        addDescriptor(tag, payload);
        return true;
    });
}

// A tag that occurs twice keeps the later one, but one too short for its field does not count.
void ElementaryStream::addDescriptor(uint8_t tag, ByteReader payload)
{
    switch (tag) {
    case StreamIdentifierDescriptor::descriptorTag:
        if (!payload.empty())
            streamIdentifier_.emplace(payload.u8());
        break;
    case CarouselIdentifierDescriptor::descriptorTag:
        if (payload.remaining() >= carouselIdSize)
            carouselIdentifier_.emplace(payload.u32());
        break;
    case associationTagTag:
        associationTag_.emplace(tag);
        break;
    case deferredAssociationTagsTag:
        deferredAssociationTags_.emplace(tag);
        break;
    case applicationSignallingTag:
        applicationSignalling_.emplace(tag);
        break;
    default:
        break;
    }
}

PMT::PMT(unsigned char* section)
{
    ByteReader reader = readerFromOwnLength(section, bytesBeforeSectionLength);
    reader.skip(bytesBeforeProgramInfo);
    // Deliberate: the upper two of program_info_length's twelve bits, 0 by the standard, do not
    // count.
    reader.skip(reader.u16() & 0x03FF);
    // Deliberate: an entry that begins before the CRC may end in it; only the section's end bounds
    // it.
    while (reader.remaining() > crcSize)
        elementaryStreams_.emplace_back(reader);
}

ElementaryStream* PMT::getElementaryStream(unsigned char componentTag)
{
    for (ElementaryStream& stream : elementaryStreams_)
        if (stream.hasComponentTag(componentTag))
            return &stream;
    return nullptr;
}

ElementaryStream* PMT::getElementaryStreamByStreamType(unsigned char streamType)
{
    for (ElementaryStream& stream : elementaryStreams_)
        if (stream.getStreamType() == streamType)
            return &stream;
    return nullptr;
}

bool PMT::getElementaryStreams(unsigned char componentTag, std::vector<ElementaryStream*>& out)
{
    for (ElementaryStream& stream : elementaryStreams_)
        if (stream.hasComponentTag(componentTag))
            out.push_back(&stream);
    return !out.empty();
}

}  // namespace VestaHbbTV
