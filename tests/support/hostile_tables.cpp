#include "tests/support/hostile_tables.h"

namespace vesta::test {

namespace {

/// What an entry may be long in a section that holds nothing else.
const size_t longestEntry = 4095 - 9 - 4;
const size_t longestLoop = longestEntry - 9;

const uint8_t applicationTag = 0x00;
const uint8_t nameTag = 0x01;
const uint8_t recordingTag = 0x06;

Bytes entry(const Bytes& descriptors)
{
    return AITEntry(1, 1).withoutApplicationDescriptor().raw(descriptors).bytes();
}

/// As many of the descriptors as a loop holds, after others.
Bytes fullLoop(const Bytes& descriptors, Bytes first = {})
{
    while (first.size() + descriptors.size() <= longestLoop)
        first = first + descriptors;
    return first;
}

Bytes applicationOf(uint8_t firstLabel, size_t labelCount, bool sameLabel)
{
    ApplicationFields fields;
    fields.profiles.clear();
    for (size_t n = 0; n < labelCount; ++n)
        fields.labels.push_back(static_cast<uint8_t>(firstLabel + (sameLabel ? 0 : n)));
    return applicationDescriptor(fields);
}

Bytes transports(size_t count, size_t baseLength)
{
    Bytes all;
    for (size_t label = 0; label < count; ++label) {
        std::string base(baseLength, 'b');
        if (!base.empty())
            base[0] = static_cast<char>(label);
        all = all + httpTransport(static_cast<uint8_t>(label), base);
    }
    return all;
}

const size_t mostLabels = 252;

}  // namespace

size_t HostileTable::size() const
{
    size_t size = 0;
    for (const Bytes& section : sections)
        size += section.size();
    return size;
}

bool HostileTable::parseInto(VestaHbbTV::AIT& table) const
{
    for (const Bytes& section : sections)
        if (!table.parse(section.data()))
            return false;
    return true;
}

HostileTable filledWith(const std::string& name, const Bytes& common, const Bytes& entry)
{
    HostileTable table{name, {}};
    for (unsigned number = 0; number < 256; ++number) {
        AITSection section;
        section.number(static_cast<uint8_t>(number), 255);
        if (number == 0 && !common.empty()) {
            section.common(common);
        } else {
            Bytes entries;
            while (entries.size() + entry.size() <= longestEntry)
                entries = entries + entry;
            section.add(entries);
        }
        table.sections.push_back(section.bytes());
    }
    return table;
}

std::vector<HostileTable> hostileTables()
{
    std::vector<HostileTable> tables;
    const auto add = [&tables](const std::string& name, const Bytes& entry,
                               const Bytes& common = {}) {
        tables.push_back(filledWith(name, common, entry));
    };
    add("entries without descriptors", entry({}));
    add("the shortest application descriptors", entry(descriptor(applicationTag, {0})));
    add("the shortest recording descriptors", entry(descriptor(recordingTag, {0})));
    add("both of them", entry(descriptor(applicationTag, {0}) + descriptor(recordingTag, {0})));
    add("profiles", entry(applicationDescriptor({std::vector<Profile>(50), {}, 0, 0, false})));
    add("three profiles", entry(applicationDescriptor({std::vector<Profile>(3), {}, 0, 0, false})));
    add("own transports", entry(applicationOf(0, mostLabels, false) + transports(mostLabels, 0)));
    add("one own transport", entry(applicationOf(0, 1, false) + transports(1, 0)));
    add("empty extensions", entry(fullLoop(boundaryDescriptor(std::vector<std::string>(254, "")))));
    add("extensions of one character",
        entry(fullLoop(boundaryDescriptor(std::vector<std::string>(127, "x")))));
    add("extensions just too long to stand in a string",
        entry(fullLoop(boundaryDescriptor(std::vector<std::string>(14, std::string(16, 'x'))))));
    add("one empty extension", entry(boundaryDescriptor({""})));
    add("short names", entry(nameDescriptor("x")));
    add("labels of one common transport with a long location",
        entry(fullLoop(locationDescriptor(std::string(255, 'l')),
                       applicationOf(7, mostLabels, true))),
        transports(8, 200));
    add("labels of one common transport", entry(applicationOf(7, mostLabels, true)),
        transports(8, 200));
    add("labels of different common transports with short addresses",
        entry(applicationOf(0, mostLabels, false)), transports(mostLabels, 1));
    return tables;
}

HostileTable differentLongAddresses()
{
    return filledWith("labels of different common transports with a long location",
                      transports(mostLabels, 1),
                      entry(fullLoop(locationDescriptor(std::string(255, 'l')),
                                     applicationOf(0, mostLabels, false))));
}

HostileTable overlappingNames()
{
    Bytes names = fullLoop(descriptor(nameTag, {0xFF}));
    // Where the last names would leave the loop, there are none.
    Bytes loop(names.begin(), names.end() - 261);
    loop = loop + descriptor(0x7F, Bytes(255, 'n'));
    return filledWith("names that overlap", {}, entry(loop));
}

}  // namespace vesta::test
