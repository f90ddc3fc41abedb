#include "kit/ait_section.h"

#include <algorithm>

#include "foundation/descriptor.h"
#include "kit/crc32.h"

namespace VestaHbbTV {

namespace {

constexpr size_t languageCodeSize = 3;
constexpr size_t flagsAndPrioritySize = 2;

/// One walk through a section. What finds a fault answers false.
class SectionWalk {
public:
    SectionWalk(ByteReader section, uint16_t type, bool emptiesAreFaults, TableCost& cost)
        : type_(type), emptiesAreFaults_(emptiesAreFaults), cost_(cost), end_(section.remaining()),
          reader_(section)
    {
    }

    SectionFinding run()
    {
        if (walkHeader() && walkCommonLoop())
            walkApplications();
        return finding_;
    }

private:
    size_t place() const { return end_ - reader_.remaining(); }

    bool fail(HBBTV_KitSectionFault fault, size_t offset, uint8_t tag = 0)
    {
        finding_ = {fault, offset, tag};
        return false;
    }

    bool walkHeader()
    {
        using namespace AITLayout;
        if (reader_.u8() != tableId)
            return fail(HBBTV_KIT_SECTION_NOT_AIT, 0);
        const bool hasSyntax = (reader_.u16() & 0x8000) != 0;
        if (end_ < leastSize || end_ > mostSize)
            return fail(HBBTV_KIT_SECTION_LENGTH, 1);
        if (!hasSyntax)
            return fail(HBBTV_KIT_SECTION_SYNTAX, 1);
        const uint16_t type = reader_.u16();
        if (type_ != anyApplicationType && (type & 0x7FFF) != type_)
            return fail(HBBTV_KIT_SECTION_TYPE, applicationType);
        if (type & 0x8000)
            return fail(HBBTV_KIT_SECTION_TEST, applicationType);
        if ((reader_.u8() & 1) == 0)
            return fail(HBBTV_KIT_SECTION_NOT_CURRENT, version);
        const uint8_t number = reader_.u8();
        if (number > reader_.u8())
            return fail(HBBTV_KIT_SECTION_NUMBER, sectionNumber);
        // The checksum is none of the tables' business.
        reader_ = reader_.take(reader_.remaining() - checksumSize);
        end_ -= checksumSize;
        return true;
    }

    bool walkCommonLoop()
    {
        const size_t lengthPlace = place();
        const size_t length = reader_.length12();
        const size_t loopEnd = place() + length;
        ByteReader loop = reader_.take(length);
        if (!reader_.ok())
            return fail(HBBTV_KIT_SECTION_COMMON_LOOP, lengthPlace);
        return walkDescriptors(loop, loopEnd, false);
    }

    bool walkApplications()
    {
        const size_t lengthPlace = place();
        const size_t length = reader_.length12();
        if (!reader_.ok() || length > reader_.remaining())
            return fail(HBBTV_KIT_SECTION_APPLICATION_LOOP, lengthPlace);
        // What follows the loop means nothing.
        end_ = place() + length;
        reader_ = reader_.take(length);
        while (!reader_.empty()) {
            if (!walkApplication())
                return false;
        }
        return true;
    }

    bool walkApplication()
    {
        const size_t where = place();
        reader_.skip(AITLayout::entryLength);
        const size_t length = reader_.length12();
        const size_t loopEnd = place() + length;
        const ByteReader loop = reader_.take(length);
        if (!reader_.ok())
            return fail(HBBTV_KIT_SECTION_APPLICATION, where);
        ++cost_.applications;
        location_ = labels_ = 0;
        if (!walkDescriptors(loop, loopEnd, true))
            return false;
        // A location is a part of the URL of each transport.
        cost_.labels += labels_;
        cost_.textBytes += location_ * std::max(labels_, size_t{1}) + cost_.longestCommon * labels_;
        return true;
    }

    bool walkDescriptors(ByteReader loop, size_t loopEnd, bool areApplications)
    {
        while (!loop.empty()) {
            const size_t where = loopEnd - loop.remaining();
            const ByteReader toLoopEnd = loop;
            const uint8_t tag = loop.u8();
            const uint8_t length = loop.u8();
            const ByteReader payload = loop.take(length);
            if (!loop.ok())
                return fail(HBBTV_KIT_SECTION_DESCRIPTOR, where, tag);
            if (!areApplications) {
                addCommonCost(tag, payload);
                continue;
            }
            if (length == 0 && emptiesAreFaults_)
                return fail(HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR, where, tag);
            if (length > 0 && !addCost(tag, payload, toLoopEnd))
                return fail(HBBTV_KIT_SECTION_NAME, where, tag);
        }
        return true;
    }

    void addCommonCost(uint8_t tag, ByteReader payload)
    {
        if (tag != transportProtocolTag)
            return;
        cost_.textBytes += payload.remaining();
        cost_.longestCommon = std::max(cost_.longestCommon, payload.remaining());
    }

    /// @return false for a name that leaves its loop
    bool addCost(uint8_t tag, ByteReader payload, ByteReader toLoopEnd)
    {
        switch (tag) {
        case AITTag::applicationName:
            return addName(toLoopEnd);
        case transportProtocolTag:
        case AITTag::simpleApplicationBoundary:
            cost_.textBytes += payload.remaining();
            break;
        case AITTag::simpleApplicationLocation:
            location_ += payload.remaining();
            break;
        case AITTag::application: {
            const uint8_t profilesLength = payload.u8();
            payload.skip(profilesLength + flagsAndPrioritySize);
            labels_ += payload.remaining();
            break;
        }
        default:
            break;
        }
        return true;
    }

    /// The application manager takes the first name, which ends with the loop and not with the
    /// descriptor.
    bool addName(ByteReader toLoopEnd)
    {
        toLoopEnd.skip(descriptorHeaderSize + languageCodeSize);
        const uint8_t length = toLoopEnd.u8();
        cost_.textBytes += length;
        return toLoopEnd.ok() && length <= toLoopEnd.remaining();
    }

    const uint16_t type_;
    const bool emptiesAreFaults_;
    TableCost& cost_;
    size_t end_;  // of what is walked, from the section's first byte
    ByteReader reader_;
    SectionFinding finding_;
    // Of the application that is walked:
    size_t location_ = 0;
    size_t labels_ = 0;
};

}  // namespace

size_t sectionSize(const unsigned char* bytes, size_t count)
{
    if (!bytes || count < AITLayout::headerSize)
        return 0;
    const size_t size = AITLayout::headerSize + ((bytes[1] & 0x0FU) << 8) + bytes[2];
    return size <= count ? size : 0;
}

SectionFinding examineSection(ByteReader section, uint16_t type, bool emptiesAreFaults,
                              TableCost& cost)
{
    return SectionWalk(section, type, emptiesAreFaults, cost).run();
}

void setVersion(Section& section, uint8_t version)
{
    unsigned char& byte = section[AITLayout::version];
    byte = static_cast<unsigned char>((byte & 0xC1) | (version << 1));
}

void setNumber(Section& section, uint8_t number, uint8_t last)
{
    section[AITLayout::sectionNumber] = number;
    section[AITLayout::lastSectionNumber] = last;
}

void setChecksum(Section& section)
{
    const size_t body = section.size() - checksumSize;
    const uint32_t crc = crc32(section.data(), body);
    for (size_t i = 0; i < checksumSize; ++i)
        section[body + i] = static_cast<unsigned char>(crc >> (8 * (checksumSize - 1 - i)));
}

}  // namespace VestaHbbTV
