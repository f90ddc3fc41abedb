/// @file
/// The program map table: a service's elementary streams and what HbbTV needs to know of them.
#ifndef VESTA_SIGNALLING_PMT_H
#define VESTA_SIGNALLING_PMT_H

#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/byte_reader.h"
#include "foundation/visibility.h"

namespace VestaHbbTV {

/// A descriptor of which only the presence matters; the base of those with content.
/// @thread{any} @since 1.0
class VESTA_EXPORTED Descriptor {
public:
    /// Takes any descriptor_tag.
    explicit Descriptor(uint8_t tag) : tag_(tag) {}

    /// The descriptor_tag, which tells the kind.
    uint8_t getTag() const { return tag_; }

private:
    uint8_t tag_;
};

/// carousel_identifier_descriptor(): which object carousel a stream belongs to.
/// @thread{any} @since 1.0
class VESTA_EXPORTED CarouselIdentifierDescriptor : public Descriptor {
public:
    static constexpr uint8_t descriptorTag = 0x13;  ///< its descriptor_tag in a PMT

    /// Takes any carousel_id.
    explicit CarouselIdentifierDescriptor(uint32_t carouselId)
        : Descriptor(descriptorTag), carouselId_(carouselId)
    {
    }

    /// The carousel_id, the same in all streams of the carousel.
    uint32_t getCarouselId() const { return carouselId_; }

    /// Whether both name the same carousel.
    /// @param other null is equal to nothing
    bool equals(const CarouselIdentifierDescriptor* other) const;

private:
    uint32_t carouselId_;
};

/// stream_identifier_descriptor(): a stream's component tag.
/// @thread{any} @since 1.0
class VESTA_EXPORTED StreamIdentifierDescriptor : public Descriptor {
public:
    static constexpr uint8_t descriptorTag = 0x52;  ///< its descriptor_tag in a PMT

    /// Takes any component_tag.
    explicit StreamIdentifierDescriptor(uint8_t componentTag)
        : Descriptor(descriptorTag), componentTag_(componentTag)
    {
    }

    /// The component_tag, by which other tables name the stream within its service.
    uint8_t getComponentTag() const { return componentTag_; }

private:
    uint8_t componentTag_;
};

/// One entry of the PMT's stream loop. It owns its descriptors: the pointers that the accessors
/// give are null where the stream has none of the kind, and else live as long as the stream. Of
/// several of a kind it has the last; one that is too short for its field does not count.
/// @thread{any} @since 1.0
class VESTA_EXPORTED ElementaryStream {
public:
    /// Parses an entry of which only the start is known, trusting the length that it states.
    /// @param entry points at stream_type; borrowed for this call. Null gives a stream of zeros
    ///        without descriptors.
    explicit ElementaryStream(const unsigned char* entry);

    /// Parses the entry at the reader's position and moves the reader after it. Where the entry
    /// states more than the reader holds, what fits is kept and the reader is empty afterwards.
    /// @param reader its bytes are borrowed for this call
    explicit ElementaryStream(ByteReader& reader);

    /// The stream_type: what the stream carries, 0x05 for private sections such as those of an AIT.
    uint8_t getStreamType() const { return streamType_; }

    /// The packets that carry the stream: 13 bits.
    uint16_t getElementaryPID() const { return elementaryPID_; }

    /// Has the stream's component tag.
    const StreamIdentifierDescriptor* getStreamIdentifierDescriptor() const
    {
        return pointerTo(streamIdentifier_);
    }

    /// Says that the stream has an association tag (ISO/IEC 13818-6), which is not read.
    const Descriptor* getAssociationTagDescriptor() const { return pointerTo(associationTag_); }

    /// Says that association tags stand for another service (ISO/IEC 13818-6); they are not read.
    const Descriptor* getDeferredAssociationTagsDescriptor() const
    {
        return pointerTo(deferredAssociationTags_);
    }

    /// Has the id of the object carousel to which the stream belongs.
    const CarouselIdentifierDescriptor* getCarouselIdentifierDescriptor() const
    {
        return pointerTo(carouselIdentifier_);
    }

    /// Says that the stream carries an AIT (ETSI TS 102 809, 5.3.5.1); what it lists is not read.
    const Descriptor* getApplicationSignallingDescriptor() const
    {
        return pointerTo(applicationSignalling_);
    }

    /// Whether there is a stream identifier descriptor with this component tag.
    bool hasComponentTag(uint8_t componentTag) const
    {
        return streamIdentifier_ && streamIdentifier_->getComponentTag() == componentTag;
    }

private:
    template <typename T>
    static const T* pointerTo(const std::optional<T>& descriptor)
    {
        return descriptor ? &*descriptor : nullptr;
    }

    VESTA_HIDDEN void parse(ByteReader& reader);
    VESTA_HIDDEN void addDescriptor(uint8_t tag, ByteReader payload);

    uint8_t streamType_ = 0;
    uint16_t elementaryPID_ = 0;
    std::optional<StreamIdentifierDescriptor> streamIdentifier_;
    std::optional<Descriptor> associationTag_;
    std::optional<Descriptor> deferredAssociationTags_;
    std::optional<CarouselIdentifierDescriptor> carouselIdentifier_;
    std::optional<Descriptor> applicationSignalling_;
};

/// A parsed PMT section (ISO/IEC 13818-1, 2.4.4.8), offered to the integration's middleware. It
/// owns its streams: every pointer to one lives as long as the table. A table never changes, so
/// that any thread may read it.
/// @thread{any} @since 1.0
class VESTA_EXPORTED PMT {
public:
    /// Parses one complete section. Neither table id, CRC nor syntax are verified; nothing after
    /// the end that section_length states is read, and of a section whose inner lengths leave it
    /// the streams and descriptors that fit are kept.
    /// @param section from table_id on; borrowed for this call. Null gives a table without streams.
    explicit PMT(unsigned char* section);

    /// All streams in section order.
    const std::vector<ElementaryStream>& getElementaryStreams() const { return elementaryStreams_; }

    /// The first stream, in section order, with this component tag; null if there is none.
    ElementaryStream* getElementaryStream(unsigned char componentTag);

    /// The first stream, in section order, of this type; null if there is none.
    ElementaryStream* getElementaryStreamByStreamType(unsigned char streamType);

    /// Appends every stream with this component tag, in section order.
    /// @param out keeps what it holds
    /// @return whether `out` holds anything afterwards, be it from before
    bool getElementaryStreams(unsigned char componentTag, std::vector<ElementaryStream*>& out);

private:
    std::vector<ElementaryStream> elementaryStreams_;
};

}  // namespace VestaHbbTV

#endif
