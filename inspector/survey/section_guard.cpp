#include "inspector/survey/section_guard.h"

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

}  // namespace

std::vector<SectionFinding> guard(const receiver::SectionBytes& bytes)
{
    const size_t size = sectionSize(bytes.data(), bytes.size());
    if (size == 0)
        return {{HBBTV_KIT_SECTION_INCOMPLETE, 1, 0}};
    const ByteReader section(bytes.data(), size);
    TableCost cost;
    const SectionFinding finding = examineSection(section, anyApplicationType, false, cost);
    const bool isTable = finding.fault != HBBTV_KIT_SECTION_NOT_AIT &&
                         finding.fault != HBBTV_KIT_SECTION_LENGTH &&
                         finding.fault != HBBTV_KIT_SECTION_SYNTAX;
    std::vector<SectionFinding> findings;
    if (isTable && crc32(section.data(), size) != 0)
        findings.push_back({HBBTV_KIT_SECTION_CRC, size - checksumSize, 0});
    if (finding.fault != HBBTV_KIT_SECTION_OK) {
        findings.push_back(finding);
        return findings;
    }
    if (!isAcceptedByApplicationManager(section))
        findings.push_back({HBBTV_KIT_SECTION_REFUSED, 0, 0});
    const SectionFinding strict = examineSection(section, anyApplicationType, true, cost);
    if (strict.fault != HBBTV_KIT_SECTION_OK)
        findings.push_back(strict);
    return findings;
}

}  // namespace inspector
