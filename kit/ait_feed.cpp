#include "kit/ait_feed.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "vesta_hbbtv_appman.h"

#include "kit/crc32.h"
#include "signalling/ait.h"
#include "vesta_hbbtv_layout.h"

namespace VestaHbbTV {

namespace {

constexpr uint8_t lastVersionNumber = 31;
constexpr size_t mostSections = 256;

struct Free {
    void operator()(void* block) const { std::free(block); }
};
using Block = std::unique_ptr<unsigned char, Free>;
using Record = std::unique_ptr<HBBTV_EventData, Free>;

/// A record and its section, both of which the application manager frees.
struct OutgoingSection {
    Record record;
    Block section;
};

HBBTV_KitFeedReport reportOf(HBBTV_KitFeedEvent event, unsigned pid = 0, int fault = 0)
{
    HBBTV_KitFeedReport report = {};
    report.size = sizeof(report);
    report.event = event;
    report.pid = pid;
    report.fault = fault;
    return report;
}

ByteReader readerOf(const Section& section)
{
    return ByteReader(section.data(), section.size());
}

}  // namespace

AITFeed::AITFeed(const HBBTV_KitFeedOptions& options)
    : options_(options), changes_{
                             options.takesOutEmptyDescriptors != 0,
                             {options.carriedMajor, options.carriedMinor, options.carriedMicro}}
{
}

uint32_t AITFeed::tune(uint16_t originalNetworkId, uint16_t transportStreamId, uint16_t serviceId,
                       void* channel)
{
    service_ = {originalNetworkId, transportStreamId, serviceId, channel};
    sources_.clear();
    chosen_.reset();
    told_.clear();
    inForce_.reset();
    pending_.reset();
    unsettled_.reset();
    changeTimes_.clear();
    isFlapping_ = false;
    vesta_hbbtv_send_event(E_CHANNEL_CHANGE, nullptr);
    if (++tuning_ == 0)
        ++tuning_;
    return tuning_;
}

// ------------------------------------------------------------------------------------------------
// What comes in
// ------------------------------------------------------------------------------------------------

void AITFeed::takePMT(uint32_t tuning, ByteReader bytes, uint64_t now)
{
    if (tuning != tuning_)
        return;
    const auto streams = signallingStreams(bytes, options_.applicationType);
    if (!streams)
        return takeTime(now);
    keepSourcesOf(*streams);
    if (sources_.empty() && inForce_)
        withdraw();
    // What was waiting for this PMT is what it announces now, or goes on waiting.
    if (const Source* const source = unsettled_ ? sourceOf(*unsettled_) : nullptr)
        offer(*source, false);
    takeTime(now);
}

/// What was collected of streams that are still listed stays.
void AITFeed::keepSourcesOf(const std::vector<SignallingStream>& streams)
{
    std::vector<Source> sources;
    for (const SignallingStream& stream : streams) {
        Source source;
        if (Source* const former = sourceOf(stream.pid))
            source = std::move(*former);
        source.stream = stream;
        sources.push_back(std::move(source));
    }
    sources_ = std::move(sources);
    if (chosen_ && !sourceOf(*chosen_))
        chosen_.reset();
    if (chosen_ || options_.joinsPIDs)
        return;
    const auto named = std::find_if(sources_.begin(), sources_.end(),
                                    [](const Source& source) { return source.stream.isNamed; });
    if (named != sources_.end())
        choose(*named);
}

AITFeed::Source* AITFeed::sourceOf(uint16_t pid)
{
    const auto found = std::find_if(sources_.begin(), sources_.end(),
                                    [pid](const Source& each) { return each.stream.pid == pid; });
    return found == sources_.end() ? nullptr : &*found;
}

bool AITFeed::isAwaited(const Source& source) const
{
    return !chosen_ || *chosen_ == source.stream.pid;
}

void AITFeed::takeSection(uint32_t tuning, uint16_t pid, ByteReader bytes, uint64_t now)
{
    if (tuning != tuning_ || tuning == 0)
        return count(HBBTV_KIT_SECTION_LATE);
    takeTime(now);
    Source* const source = sourceOf(pid);
    if (!source || !isAwaited(*source))
        return count(HBBTV_KIT_SECTION_UNLISTED);
    const size_t size = sectionSize(bytes.data(), bytes.remaining());
    if (size == 0)
        return refuse(pid, {HBBTV_KIT_SECTION_INCOMPLETE, 0, 0});
    const ByteReader section = bytes.take(size);
    // Nearly all that comes is a repetition.
    if (!source->collector.holds(section)) {
        const SectionFinding finding = examine(section);
        if (finding.fault != HBBTV_KIT_SECTION_OK)
            return refuse(pid, finding);
    }
    count(HBBTV_KIT_SECTION_OK);
    lastSeen_ = now_;
    switch (source->collector.add(section)) {
    case TableCollector::Result::Collected:
        break;
    case TableCollector::Result::Completed:
        offer(*source, false);
        break;
    case TableCollector::Result::Repeated:
        if (unsettled_ == pid)
            offer(*source, true);
        break;
    }
}

/// The checksum is looked at before the content, which may be anything without it.
SectionFinding AITFeed::examine(ByteReader section) const
{
    TableCost cost;
    SectionFinding finding = examineSection(section, options_.applicationType, cost);
    const bool isOurs = finding.fault != HBBTV_KIT_SECTION_NOT_AIT &&
                        finding.fault != HBBTV_KIT_SECTION_LENGTH &&
                        finding.fault != HBBTV_KIT_SECTION_SYNTAX;
    if (isOurs && options_.checksChecksum && crc32(section.data(), section.remaining()) != 0)
        return {HBBTV_KIT_SECTION_CRC, section.remaining() - checksumSize, 0};
    if (finding.fault == HBBTV_KIT_SECTION_OK &&
        !isAcceptedByApplicationManager(copySection(section, changes_)))
        finding.fault = options_.takesOutEmptyDescriptors ? HBBTV_KIT_SECTION_REFUSED
                                                          : HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR;
    return finding;
}

/// So that no table stands in the way of the next: what its reader refuses blocks it.
bool AITFeed::isAcceptedByApplicationManager(const Section& section) const
{
    const ref_ptr<AIT> table(new AIT(service_.originalNetworkId, service_.transportStreamId,
                                     service_.serviceId, nullptr));
    return table->parse(section.data());
}

void AITFeed::refuse(uint16_t pid, const SectionFinding& finding)
{
    count(finding.fault);
    if (!told_.insert({pid, finding.fault}).second)
        return;
    HBBTV_KitFeedReport told = reportOf(HBBTV_KIT_FEED_SECTION_REFUSED, pid, finding.fault);
    told.offset = finding.offset;
    told.tag = finding.tag;
    report(told);
}

void AITFeed::takeTime(uint64_t now)
{
    now_ = std::max(now_, now);
    if (pending_ && now_ - changeTimes_.back() >= options_.heldUntilQuiet)
        sendPending();
    if (isFlapping_ && now_ - changeTimes_.back() >= options_.changesWithin)
        isFlapping_ = false;
    if (inForce_ && options_.withdrawnAfter != 0 && now_ - lastSeen_ >= options_.withdrawnAfter)
        withdraw();
}

// ------------------------------------------------------------------------------------------------
// Tables
// ------------------------------------------------------------------------------------------------

void AITFeed::choose(const Source& source)
{
    chosen_ = source.stream.pid;
    report(reportOf(HBBTV_KIT_FEED_PID_CHOSEN, *chosen_));
}

/// A table of the source is whole.
void AITFeed::offer(const Source& source, bool isRepeated)
{
    if (source.collector.lastWhole().empty())
        return;
    unsettled_ = source.stream.pid;
    if (waitsForPMT(source, isRepeated))
        return;
    if (!chosen_ && !options_.joinsPIDs)
        choose(source);
    Table table = tableOf(source);
    if (const HBBTV_KitTableFault fault = faultOf(table)) {
        HBBTV_KitFeedReport told =
            reportOf(HBBTV_KIT_FEED_TABLE_REFUSED, table.pid, static_cast<int>(fault));
        told.version = table.version;
        report(told);
    } else {
        takeEffect(std::move(table));
    }
    unsettled_.reset();
}

/// What the PMT does not announce may be the last of a table that is over. Such a one is not
/// repeated; and the PMT may as well be wrong for ever.
bool AITFeed::waitsForPMT(const Source& source, bool isRepeated)
{
    const uint8_t version = versionOf(source.collector.lastWhole().front().data());
    const auto announced = source.stream.version;
    if (!options_.heedsAnnouncedVersion || isRepeated || !announced || *announced == version)
        return false;
    HBBTV_KitFeedReport told = reportOf(HBBTV_KIT_FEED_TABLE_HELD_FOR_PMT, source.stream.pid);
    told.version = version;
    report(told);
    return true;
}

AITFeed::Table AITFeed::tableOf(const Source& source) const
{
    Table table;
    table.pid = source.stream.pid;
    table.version = versionOf(source.collector.lastWhole().front().data());
    if (options_.joinsPIDs) {
        for (const Source& each : sources_)
            append(table, each.collector.lastWhole());
    } else {
        append(table, source.collector.lastWhole());
    }
    return table;
}

void AITFeed::append(Table& table, const WholeTable& sections) const
{
    for (const Section& section : sections) {
        examineSection(readerOf(section), anyApplicationType, table.cost);
        table.sections.push_back(copySection(readerOf(section), changes_));
    }
}

/// Numbers the sections of a table that fits.
HBBTV_KitTableFault AITFeed::faultOf(Table& table) const
{
    if (table.sections.size() > mostSections)
        return HBBTV_KIT_TABLE_SECTIONS;
    if (table.cost.applications > options_.mostApplications)
        return HBBTV_KIT_TABLE_APPLICATIONS;
    if (table.cost.textBytes > options_.mostTextBytes)
        return HBBTV_KIT_TABLE_TEXT;
    if (table.cost.labels > options_.mostLabels)
        return HBBTV_KIT_TABLE_LABELS;
    const auto last = static_cast<uint8_t>(table.sections.size() - 1);
    for (size_t i = 0; i < table.sections.size(); ++i)
        setNumber(table.sections[i], static_cast<uint8_t>(i), last);
    return HBBTV_KIT_TABLE_OK;
}

/// Sends a table that is another one than the one in force.
void AITFeed::takeEffect(Table table)
{
    if (options_.numbersVersions) {
        for (Section& section : table.sections)
            setVersion(section, 0);
    }
    for (Section& section : table.sections)
        setChecksum(section);
    const WholeTable* const current = pending_   ? &pending_->sections
                                      : inForce_ ? &*inForce_
                                                 : nullptr;
    if (current && *current == table.sections)
        return;
    noteChange();
    if (isFlapping_ && options_.heldUntilQuiet != 0)
        pending_ = std::move(table);
    else
        send(table);
}

void AITFeed::noteChange()
{
    changeTimes_.push_back(now_);
    while (now_ - changeTimes_.front() >= options_.changesWithin && changeTimes_.size() > 1)
        changeTimes_.pop_front();
    if (changeTimes_.size() <= options_.mostChanges)
        return;
    changeTimes_.pop_front();
    if (!std::exchange(isFlapping_, true))
        report(reportOf(HBBTV_KIT_FEED_FLAPPING));
}

/// All its sections in one go, so that no other event comes between them.
void AITFeed::send(const Table& table)
{
    uint8_t version = table.version;
    if (options_.numbersVersions) {
        // 0 is that of tables that were no sections.
        lastVersion_ =
            lastVersion_ == lastVersionNumber ? uint8_t{1} : static_cast<uint8_t>(lastVersion_ + 1);
        version = lastVersion_;
    }
    std::vector<OutgoingSection> outgoing;
    for (Section section : table.sections) {
        setVersion(section, version);
        setChecksum(section);
        OutgoingSection out;
        out.record.reset(static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData))));
        out.section.reset(static_cast<unsigned char*>(std::malloc(section.size())));
        if (!out.record || !out.section)
            throw std::bad_alloc();
        std::memcpy(out.section.get(), section.data(), section.size());
        outgoing.push_back(std::move(out));
    }
    inForce_ = table.sections;
    for (OutgoingSection& out : outgoing) {
        HBBTV_AITSectionEventData& ait = out.record->ait;
        ait.section = out.section.release();
        ait.original_network_id = service_.originalNetworkId;
        ait.transport_stream_id = service_.transportStreamId;
        ait.service_id = service_.serviceId;
        ait.channelHandle = service_.channel;
        vesta_hbbtv_send_event(E_AIT_SECTION, out.record.release());
    }
    HBBTV_KitFeedReport told = reportOf(HBBTV_KIT_FEED_TABLE_SENT, table.pid);
    told.version = table.version;
    told.sentVersion = version;
    told.sections = static_cast<unsigned>(table.sections.size());
    told.applications = static_cast<unsigned>(table.cost.applications);
    report(told);
}

/// What has come and gone in the meantime is as if it had not been.
void AITFeed::sendPending()
{
    const Table table = *std::exchange(pending_, std::nullopt);
    if (inForce_ && *inForce_ == table.sections)
        return;
    unsettled_ = table.pid;  // should there be no memory
    send(table);
    unsettled_.reset();
}

/// Whatever comes from now on is a new table.
void AITFeed::withdraw()
{
    Record record(static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData))));
    if (!record)
        throw std::bad_alloc();
    inForce_.reset();
    pending_.reset();
    unsettled_.reset();
    for (Source& source : sources_)
        source.collector = TableCollector();
    record->ait.original_network_id = service_.originalNetworkId;
    record->ait.transport_stream_id = service_.transportStreamId;
    record->ait.service_id = service_.serviceId;
    record->ait.channelHandle = service_.channel;
    vesta_hbbtv_send_event(E_AIT_SECTION, record.release());
    report(reportOf(HBBTV_KIT_FEED_WITHDRAWN));
}

void AITFeed::report(HBBTV_KitFeedReport report) const
{
    if (options_.listener)
        options_.listener(&report, options_.context);
}

}  // namespace VestaHbbTV
