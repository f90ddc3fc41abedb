#include "receiver/service/service_tables.h"

#include <algorithm>
#include <utility>

#include "foundation/byte_reader.h"
#include "foundation/descriptor.h"
#include "receiver/text/dvb_text.h"
#include "signalling/pmt.h"

namespace receiver {

using VestaHbbTV::ByteReader;
using VestaHbbTV::ElementaryStream;
using VestaHbbTV::forEachDescriptor;

namespace {

constexpr uint16_t pidMask = 0x1FFF;
constexpr size_t bytesBeforeStreamInfo = 3;  // stream_type and elementary_PID
constexpr uint8_t privateSectionsStreamType = 0x05;
constexpr uint8_t aitTableId = 0x74;

enum DescriptorTag : uint8_t {
    associationTagTag = 0x14,
    serviceTag = 0x48,
    applicationSignallingTag = 0x6F
};

void readServiceDescriptor(ByteReader payload, ServiceDescription& service)
{
    service.type = payload.u8();
    payload.skip(payload.u8());  // the provider's name
    service.name = decodeDvbText(payload.text(payload.u8()));
}

// The last of several service descriptors counts.
void readDescriptors(ByteReader descriptors, ServiceDescription& service)
{
    service.name.clear();
    service.type = 0;
    const auto read = [&service](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
        if (tag == serviceTag)
            readServiceDescriptor(payload, service);
        return true;
    };
    forEachDescriptor(descriptors, read);
}

std::vector<SignalledApplicationType> readApplicationTypes(ByteReader payload)
{
    std::vector<SignalledApplicationType> types;
    while (payload.remaining() >= 3) {
        const uint16_t type = payload.u16() & 0x7FFF;
        types.push_back({type, static_cast<uint8_t>(payload.u8() & 0x1F)});
    }
    return types;
}

// The library's class says where signalling and carousels are; of the descriptors that it only
// notes the presence of, a receiver needs the content, too.
StreamDescription describe(const ElementaryStream& stream, ByteReader descriptors)
{
    StreamDescription description;
    description.streamType = stream.getStreamType();
    description.pid = stream.getElementaryPID();
    if (const auto* const identifier = stream.getStreamIdentifierDescriptor())
        description.componentTag = identifier->getComponentTag();
    if (const auto* const carousel = stream.getCarouselIdentifierDescriptor())
        description.carouselId = carousel->getCarouselId();
    const auto read = [&description](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
        if (tag == associationTagTag && payload.remaining() >= 2)
            description.associationTags.push_back(payload.u16());
        else if (tag == applicationSignallingTag)
            description.applicationTypes = readApplicationTypes(payload);
        return true;
    };
    forEachDescriptor(descriptors, read);
    return description;
}

}  // namespace

bool TableCollector::add(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    const bool sameTable = header.tableIdExtension == header_.tableIdExtension &&
                           header.version == header_.version &&
                           header.lastSectionNumber == header_.lastSectionNumber;
    header_ = header;
    const auto known = pending_.find(header.sectionNumber);
    if (sameTable && known != pending_.end() && known->second == section)
        return false;  // a repetition, as most are: the table is not put together again
    if (!sameTable || known != pending_.end())
        pending_.clear();
    if (header.sectionNumber > header.lastSectionNumber)
        return false;
    pending_[header.sectionNumber] = section;
    if (pending_.size() <= header.lastSectionNumber)
        return false;

    std::vector<SectionBytes> table;
    for (const auto& entry : pending_)
        table.push_back(entry.second);
    if (table == complete_)
        return false;
    complete_ = std::move(table);
    return true;
}

std::vector<ProgramAssociation> readProgramAssociations(const std::vector<SectionBytes>& pat)
{
    constexpr size_t entrySize = 4;
    std::vector<ProgramAssociation> programs;
    for (const SectionBytes& section : pat) {
        const uint16_t transportStreamId = readSectionHeader(section).tableIdExtension;
        ByteReader body = sectionBody(section);
        while (body.remaining() >= entrySize) {
            const uint16_t programNumber = body.u16();
            const uint16_t pid = body.u16() & pidMask;
            if (programNumber != 0)  // 0 names the network information table
                programs.push_back({transportStreamId, programNumber, pid});
        }
    }
    return programs;
}

std::vector<ServiceDescription> readServiceDescriptions(const std::vector<SectionBytes>& sdt)
{
    std::vector<ServiceDescription> services;
    for (const SectionBytes& section : sdt) {
        ServiceDescription service;
        service.transportStreamId = readSectionHeader(section).tableIdExtension;
        ByteReader body = sectionBody(section);
        service.originalNetworkId = body.u16();
        body.skip(1);
        while (!body.empty()) {
            service.serviceId = body.u16();
            body.skip(1);  // which EIT tables exist
            const ByteReader descriptors = body.take(body.length12());
            if (!body.ok())
                break;
            readDescriptors(descriptors, service);
            services.push_back(service);
        }
    }
    return services;
}

bool StreamDescription::mayCarryApplicationInformation() const
{
    return streamType == privateSectionsStreamType;
}

ApplicationSignalling StreamDescription::signalling() const
{
    if (!mayCarryApplicationInformation())
        return ApplicationSignalling::None;
    if (applicationTypes.empty())
        return ApplicationSignalling::Unsaid;
    const bool isSaid =
        std::any_of(applicationTypes.begin(), applicationTypes.end(),
                    [](const auto& type) { return type.applicationType == hbbtvApplicationType; });
    return isSaid ? ApplicationSignalling::HbbTV : ApplicationSignalling::None;
}

ApplicationSignalling ProgramMap::signalling() const
{
    ApplicationSignalling best = ApplicationSignalling::None;
    for (const StreamDescription& stream : streams)
        best = std::max(best, stream.signalling());
    return best;
}

ProgramMap readProgramMap(const SectionBytes& pmtSection)
{
    ProgramMap map;
    map.section = pmtSection;
    ByteReader body = sectionBody(pmtSection);
    const uint16_t clockPid = body.u16() & pidMask;
    if (body.ok())
        map.clockPid = clockPid;
    body.skip(body.length12());
    while (!body.empty()) {
        ByteReader entry = body;
        entry.skip(bytesBeforeStreamInfo);
        const ByteReader descriptors = entry.take(entry.length12());
        if (!entry.ok())
            break;
        map.streams.push_back(describe(ElementaryStream(body), descriptors));
    }
    return map;
}

std::vector<uint16_t> ProgramMap::tablePids() const
{
    std::vector<uint16_t> pids;
    for (const StreamDescription& stream : streams) {
        if (stream.signalling() != ApplicationSignalling::None)
            pids.push_back(stream.pid);
    }
    return pids;
}

bool isHbbTVTable(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    return header.tableId == aitTableId && header.current &&
           (header.tableIdExtension & 0x7FFF) == hbbtvApplicationType;
}

}  // namespace receiver
