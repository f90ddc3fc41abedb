#include "inspector/dump/document.h"

#include "inspector/decode/descriptors.h"
#include "inspector/decode/tables.h"
#include "inspector/survey/addresses.h"

#ifndef VESTA_VERSION
#error "the build says which version it is"
#endif

namespace inspector {

namespace {

using receiver::CarouselModule;

void addNumberOrUnknown(Node& into, const char* name, const std::optional<uint64_t>& value)
{
    if (value)
        into.addNumber(name, *value);
    else
        into.addUnknown(name);
}

void addSource(Node& into, const SectionSource& source)
{
    if (source.pid)
        into.addHexadecimal("pid", *source.pid).quiet();
    else
        into.addUnknown("pid").quiet();
    if (!source.file.empty())
        into.addText("file", source.file);
}

std::string titleOf(const std::string& table, const SectionSource& source,
                    const TableVersion& latest)
{
    std::string title = table;
    if (source.pid)
        title += " on PID " + hexadecimal(*source.pid, 4);
    title += ", version " + std::to_string(latest.version);
    return latest.isWhole() ? title
                            : title + ": " + std::to_string(latest.sections.size()) + " of " +
                                  counted(latest.lastSectionNumber + 1U, "section");
}

/// What stands in the document already: many services may share tables and carousels, which would
/// make it as many times as long.
struct Described {
    static constexpr size_t mostAddresses = 20'000;

    std::map<AITKey, uint16_t> tables;                    // the service where each stands
    std::map<const CarouselSurvey*, uint16_t> carousels;  // likewise
    size_t addresses = 0;
    size_t addressesLeftOut = 0;
};

/// What came of a table, and its newest version.
/// @param describedAt the service where its sections stand, if it is another one
void fillTable(Node& node, const std::string& name, const SectionSource& source,
               const TableHistory& history, std::optional<uint16_t> describedAt = std::nullopt)
{
    const TableVersion* const latest = history.latest();
    addSource(node, source);
    node.addNumber("sections_received", history.sections());
    node.addNumber("changes", history.changes());
    if (const std::optional<uint64_t> gap = history.longestGap())
        node.addNumber("longest_gap_ms", *gap);
    else
        node.addUnknown("longest_gap_ms").quiet();
    if (!latest)
        return;
    node.title = titleOf(name, source, *latest);
    node.addNumber("version_number", latest->version).quiet();
    node.addFlag("whole", latest->isWhole()).quiet();
    if (describedAt) {
        node.addNumber("described_at_service", *describedAt);
        return;
    }
    Node& sections = node.addList("sections");
    for (const auto& [number, section] : latest->sections)
        sections.children.push_back(section.tree);
}

void addTables(Node& into, const char* listName, const char* title, uint16_t pid,
               const std::map<uint16_t, TableHistory>& histories)
{
    Node& list = into.addList(listName);
    for (const auto& [id, history] : histories)
        fillTable(list.addObject("", title), title,
                  history.empty() ? SectionSource(std::nullopt) : SectionSource(pid), history);
}

void addStream(const Survey& survey, Node& root)
{
    if (!survey.statistics) {
        root.addUnknown("stream");
        return;
    }
    const receiver::StreamStatistics& counts = *survey.statistics;
    Node& stream = root.addObject("stream");
    stream.addNumber("packets", counts.packets);
    addNumberOrUnknown(stream, "duration_ms", survey.streamMs);
    stream.addNumber("continuity_errors", counts.continuityErrors);
    stream.addNumber("duplicate_packets", counts.duplicatePackets);
    stream.addNumber("scrambled_packets", counts.scrambledPackets);
    stream.addNumber("damaged_packets", counts.damagedPackets);
    stream.addNumber("sections", counts.sections);
    stream.addNumber("crc_errors", counts.crcErrors);
    stream.addNumber("cut_sections", counts.cutSections);
    stream.addNumber("sync_losses", counts.syncLosses);
    stream.addNumber("skipped_bytes", counts.skippedBytes);
}

void addAddresses(const std::vector<Address>& addresses, Node& table, Described& described)
{
    Node& list = table.addList("addresses");
    for (const Address& address : addresses) {
        if (described.addresses == Described::mostAddresses) {
            ++described.addressesLeftOut;
            continue;
        }
        ++described.addresses;
        const std::string application =
            nameOfApplication(address.organisationId, address.applicationId);
        Node& node = list.addObject("", "address of " + application);
        node.addText("application", application).quiet();
        node.addNumber("transport_protocol_label", address.label);
        node.addText("url", address.url);
        node.addText("leads_to", nameOf(address.leadsTo));
        if (address.leadsTo == LeadsTo::File) {
            node.addNumber("size", address.size);
            node.addText("content_type", address.contentType);
        } else if (!address.reason.empty()) {
            node.addText("reason", address.reason);
        }
    }
}

/// What stands beside the table and is not in force.
void addRefused(const Survey& survey, const AITKey& key, Node& table)
{
    const auto refused = survey.refusedAits.find(key);
    if (refused == survey.refusedAits.end() || !refused->second.latest())
        return;
    const TableVersion& latest = *refused->second.latest();
    Node& list = table.addList("refused_sections");
    for (const auto& [number, section] : latest.sections) {
        list.children.push_back(section.tree);
        list.children.back().title += ", refused";
    }
}

/// @param service null where it is not known @param id its own
void addAits(const Survey& survey, const ServiceSurvey* service, uint16_t id,
             const std::vector<const std::pair<const AITKey, TableHistory>*>& tables, Node& into,
             Described& described)
{
    Node& list = into.addList("aits");
    for (const auto* const entry : tables) {
        const auto& [key, history] = *entry;
        const std::string type = nameOfApplicationType(key.second);
        Node& table = list.addObject("");
        table.addHexadecimal("application_type", key.second, type).quiet();
        const auto [known, isNew] = described.tables.try_emplace(key, id);
        fillTable(table, "AIT of type " + (type.empty() ? hexadecimal(key.second, 4) : type),
                  key.first, history, isNew ? std::nullopt : std::optional(known->second));
        if (const TableVersion* const latest = history.latest())
            addAddresses(addressesOf(survey, service, *latest), table, described);
        if (isNew)
            addRefused(survey, key, table);
    }
}

std::string nameOf(CarouselModule::State state)
{
    switch (state) {
    case CarouselModule::State::Complete:
        return "complete";
    case CarouselModule::State::Refused:
        return "refused";
    case CarouselModule::State::Incomplete:
        break;
    }
    return "incomplete";
}

void addModule(const receiver::CarouselModuleStatus& status, Node& list)
{
    const receiver::ModuleAnnouncement& announced = status.announcement;
    Node& module = list.addObject("", "module " + std::to_string(announced.moduleId));
    module.addNumber("module_id", announced.moduleId).quiet();
    module.addNumber("module_version", announced.version);
    module.addNumber("module_size", announced.size);
    if (announced.compressed)
        module.addNumber("original_size", announced.originalSize);
    module.addText("state", nameOf(status.state));
    module.addNumber("blocks_received", status.blocksReceived);
    module.addNumber("blocks_needed", status.blocksNeeded);
    module.addNumber("files", status.files);
    module.addNumber("unreached_files", status.unreachedFiles);
    if (!status.problem.empty())
        module.addText("problem", status.problem);
}

void addListing(const receiver::CarouselListing& listing, Node& carousel)
{
    Node& files = carousel.addList("files");
    for (const receiver::CarouselFile& file : listing.files) {
        Node& node = files.addObject("", "file");
        node.addText("path", file.path);
        node.addNumber("size", file.file.size);
        node.addText("content_type", file.file.contentType);
        node.addNumber("module_id", file.moduleId);
    }
    Node& objects = carousel.addList("stream_event_objects");
    for (const receiver::CarouselStreamEvents& object : listing.streamEvents) {
        Node& node = objects.addObject("", "stream event object");
        node.addText("path", object.path);
        Node& events = node.addList("events");
        for (const receiver::NamedEvent& event : object.events) {
            Node& named = events.addObject("", "event");
            named.addText("event_name", event.name);
            named.addNumber("event_id", event.id);
        }
    }
    Node& missing = carousel.addList("missing");
    for (const receiver::MissingFile& file : listing.missing) {
        Node& node = missing.addObject("", "missing");
        node.addText("path", file.path);
        node.addText("reason", file.reason);
    }
    carousel.addNumber("names_left_out", listing.leftOut).isQuiet = listing.leftOut == 0;
}

void addCarousel(uint8_t tag, const receiver::ObjectCarousel& carousel, Node& list)
{
    const std::optional<uint32_t> id = carousel.carouselId();
    const receiver::CarouselProgress progress = carousel.progress();
    Node& node = list.addObject("", "carousel on component tag " + hexadecimal(tag, 2));
    node.addHexadecimal("component_tag", tag).quiet();
    if (id)
        node.addHexadecimal("carousel_id", *id);
    else
        node.addUnknown("carousel_id");
    node.addFlag("gateway_received", id.has_value());
    node.addNumber("modules_announced", progress.modulesKnown);
    node.addNumber("modules_complete", progress.modulesComplete);
    node.addNumber("blocks_dropped", progress.blocksDropped);
    Node& modules = node.addList("modules");
    for (const receiver::CarouselModuleStatus& status : carousel.modules())
        addModule(status, modules);
    addListing(carousel.list(), node);
}

void addCarousels(const CarouselSurvey* survey, uint16_t id, Node& service, Described& described)
{
    const auto [known, isNew] = described.carousels.try_emplace(survey, id);
    if (survey && !isNew) {
        service.addNumber("carousels_described_at_service", known->second);
        return;
    }
    Node& carousels = service.addList("carousels");
    if (survey)
        survey->carousels().visit([&](uint8_t tag, const receiver::ObjectCarousel& carousel) {
            addCarousel(tag, carousel, carousels);
        });
    Node& events = service.addList("stream_events");
    if (!survey)
        return;
    for (const CarouselSurvey::HeardEvent& heard : survey->events()) {
        Node& event = events.addObject("", "stream event");
        event.addHexadecimal("pid", heard.pid);
        event.addNumber("event_id", heard.event.id);
        event.addText("data", heard.event.data);
    }
}

void addService(const Survey& survey, uint16_t id, const ServiceSurvey& service, Node& list,
                Described& described)
{
    Node& node = list.addObject("", "service " + std::to_string(id));
    node.addNumber("service_id", id).quiet();
    if (service.service) {
        const receiver::Service& known = *service.service;
        if (!known.name.empty())
            node.title += " \"" + known.name + "\"";
        node.addText("service_name", known.name).quiet();
        node.addHexadecimal("transport_stream_id", known.transportStreamId);
        if (known.originalNetworkId)
            node.addHexadecimal("original_network_id", *known.originalNetworkId);
        else
            node.addUnknown("original_network_id");
    }
    if (service.pmt.empty())
        node.addUnknown("pmt");
    else
        fillTable(node.addObject("pmt"), "PMT",
                  service.service ? SectionSource(service.service->pmtPid)
                                  : SectionSource(std::nullopt),
                  service.pmt);
    addAits(survey, &service, id, survey.tablesOf(service), node, described);
    addCarousels(service.carousels.get(), id, node, described);
}

void addXmlTables(const Survey& survey, Node& root)
{
    Node& list = root.addList("xml_aits");
    for (const XmlTable& table : survey.xmlTables) {
        Node& node = list.addObject("", "XML AIT");
        node.addText("path", table.path);
        if (table.status != HBBTV_KIT_XML_AIT_OK) {
            node.addNumber("line", table.line);
            node.addNumber("column", table.column);
            node.addText("problem", table.text);
        }
        for (const Node& child : table.tree.children)
            node.children.push_back(child);
    }
}

void addRest(const Survey& survey, const Described& described, Node& root)
{
    Node& others = root.addList("other_sections");
    for (const auto& [tableId, count] : survey.otherTables) {
        Node& node = others.addObject("", "other sections");
        node.addHexadecimal("table_id", tableId, nameOfTable(tableId));
        node.addNumber("sections", count);
    }
    Node& leftOut = root.addObject("left_out");
    leftOut.addNumber("services", survey.leftOut.services);
    leftOut.addNumber("tables", survey.leftOut.tables);
    leftOut.addNumber("refusals", survey.leftOut.refusals);
    leftOut.addNumber("carousels_of_services", survey.leftOut.carousels);
    leftOut.addNumber("addresses", described.addressesLeftOut);
    leftOut.isQuiet = survey.leftOut.isNothing() && described.addressesLeftOut == 0;
}

/// What both commands begin with.
Node beginDocument(const Survey& survey)
{
    Node root;
    root.addNumber("schema", schemaVersion).quiet();
    root.addText("program", "vesta_signalling " VESTA_VERSION).quiet();
    Node& inputs = root.addList("inputs");
    for (const InputNote& note : survey.inputs) {
        Node& input = inputs.addObject("", "input");
        input.addText("path", note.path);
        input.addText("kind", note.kind);
    }
    addStream(survey, root);
    return root;
}

}  // namespace

Node documentOf(const Survey& survey)
{
    constexpr uint16_t patPid = 0x0000;
    constexpr uint16_t sdtPid = 0x0011;
    Node root = beginDocument(survey);
    addTables(root, "pats", "PAT", patPid, survey.pats);
    addTables(root, "sdts", "SDT", sdtPid, survey.sdts);
    Described described;
    Node& services = root.addList("services");
    for (const auto& [id, service] : survey.services)
        addService(survey, id, service, services, described);
    addAits(survey, nullptr, 0, survey.tablesOfNobody(), root, described);
    addXmlTables(survey, root);
    addRest(survey, described, root);
    return root;
}

Node documentOf(const Survey& survey, const Findings& findings)
{
    Node root = beginDocument(survey);
    addFindings(findings, root);
    return root;
}

}  // namespace inspector
