#include "inspector/check/finding.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace inspector {

const char* nameOf(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return "error";
    case Severity::Warning:
        return "warning";
    case Severity::Information:
        break;
    }
    return "information";
}

void Findings::add(std::string_view id, Place place, std::string detail)
{
    const std::vector<FindingKind>& kinds = findingKinds();
    const auto kind = std::find_if(kinds.begin(), kinds.end(),
                                   [id](const FindingKind& other) { return other.id == id; });
    assert(kind != kinds.end());
    if (++counts_[&*kind] > mostOfAKind) {
        ++leftOut_;
        return;
    }
    findings_.push_back({&*kind, std::move(place), std::move(detail)});
}

uint64_t Findings::countOf(Severity severity) const
{
    uint64_t count = 0;
    for (const auto& [kind, number] : counts_)
        count += kind->severity == severity ? number : 0;
    return count;
}

namespace {

void addPlace(const Place& place, Node& into)
{
    if (place.service)
        into.addNumber("service_id", *place.service);
    if (place.pid)
        into.addHexadecimal("pid", *place.pid);
    if (!place.file.empty())
        into.addText("file", place.file);
    if (!place.table.empty())
        into.addText("table", place.table);
    if (place.section)
        into.addNumber("section_number", *place.section);
    if (place.offset)
        into.addNumber("offset", *place.offset);
    if (!place.application.empty())
        into.addText("application", place.application);
    if (place.line)
        into.addNumber("line", *place.line);
    if (place.column)
        into.addNumber("column", *place.column);
}

}  // namespace

void addFindings(const Findings& findings, Node& root)
{
    Node& list = root.addList("findings");
    for (const Finding& finding : findings.all()) {
        Node& node = list.addObject("", "finding");
        node.addText("id", finding.kind->id);
        node.addText("severity", nameOf(finding.kind->severity));
        node.addText("detail", finding.detail);
        addPlace(finding.place, node.addObject("place"));
        node.addText("standard", finding.kind->standard);
        node.addText("clause", finding.kind->clause);
        node.addText("terminals", finding.kind->terminals);
    }
    Node& summary = root.addObject("summary");
    summary.addNumber("errors", findings.countOf(Severity::Error));
    summary.addNumber("warnings", findings.countOf(Severity::Warning));
    summary.addNumber("informations", findings.countOf(Severity::Information));
    summary.addNumber("findings_left_out", findings.leftOut());
}

}  // namespace inspector
