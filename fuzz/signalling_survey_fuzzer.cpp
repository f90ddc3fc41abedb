/// Any sections into one survey under small limits; then everything that is made of it: findings,
/// text and JSON. A section is given as 16-bit PID (0 to 3: from a file), 16-bit size and bytes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>

#include "foundation/byte_reader.h"
#include "inspector/check/checks.h"
#include "inspector/check/report.h"
#include "inspector/dump/document.h"
#include "inspector/dump/printers.h"
#include "inspector/survey/survey.h"

namespace {

using namespace inspector;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

SurveyLimits smallLimits()
{
    SurveyLimits limits;
    limits.tableBytes = 64 * 1024;
    limits.services = 16;
    limits.tables = 16;
    limits.refusals = 32;
    return limits;
}

/// The lowest PIDs, on which no AIT comes, stand for files.
SectionSource sourceOf(uint16_t pid)
{
    constexpr uint16_t files = 4;
    return pid < files ? SectionSource(std::nullopt, std::to_string(pid)) : SectionSource(pid);
}

void useAll(const Survey& survey)
{
    std::ostringstream out;
    const Findings findings = check(survey);
    printReport(findings, out);
    const Node document = documentOf(survey);
    printText(document, out);
    const bool isObeyed = out.str().find('\x1B') != std::string::npos;
    require(!isObeyed);
    printJson(document, out);
    printJson(documentOf(survey, findings), out);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Survey survey(smallLimits());
    VestaHbbTV::ByteReader input(data, size);
    while (!input.empty()) {
        const uint16_t pid = input.u16() & 0x1FFF;
        const size_t sectionSize = std::min<size_t>(input.u16(), input.remaining());
        const VestaHbbTV::ByteReader bytes = input.take(sectionSize);
        const receiver::SectionBytes section(bytes.data(), bytes.data() + bytes.remaining());
        survey.take(sourceOf(pid), section, std::nullopt);
    }
    survey.finish(std::nullopt);
    require(survey.services.size() <= smallLimits().services);
    require(survey.aits.size() <= smallLimits().tables);
    require(survey.refusedAits.size() <= smallLimits().tables);
    useAll(survey);
    return 0;
}
