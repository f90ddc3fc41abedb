#include "receiver/service/table_examiner.h"

#include <cstdio>
#include <sstream>

namespace receiver {

using VestaHbbTV::ByteReader;

namespace {

constexpr size_t sectionHeaderSize = 3;
constexpr size_t tableHeaderSize = 5;  // the rest of what all sections begin with
constexpr size_t entryHeaderSize = 9;
constexpr size_t descriptorHeaderSize = 2;
constexpr size_t languageCodeSize = 3;
constexpr uint8_t applicationNameTag = 0x01;

std::string hexadecimal(unsigned number)
{
    char text[sizeof("0xffffffff")];
    std::snprintf(text, sizeof(text), "0x%02x", number);
    return text;
}

std::string nameOf(const TableEntry& entry)
{
    std::ostringstream text;
    text << "application " << std::hex << entry.organisationId << "." << entry.applicationId;
    return text.str();
}

/// One walk through a section.
class SectionWalk {
public:
    SectionWalk(const SectionBytes& section, const DescriptorVisitor& visit)
        : visit_(visit), end_(section.size())
    {
        // The CRC_32 counts as a part of the section, as it does for the application manager.
        if (section.size() > sectionHeaderSize)
            reader_ =
                ByteReader(section.data() + sectionHeaderSize, section.size() - sectionHeaderSize);
    }

    std::string run()
    {
        reader_.skip(tableHeaderSize);
        const size_t commonPlace = place();
        const size_t commonLength = reader_.length12();
        if (commonLength > reader_.remaining())
            return "the common loop" + at(commonPlace) + "leaves the section";
        if (std::string fault = walkCommon(commonLength); !fault.empty())
            return fault;
        const size_t loopPlace = place();
        if (reader_.remaining() < 2)
            return "there is no application loop" + at(loopPlace);
        const size_t loopLength = reader_.length12();
        if (loopLength > reader_.remaining())
            return "the application loop" + at(loopPlace) + "leaves the section";
        // An entry is bounded by the section: one that begins in the loop may leave it.
        const size_t afterLoop = reader_.remaining() - loopLength;
        while (reader_.remaining() > afterLoop) {
            if (std::string fault = walkEntry(); !fault.empty())
                return fault;
        }
        return "";
    }

private:
    size_t place() const { return end_ - reader_.remaining(); }

    static std::string at(size_t place) { return " at offset " + std::to_string(place) + " "; }

    std::string walkCommon(size_t length)
    {
        const size_t loopEnd = place() + length;
        ByteReader loop = reader_.take(length);
        while (!loop.empty()) {
            const size_t where = loopEnd - loop.remaining();
            const uint8_t tag = loop.u8();
            loop.skip(loop.u8());
            if (!loop.ok())
                return "descriptor " + hexadecimal(tag) + at(where) + "leaves the common loop";
        }
        return "";
    }

    std::string walkEntry()
    {
        const size_t where = place();
        if (reader_.remaining() < entryHeaderSize)
            return "the application" + at(where) + "leaves the section";
        TableEntry entry;
        entry.organisationId = reader_.u32();
        entry.applicationId = reader_.u16();
        reader_.skip(1);  // application_control_code
        const size_t length = reader_.length12();
        if (length > reader_.remaining())
            return "the descriptors of " + nameOf(entry) + at(where) + "leave the section";
        const size_t loopEnd = place() + length;
        ByteReader loop = reader_.take(length);
        while (!loop.empty()) {
            if (std::string fault = walkDescriptor(entry, loop, loopEnd); !fault.empty())
                return fault;
        }
        return "";
    }

    std::string walkDescriptor(const TableEntry& entry, ByteReader& loop, size_t loopEnd)
    {
        const size_t where = loopEnd - loop.remaining();
        ByteReader name = loop;
        const uint8_t tag = loop.u8();
        const uint8_t length = loop.u8();
        const ByteReader payload = loop.take(length);
        const std::string what =
            "descriptor " + hexadecimal(tag) + " of " + nameOf(entry) + at(where);
        if (!loop.ok())
            return what + "leaves its loop";
        if (length == 0)
            return what + "is empty";
        if (tag == applicationNameTag) {  // bounded by the loop, not by its descriptor
            name.skip(descriptorHeaderSize + languageCodeSize);
            name.skip(name.u8());
            if (!name.ok())
                return what + "has a name that leaves its loop";
        }
        if (visit_)
            visit_(entry, tag, payload);
        return "";
    }

    const DescriptorVisitor& visit_;
    const size_t end_;
    ByteReader reader_;
};

/// "2" or "2, 3": a long list is cut. @param received the numbers that are not listed
std::string listOfMissing(const std::bitset<256>& received, unsigned lastNumber)
{
    const unsigned most = 8;
    std::string list;
    unsigned count = 0;
    for (unsigned number = 0; number <= lastNumber; ++number) {
        if (received.test(number))
            continue;
        if (++count > most)
            return list + ", ...";
        list += (list.empty() ? "" : ", ") + std::to_string(number + 1);
    }
    return list;
}

std::string versionText(unsigned version)
{
    return "AIT version " + std::to_string(version);
}

}  // namespace

std::string faultOfTableSection(const SectionBytes& section, const DescriptorVisitor& visit)
{
    return SectionWalk(section, visit).run();
}

std::string TableExaminer::examine(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    if (!version_)
        return begin(section);
    if (header.version != *version_)
        return versionText(header.version) + " is not taken: " + lack();
    if (isComplete())
        return versionText(header.version) + " is not taken any more: " + fault_;
    if (received_.test(header.sectionNumber))
        return goOn(header.sectionNumber);
    return begin(section);
}

/// A section of a table that has begun, or the first one of a table.
std::string TableExaminer::begin(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    if (!version_)
        firstNumber_ = header.sectionNumber;
    version_ = header.version;
    lastNumber_ = header.lastSectionNumber;
    received_.set(header.sectionNumber);
    const std::string fault = faultOfTableSection(section);
    if (!fault.empty()) {
        fault_ = "section " + std::to_string(header.sectionNumber + 1) + " of " +
                 std::to_string(header.lastSectionNumber + 1) + ": " + fault;
        return versionText(header.version) + " is refused in " + fault_;
    }
    // A table of the version in force is dropped at its first section.
    if (versionInForce_ == version_) {
        endTable();
    } else if (isComplete()) {
        versionInForce_ = version_;
        endTable();
    }
    return "";
}

/// A repetition. That of the first section says how often the whole table may have come.
std::string TableExaminer::goOn(uint8_t number)
{
    const unsigned enoughRounds = 3;
    return number == firstNumber_ && ++rounds_ >= enoughRounds ? lack() : "";
}

void TableExaminer::endTable()
{
    const std::optional<uint8_t> inForce = versionInForce_;
    clear();
    versionInForce_ = inForce;
}

std::string TableExaminer::lack() const
{
    if (!version_)
        return "";
    if (isComplete())
        return versionText(*version_) + " was refused in " + fault_;
    const std::string missing = listOfMissing(received_, lastNumber_);
    return versionText(*version_) + " is not complete: " +
           (missing.empty() ? "its sections have numbers beyond the last one"
                            : "of " + std::to_string(lastNumber_ + 1) + " sections, number " +
                                  missing + " did not come");
}

}  // namespace receiver
