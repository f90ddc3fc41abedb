#include "inspector/survey/section_guard.h"

#include <algorithm>

#include "foundation/descriptor.h"
#include "foundation/ref_ptr.h"
#include "kit/crc32.h"
#include "kit/section_copy.h"
#include "signalling/ait.h"

namespace inspector {

using namespace VestaHbbTV;

namespace {

/// Of the copy that the feed sends.
bool isAcceptedByApplicationManager(ByteReader section)
{
    const ref_ptr<AIT> table(new AIT(0, 0, 0, nullptr));
    return table->parse(copySection(section, {}).data());
}

/// Visits the applications of a section in order, as far as it can be read.
/// @param visit gets the id, the place of the application's first byte, and its descriptors
template <typename Visit>
void visitApplications(ByteReader section, Visit visit)
{
    const size_t size = section.remaining();
    const auto takeLoop = [](ByteReader& reader) {
        const size_t length = reader.length12();
        return reader.take(std::min(length, reader.remaining()));
    };
    section.skip(AITLayout::commonLength);
    takeLoop(section);
    const size_t lengthPlace = size - section.remaining();
    ByteReader loop = takeLoop(section);
    const size_t loopEnd = lengthPlace + AITLayout::lengthSize + loop.remaining();
    while (!loop.empty()) {
        const size_t place = loopEnd - loop.remaining();
        const uint32_t organisation = loop.u32();
        const uint16_t application = loop.u16();
        loop.skip(1);
        const ByteReader descriptors = takeLoop(loop);
        if (loop.ok())
            visit(ApplicationId(organisation, application), place, descriptors);
    }
}

/// The application in which a place is.
std::optional<ApplicationId> applicationAt(ByteReader section, size_t offset)
{
    std::optional<ApplicationId> found;
    visitApplications(section, [&](const ApplicationId& id, size_t place, ByteReader) {
        if (place <= offset)
            found = id;
    });
    return found;
}

/// @param section right but for empty descriptors
std::vector<GuardFinding> emptyDescriptors(ByteReader section)
{
    std::vector<GuardFinding> findings;
    const auto look = [&findings](const ApplicationId& id, size_t place, ByteReader descriptors) {
        size_t at = place + AITLayout::entryLength + AITLayout::lengthSize;
        while (!descriptors.empty()) {
            const uint8_t tag = descriptors.u8();
            const uint8_t length = descriptors.u8();
            if (length == 0) {
                findings.push_back({{HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR, at, tag}, id});
                return;
            }
            descriptors.skip(length);
            at += descriptorHeaderSize + length;
        }
    };
    visitApplications(section, look);
    return findings;
}

}  // namespace

std::vector<GuardFinding> guard(const receiver::SectionBytes& bytes)
{
    const size_t size = sectionSize(bytes.data(), bytes.size());
    if (size == 0)
        return {{{HBBTV_KIT_SECTION_INCOMPLETE, 1, 0}, std::nullopt}};
    const ByteReader section(bytes.data(), size);
    TableCost cost;
    const SectionFinding finding = examineSection(section, anyApplicationType, false, cost);
    const bool isTable = finding.fault != HBBTV_KIT_SECTION_NOT_AIT &&
                         finding.fault != HBBTV_KIT_SECTION_LENGTH &&
                         finding.fault != HBBTV_KIT_SECTION_SYNTAX;
    std::vector<GuardFinding> findings;
    if (isTable && crc32(section.data(), size) != 0)
        findings.push_back({{HBBTV_KIT_SECTION_CRC, size - checksumSize, 0}, std::nullopt});
    if (finding.fault != HBBTV_KIT_SECTION_OK) {
        findings.push_back(
            {finding, isTable ? applicationAt(section, finding.offset) : std::nullopt});
        return findings;
    }
    if (!isAcceptedByApplicationManager(section))
        findings.push_back({{HBBTV_KIT_SECTION_REFUSED, 0, 0}, std::nullopt});
    const std::vector<GuardFinding> empties = emptyDescriptors(section);
    findings.insert(findings.end(), empties.begin(), empties.end());
    return findings;
}

}  // namespace inspector
