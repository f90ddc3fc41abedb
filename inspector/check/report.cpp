#include "inspector/check/report.h"

#include <ostream>

#include "receiver/text/printable.h"

namespace inspector {

std::string textOf(const Place& place)
{
    std::string text;
    const auto add = [&text](const std::string& part) {
        text += (text.empty() ? "" : ", ") + part;
    };
    if (place.service)
        add("service " + std::to_string(*place.service));
    if (place.pid)
        add("PID " + hexadecimal(*place.pid, 4));
    if (!place.file.empty())
        add(place.file);
    if (!place.table.empty())
        add(place.table);
    if (place.section)
        add("section " + std::to_string(*place.section));
    if (place.offset)
        add("byte " + std::to_string(*place.offset));
    if (!place.application.empty())
        add("application " + place.application);
    if (place.line)
        add("line " + std::to_string(*place.line));
    if (place.column)
        add("column " + std::to_string(*place.column));
    return text;
}

namespace {

void print(const Finding& finding, std::ostream& out)
{
    const FindingKind& kind = *finding.kind;
    out << nameOf(kind.severity) << " " << kind.id << ": " << receiver::printable(finding.detail)
        << "\n";
    if (const std::string place = textOf(finding.place); !place.empty())
        out << "    where      " << receiver::printable(place) << "\n";
    out << "    standard   " << kind.standard << " (" << kind.clause << ")\n"
        << "    terminals  " << kind.terminals << "\n";
}

}  // namespace

void printReport(const Findings& findings, std::ostream& out)
{
    for (const Severity severity : {Severity::Error, Severity::Warning, Severity::Information}) {
        for (const Finding& finding : findings.all()) {
            if (finding.kind->severity == severity)
                print(finding, out);
        }
    }
    if (findings.leftOut() > 0)
        out << counted(findings.leftOut(), "finding") << " more of the same kinds\n";
    out << counted(findings.countOf(Severity::Error), "error") << ", "
        << counted(findings.countOf(Severity::Warning), "warning") << ", "
        << findings.countOf(Severity::Information) << " for information\n";
}

}  // namespace inspector
