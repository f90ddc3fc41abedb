#include "kit/ait_feed.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "foundation/configuration_manager.h"
#include "foundation/out_of_memory.h"
#include "kit/common_transports.h"
#include "kit/crc32.h"
#include "signalling/ait.h"
#include "vesta_hbbtv_kit_layout.h"

namespace VestaHbbTV {

namespace {

constexpr uint8_t lastVersionNumber = 31;
constexpr size_t mostSections = 256;
constexpr unsigned mostPID = 0x1FFF;
constexpr size_t programNumberPlace = 3;  // in a PMT
constexpr uint8_t pmtTableId = 0x02;

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

Record newRecord()
{
    return Record(
        allocated(static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData)))));
}

Block copyOf(const Section& section)
{
    Block block(allocated(static_cast<unsigned char*>(std::malloc(section.size()))));
    std::memcpy(block.get(), section.data(), section.size());
    return block;
}

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

/// Without the application manager nobody would free what is sent.
bool canSend()
{
    return ConfigurationManager::getCurrentQueue() != nullptr;
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
    changeTimes_.clear();
    isFlapping_ = false;
    waitsForTime_ = true;
    mayHaveTable_ = true;
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
    advance(now);
    const ByteReader section = bytes.take(sectionSize(bytes.data(), bytes.remaining()));
    if (tuning != tuning_ || tuning == 0)
        refuse(0, {HBBTV_KIT_SECTION_LATE, 0, 0});
    else if (!isOfService(section))
        refuse(0, {HBBTV_KIT_SECTION_PMT, 0, 0});
    else if (const auto streams = signallingStreams(section, options_.applicationType))
        takeStreams(*streams);
    lookAtTime();
    tellReports();
}

bool AITFeed::isOfService(ByteReader section) const
{
    if (section.remaining() < programNumberPlace + 2 || section.peek() != pmtTableId)
        return false;
    if (options_.checksChecksum && crc32(section.data(), section.remaining()) != 0)
        return false;
    section.skip(programNumberPlace);
    return section.u16() == service_.serviceId;
}

void AITFeed::takeStreams(const std::vector<SignallingStream>& streams)
{
    const bool hadChosen = chosen_.has_value();
    const bool hasLostTable = keepSourcesOf(streams);
    if (sources_.empty())
        return withdraw();
    if (hadChosen && !chosen_) {
        pending_.reset();
        // Another PID may have it; but who never withdraws by time would wait for ever.
        if (options_.withdrawnAfter == 0)
            withdraw();
    }
    if (joins() && hasLostTable)
        offerWhatIsLeft();
    for (Source& source : sources_) {
        // What was waiting for this PMT is what it announces now, or goes on waiting.
        if (source.isUnsettled && mayHaveTable(source.stream.pid))
            offer(source, false);
    }
}

/// What was collected of streams that are still listed stays.
/// @return whether one with a whole table is gone
bool AITFeed::keepSourcesOf(const std::vector<SignallingStream>& streams)
{
    std::vector<Source> sources;
    for (const SignallingStream& stream : streams) {
        Source source;
        if (Source* const former = sourceOf(stream.pid))
            source = std::exchange(*former, Source());
        source.stream = stream;
        sources.push_back(std::move(source));
    }
    const bool hasLostTable =
        std::any_of(sources_.begin(), sources_.end(),
                    [](const Source& former) { return !former.collector.lastWhole().empty(); });
    sources_ = std::move(sources);
    if (chosen_ && !sourceOf(*chosen_))
        chosen_.reset();
    return hasLostTable;
}

AITFeed::Source* AITFeed::sourceOf(unsigned pid)
{
    const auto found = std::find_if(sources_.begin(), sources_.end(),
                                    [pid](const Source& each) { return each.stream.pid == pid; });
    return found == sources_.end() ? nullptr : &*found;
}

void AITFeed::takeSection(uint32_t tuning, unsigned pid, ByteReader bytes, uint64_t now)
{
    advance(now);
    Source* const source = pid <= mostPID ? sourceOf(pid) : nullptr;
    const size_t size = sectionSize(bytes.data(), bytes.remaining());
    if (tuning != tuning_ || tuning == 0)
        refuse(pid, {HBBTV_KIT_SECTION_LATE, 0, 0});
    else if (!source || !mayHaveTable(pid))
        refuse(pid, {HBBTV_KIT_SECTION_UNLISTED, 0, 0});
    else if (size == 0)
        refuse(pid, {HBBTV_KIT_SECTION_INCOMPLETE, 0, 0});
    else
        takeWholeSection(*source, bytes.take(size));
    // After the section: it may be what shows that the table is still there.
    lookAtTime();
    tellReports();
}

void AITFeed::takeWholeSection(Source& source, ByteReader section)
{
    // Nearly all that comes is a repetition.
    if (!source.collector.holds(section)) {
        const SectionFinding finding = examine(section);
        if (finding.fault != HBBTV_KIT_SECTION_OK)
            return refuse(source.stream.pid, finding);
        if (!isOfType(source, section))
            return refuse(source.stream.pid,
                          {HBBTV_KIT_SECTION_TYPE, AITLayout::applicationType, 0});
    }
    count(HBBTV_KIT_SECTION_OK);
    const TableCollector::Result result = source.collector.add(section, now_);
    if (result == TableCollector::Result::Stuck)
        reportIncomplete(source, section);
    if (result == TableCollector::Result::Stuck || result == TableCollector::Result::Collected)
        return;
    source.repetitions = result == TableCollector::Result::Completed ? 0 : source.repetitions + 1;
    if (result == TableCollector::Result::Completed)
        offer(source, false);
    else if (source.isUnsettled)
        offer(source, true);
    if (!source.isRefused)
        lastSeen_ = source.lastSeen = now_;
}

void AITFeed::reportIncomplete(const Source& source, ByteReader section)
{
    HBBTV_KitFeedReport told = reportOf(HBBTV_KIT_FEED_TABLE_INCOMPLETE, source.stream.pid);
    told.version = versionOf(section.data());
    told.sections = section.data()[AITLayout::lastSectionNumber] + 1u;
    told.missing = source.collector.firstMissing();
    report(told);
}

/// A wrong checksum counts more than what it may have made of the content.
SectionFinding AITFeed::examine(ByteReader section) const
{
    TableCost cost;
    SectionFinding finding =
        examineSection(section, options_.applicationType, !changes_.takesOutEmptyDescriptors, cost);
    const bool isOurs = finding.fault != HBBTV_KIT_SECTION_NOT_AIT &&
                        finding.fault != HBBTV_KIT_SECTION_LENGTH &&
                        finding.fault != HBBTV_KIT_SECTION_SYNTAX;
    if (isOurs && options_.checksChecksum && crc32(section.data(), section.remaining()) != 0)
        return {HBBTV_KIT_SECTION_CRC, section.remaining() - checksumSize, 0};
    if (finding.fault == HBBTV_KIT_SECTION_OK &&
        !isAcceptedByApplicationManager(copySection(section, changes_)))
        finding.fault = HBBTV_KIT_SECTION_REFUSED;
    return finding;
}

/// Where every type counts, the first one of a PID does: each has version numbers of its own.
bool AITFeed::isOfType(Source& source, ByteReader section) const
{
    const uint16_t type = typeOf(section.data());
    if (!source.type)
        source.type = type;
    return *source.type == type;
}

/// So that no table stands in the way of the next: what its reader refuses blocks it.
bool AITFeed::isAcceptedByApplicationManager(const Section& section) const
{
    const ref_ptr<AIT> table(new AIT(service_.originalNetworkId, service_.transportStreamId,
                                     service_.serviceId, nullptr));
    return table->parse(section.data());
}

void AITFeed::refuse(unsigned pid, const SectionFinding& finding)
{
    count(finding.fault);
    constexpr size_t mostTold = 1000;  // callers may have any number of PIDs
    if (told_.size() >= mostTold || !told_.insert({pid, finding.fault}).second)
        return;
    HBBTV_KitFeedReport told = reportOf(HBBTV_KIT_FEED_SECTION_REFUSED, pid, finding.fault);
    told.offset = finding.offset;
    told.tag = finding.tag;
    report(told);
}

// ------------------------------------------------------------------------------------------------
// Time
// ------------------------------------------------------------------------------------------------

void AITFeed::takeTime(uint64_t now)
{
    advance(now);
    lookAtTime();
    tellReports();
}

/// A clock that goes back has not gone on; but it counts from there.
void AITFeed::advance(uint64_t now)
{
    constexpr uint64_t longest = uint64_t(24) * 3600 * 1000;
    const uint64_t former = std::exchange(clock_, now);
    if (now > former)
        now_ += std::min(now - former, longest);
    if (std::exchange(waitsForTime_, false))
        lastSeen_ = tunedAt_ = now_;
}

void AITFeed::lookAtTime()
{
    if (pending_ && now_ - lastChange_ >= options_.heldUntilQuiet)
        sendPending();
    if (isFlapping_ && now_ - lastChange_ >= options_.changesWithin)
        isFlapping_ = false;
    if (joins())
        dropSilentSources();
    if ((mayHaveTable_ || pending_) && isGone(lastSeen_))
        withdraw();
}

bool AITFeed::isGone(uint64_t lastSeen) const
{
    return options_.withdrawnAfter != 0 && now_ - lastSeen >= options_.withdrawnAfter;
}

/// Of the tables that are one, each may go.
void AITFeed::dropSilentSources()
{
    bool hasLostTable = false;
    for (Source& source : sources_) {
        if (source.collector.lastWhole().empty() || !isGone(source.lastSeen))
            continue;
        forgetTable(source);
        hasLostTable = true;
    }
    if (hasLostTable)
        offerWhatIsLeft();
}

// ------------------------------------------------------------------------------------------------
// Tables
// ------------------------------------------------------------------------------------------------

/// Whether a PID that comes first may still bring the service's table: one that is named before all
/// others, then in the order of the PMT. Named ones are waited for as long as a table may stay
/// away; among equals the table's coming round decides.
bool AITFeed::mayBeAnothers(const Source& source) const
{
    const bool isAnyNamed = std::any_of(sources_.begin(), sources_.end(),
                                        [](const Source& each) { return each.stream.isNamed; });
    if (isAnyNamed && !source.stream.isNamed)
        return !isGone(tunedAt_);
    const auto first =
        std::find_if(sources_.begin(), sources_.end(), [isAnyNamed](const Source& each) {
            return each.stream.isNamed == isAnyNamed;
        });
    return &*first != &source && source.repetitions < source.collector.lastWhole().size();
}

void AITFeed::choose(const Source& source)
{
    chosen_ = source.stream.pid;
    report(reportOf(HBBTV_KIT_FEED_PID_CHOSEN, *chosen_));
}

/// Of a source whose table has gone; what has begun of another one stays.
void AITFeed::forgetTable(Source& source) const
{
    source.collector.forgetWhole();
    source.accepted.clear();
    source.isUnsettled = source.isRefused = false;
    source.type.reset();
}

/// A table of the source is whole.
void AITFeed::offer(Source& source, bool isRepeated)
{
    source.isUnsettled = true;
    source.isRefused = false;
    if (!chosen_ && !joins() && mayBeAnothers(source))
        return;
    if (waitsForPMT(source, isRepeated) || !canSend())
        return;
    if (joins())
        source.accepted = source.collector.lastWhole();
    Table table = tableOf(source);
    if (const HBBTV_KitTableFault fault = faultOf(table)) {
        source.isRefused = true;
        HBBTV_KitFeedReport told =
            reportOf(HBBTV_KIT_FEED_TABLE_REFUSED, table.pid, static_cast<int>(fault));
        told.version = table.version;
        report(told);
    } else {
        if (!chosen_ && !joins())
            choose(source);
        takeEffect(std::move(table));
    }
    source.isUnsettled = false;
}

/// One of the tables that are one has gone.
void AITFeed::offerWhatIsLeft()
{
    const auto left = std::find_if(sources_.begin(), sources_.end(), [](const Source& source) {
        return !source.collector.lastWhole().empty();
    });
    if (left == sources_.end())
        withdraw();
    else
        offer(*left, true);
}

/// What the PMT does not announce may be the last of a table that is over. Such a one is not
/// repeated; and the PMT may as well be wrong for ever.
bool AITFeed::waitsForPMT(Source& source, bool isRepeated)
{
    const uint8_t version = versionOf(source.collector.lastWhole().front().data());
    const auto announced = source.stream.version;
    if (!options_.heedsAnnouncedVersion || isRepeated || !announced || *announced == version)
        return false;
    if (std::exchange(source.heldVersion, version) != version) {
        HBBTV_KitFeedReport told = reportOf(HBBTV_KIT_FEED_TABLE_HELD_FOR_PMT, source.stream.pid);
        told.version = version;
        report(told);
    }
    return true;
}

AITFeed::Table AITFeed::tableOf(const Source& source) const
{
    Table table;
    table.pid = source.stream.pid;
    table.version = versionOf(source.collector.lastWhole().front().data());
    if (!joins()) {
        append(table, source.collector.lastWhole());
        return table;
    }
    size_t sections = 0;
    for (const Source& each : sources_)
        sections += each.accepted.size();
    table.hasTooManySections = sections > mostSections;
    if (table.hasTooManySections)
        return table;  // not copied only to be refused
    CommonTransports transports;
    for (const Source& each : sources_) {
        append(table, each.accepted);
        if (!addCommonTransports(each.accepted, transports))
            table.doLabelsClash = true;
    }
    return table;
}

void AITFeed::append(Table& table, const WholeTable& sections) const
{
    for (const Section& section : sections) {
        examineSection(readerOf(section), anyApplicationType, false, table.cost);
        table.sections.push_back(copySection(readerOf(section), changes_));
    }
}

/// Numbers the sections of a table that fits.
HBBTV_KitTableFault AITFeed::faultOf(Table& table) const
{
    if (table.hasTooManySections)
        return HBBTV_KIT_TABLE_SECTIONS;
    if (table.cost.applications > options_.mostApplications)
        return HBBTV_KIT_TABLE_APPLICATIONS;
    if (table.cost.textBytes > options_.mostTextBytes)
        return HBBTV_KIT_TABLE_TEXT;
    if (table.cost.labels > options_.mostLabels)
        return HBBTV_KIT_TABLE_LABELS;
    if (table.doLabelsClash)
        return HBBTV_KIT_TABLE_LABELS_CLASH;
    const auto last = static_cast<uint8_t>(table.sections.size() - 1);
    for (size_t i = 0; i < table.sections.size(); ++i)
        setNumber(table.sections[i], static_cast<uint8_t>(i), last);
    return HBBTV_KIT_TABLE_OK;
}

/// Sends a table that is another one than the one in force.
void AITFeed::takeEffect(Table table)
{
    // The versions of several tables say nothing of the one that they are.
    if (options_.numbersVersions || joins()) {
        for (Section& section : table.sections)
            setVersion(section, 0);
    }
    for (Section& section : table.sections)
        setChecksum(section);
    const bool isInForce = inForce_ && *inForce_ == table.sections;
    if (pending_ ? pending_->sections == table.sections : isInForce)
        return;
    noteChange();
    if (isInForce)
        pending_.reset();
    else if (isFlapping_ && options_.heldUntilQuiet != 0)
        pending_ = std::move(table);
    else
        send(table);
}

void AITFeed::noteChange()
{
    lastChange_ = now_;
    changeTimes_.push_back(now_);
    while (!changeTimes_.empty() && now_ - changeTimes_.front() >= options_.changesWithin)
        changeTimes_.pop_front();
    if (changeTimes_.size() <= options_.mostChanges)
        return;
    changeTimes_.pop_front();
    if (!std::exchange(isFlapping_, true))
        report(reportOf(HBBTV_KIT_FEED_FLAPPING));
}

void AITFeed::nameService(HBBTV_EventData& record) const
{
    record.ait.original_network_id = service_.originalNetworkId;
    record.ait.transport_stream_id = service_.transportStreamId;
    record.ait.service_id = service_.serviceId;
    record.ait.channelHandle = service_.channel;
}

/// All its sections in one go, so that no other event comes between them.
void AITFeed::send(const Table& table)
{
    uint8_t version = table.version;
    if (options_.numbersVersions || joins()) {
        // 0 is that of tables that were no sections.
        lastVersion_ =
            lastVersion_ == lastVersionNumber ? uint8_t{1} : static_cast<uint8_t>(lastVersion_ + 1);
        version = lastVersion_;
    }
    std::vector<OutgoingSection> outgoing;
    for (Section section : table.sections) {
        setVersion(section, version);
        setChecksum(section);
        outgoing.push_back({newRecord(), copyOf(section)});
    }
    inForce_ = table.sections;
    mayHaveTable_ = true;
    pending_.reset();
    for (OutgoingSection& out : outgoing) {
        nameService(*out.record);
        out.record->ait.section = out.section.release();
        vesta_hbbtv_send_event(E_AIT_SECTION, out.record.release());
    }
    HBBTV_KitFeedReport told = reportOf(HBBTV_KIT_FEED_TABLE_SENT, table.pid);
    told.version = table.version;
    told.sentVersion = version;
    told.sections = static_cast<unsigned>(table.sections.size());
    told.applications = static_cast<unsigned>(table.cost.applications);
    report(told);
}  // NOLINT(clang-analyzer-unix.Malloc): the records are the application manager's

/// What has come and gone in the meantime is as if it had not been.
void AITFeed::sendPending()
{
    if (!canSend())
        return;
    const Table table = *pending_;
    if (inForce_ && *inForce_ == table.sections)
        pending_.reset();
    else
        send(table);
}

/// The application of a table that is gone, or of the service before, is to end: no table will say
/// so. Whatever comes from now on is a new table.
void AITFeed::withdraw()
{
    for (Source& source : sources_)
        forgetTable(source);
    pending_.reset();
    if (!mayHaveTable_ || !canSend())
        return;
    Record record = newRecord();
    inForce_.reset();
    mayHaveTable_ = false;
    nameService(*record);
    vesta_hbbtv_send_event(E_AIT_SECTION, record.release());
    report(reportOf(HBBTV_KIT_FEED_WITHDRAWN));
}

// ------------------------------------------------------------------------------------------------
// Reports
// ------------------------------------------------------------------------------------------------

void AITFeed::report(const HBBTV_KitFeedReport& report)
{
    if (options_.listener)
        reports_.push_back(report);
}

/// When everything is done: the listener may call the feed.
void AITFeed::tellReports()
{
    while (!reports_.empty()) {
        const HBBTV_KitFeedReport told = reports_.front();
        reports_.pop_front();
        options_.listener(&told, options_.context);
    }
}

}  // namespace VestaHbbTV
