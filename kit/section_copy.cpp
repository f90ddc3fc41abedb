#include "kit/section_copy.h"

#include <tuple>

#include "foundation/descriptor.h"

namespace VestaHbbTV {

namespace {

constexpr size_t profileSize = 5;
constexpr size_t versionInProfile = 2;

/// Copies from front to back; a length is written again when what it counts is there.
class SectionCopy {
public:
    SectionCopy(ByteReader section, const CopyChanges& changes) : changes_(changes), rest_(section)
    {
        copy_.reserve(section.remaining());
    }

    Section make()
    {
        take(AITLayout::commonLength);
        const size_t commonLength = takeLength();
        take(commonLength);
        const size_t loopPlace = copy_.size();
        const size_t loopLength = takeLength();
        const size_t afterLoop = rest_.remaining() - loopLength;
        while (rest_.remaining() > afterLoop)
            copyApplication();
        setLength(loopPlace, AITLayout::lengthSize);
        take(rest_.remaining());
        setLength(1, AITLayout::lengthSize);
        return std::move(copy_);
    }

private:
    void take(size_t count)
    {
        const ByteReader bytes = rest_.take(count);
        if (!bytes.empty())
            copy_.insert(copy_.end(), bytes.data(), bytes.data() + bytes.remaining());
    }

    /// @return the 12 bits that were copied
    size_t takeLength()
    {
        const size_t length = ByteReader(rest_).length12();
        take(AITLayout::lengthSize);
        return length;
    }

    /// A length counts what follows it.
    void setLength(size_t place, size_t lengthSize)
    {
        const size_t length = copy_.size() - place - lengthSize;
        copy_[place] = static_cast<unsigned char>((copy_[place] & 0xF0) | (length >> 8));
        copy_[place + 1] = static_cast<unsigned char>(length);
    }

    void copyApplication()
    {
        take(AITLayout::entryLength);
        const size_t lengthPlace = copy_.size();
        const size_t loopLength = takeLength();
        const size_t afterLoop = rest_.remaining() - loopLength;
        while (rest_.remaining() > afterLoop)
            copyDescriptor();
        setLength(lengthPlace, AITLayout::lengthSize);
    }

    void copyDescriptor()
    {
        ByteReader header = rest_;
        const uint8_t tag = header.u8();
        const uint8_t length = header.u8();
        if (length == 0 && changes_.takesOutEmptyDescriptors) {
            rest_.skip(descriptorHeaderSize);
            return;
        }
        const size_t place = copy_.size() + descriptorHeaderSize;
        take(descriptorHeaderSize + length);
        if (tag == AITTag::application && length > 0)
            lowerVersions(place, length);
    }

    /// @param place of an application descriptor's payload in the copy
    void lowerVersions(size_t place, size_t length)
    {
        const size_t profiles = copy_[place];
        for (size_t at = 1; at + profileSize <= 1 + profiles && at + profileSize <= length;
             at += profileSize) {
            unsigned char* const version = copy_.data() + place + at + versionInProfile;
            if (isCarried(version))
                version[0] = version[1] = version[2] = 1;
        }
    }

    bool isCarried(const unsigned char* version) const
    {
        const HbbTVVersion& carried = changes_.carriedVersion;
        const auto asked = std::make_tuple(version[0], version[1], version[2]);
        return asked > std::make_tuple(1, 1, 1) &&
               asked <= std::make_tuple(carried.major, carried.minor, carried.micro);
    }

    const CopyChanges& changes_;
    ByteReader rest_;
    Section copy_;
};

}  // namespace

Section copySection(ByteReader section, const CopyChanges& changes)
{
    return SectionCopy(section, changes).make();
}

}  // namespace VestaHbbTV
