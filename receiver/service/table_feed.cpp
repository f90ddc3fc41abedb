#include "receiver/service/table_feed.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "foundation/byte_reader.h"
#include "receiver/integration/channel_reference.h"

namespace receiver {

namespace {

// How often an AIT comes round while it waits for the SDT.
const unsigned mostHeldRounds = 8;

HBBTV_KitFeedOptions optionsFor(const HbbTVVersion& carried)
{
    HBBTV_KitFeedOptions options;
    hbbtv_kit_feed_get_defaults(&options);
    // In a recording a table may come once, and PMTs announce versions that never come.
    options.heedsAnnouncedVersion = 0;
    options.carriedMajor = carried.major;
    options.carriedMinor = carried.minor;
    options.carriedMicro = carried.micro;
    return options;
}

bool isSameTriplet(const Service& one, const Service& other)
{
    return one.programNumber == other.programNumber &&
           one.transportStreamId == other.transportStreamId &&
           one.originalNetworkId == other.originalNetworkId;
}

/// The CRC_32 of a section, which tells contents apart.
uint32_t checksumOf(const SectionBytes& section)
{
    const size_t size = 4;
    return section.size() < size
               ? 0
               : VestaHbbTV::ByteReader(section.data() + section.size() - size, size).u32();
}

std::string versionText(unsigned version)
{
    return "AIT version " + std::to_string(version);
}

std::string placeOf(const HBBTV_KitFeedReport& report)
{
    char tag[sizeof(", tag 0xff")] = "";
    if (report.tag != 0)
        std::snprintf(tag, sizeof(tag), ", tag 0x%02x", report.tag & 0xFFu);
    return " at offset " + std::to_string(report.offset) + tag;
}

/// Whether a section with it is nothing wrong, but somebody else's.
bool isForOthers(int fault)
{
    return fault == HBBTV_KIT_SECTION_NOT_AIT || fault == HBBTV_KIT_SECTION_TYPE ||
           fault == HBBTV_KIT_SECTION_TEST || fault == HBBTV_KIT_SECTION_NOT_CURRENT ||
           fault == HBBTV_KIT_SECTION_UNLISTED;
}

}  // namespace

TableFeed::TableFeed(const HbbTVVersion& carried, EventLog& log, TableBook& book, Remark remark)
    : log_(log), book_(book), remark_(std::move(remark))
{
    HBBTV_KitFeedOptions options = optionsFor(carried);
    options.context = this;
    options.listener = [](const HBBTV_KitFeedReport* report, void* self) {
        static_cast<TableFeed*>(self)->hear(*report);
    };
    feed_.reset(hbbtv_kit_feed_create(&options));
}

void TableFeed::leave(const Service& next)
{
    forget();
    tune(next);
}

void TableFeed::forget()
{
    hasBegun_ = hasSent_ = isInForce_ = false;
    service_.reset();
    pmt_.clear();
    held_.clear();
    firstHeld_.reset();
    rounds_ = 0;
    chosen_.reset();
    announced_.clear();
    latest_.clear();
    listsTables_ = false;
    problem_.clear();
    book_.clear();
}

void TableFeed::tune(const Service& service)
{
    tuned_ = service;
    takenBefore_ = taken();
    tuning_ = hbbtv_kit_feed_tune(
        feed_.get(), service.originalNetworkId.value_or(0), service.transportStreamId,
        service.programNumber, channelReference(service.transportStreamId, service.programNumber));
}

void TableFeed::join(const Service& service, const ProgramMap& map)
{
    service_ = service;
    pmt_ = map.section;
    const std::vector<uint16_t> pids = map.tablePids();
    listsTables_ = !pids.empty();
    if (chosen_ && std::find(pids.begin(), pids.end(), *chosen_) == pids.end())
        chosen_.reset();
    if (hasBegun_ || service.originalNetworkId || pids.empty())
        begin();
}

void TableFeed::learn(const Service& service)
{
    if (!service_)
        return;
    service_ = service;
    if (service.originalNetworkId && !(hasBegun_ && isSameTriplet(*tuned_, service)))
        begin();
}

void TableFeed::giveUpWaiting()
{
    if (service_ && !hasBegun_)
        begin();
}

void TableFeed::begin()
{
    hasBegun_ = true;
    if (!tuned_ || !isSameTriplet(*tuned_, *service_))
        tune(*service_);
    givePMT();
    for (auto& [pid, table] : held_) {
        for (const SectionBytes& section : table.take())
            give(pid, section);
    }
    held_.clear();
}

void TableFeed::givePMT()
{
    hbbtv_kit_feed_pmt(feed_.get(), tuning_, pmt_.data(), pmt_.size(), now_);
}

void TableFeed::take(uint16_t pid, const SectionBytes& section)
{
    if (hasBegun_)
        give(pid, section);
    else if (isHbbTVTable(section))
        hold(pid, section);
}

void TableFeed::give(uint16_t pid, const SectionBytes& section)
{
    if (isHbbTVTable(section) && pid == chosen_.value_or(pid))
        note(pid, section);
    hbbtv_kit_feed_section(feed_.get(), tuning_, pid, section.data(), section.size(), now_);
}

void TableFeed::hold(uint16_t pid, const SectionBytes& section)
{
    remark_("left-out", "held back: an AIT before the network is known");
    const std::pair<uint16_t, uint8_t> place(pid, readSectionHeader(section).sectionNumber);
    if (held_[pid].add(section) && place == firstHeld_)
        ++rounds_;
    if (!firstHeld_)
        firstHeld_ = place;
    size_t bytes = 0;
    for (const auto& [each, table] : held_)
        bytes += table.bytes();
    if (rounds_ >= mostHeldRounds || bytes > mostHeldBytes)
        begin();
}

/// Says that a section came that was not there before; the air repeats them all the time.
void TableFeed::note(uint16_t pid, const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    const uint32_t checksum = checksumOf(section);
    constexpr size_t mostAnnounced = 4096;
    if (announced_.size() > mostAnnounced)
        announced_.clear();
    const auto [known, isNew] = announced_.try_emplace(
        std::make_tuple(pid, header.version, header.sectionNumber), checksum);
    if (!isNew && std::exchange(known->second, checksum) == checksum)
        return;
    constexpr size_t mostPids = 16;  // that the feed looks at
    if (latest_.count(pid) != 0 || latest_.size() < mostPids)
        latest_[pid].add(section);
    const std::string place = header.lastSectionNumber == 0
                                  ? ""
                                  : ", section " + std::to_string(header.sectionNumber + 1) +
                                        " of " + std::to_string(header.lastSectionNumber + 1);
    log_.report(Source::Air, "ait",
                versionText(header.version) + place + ", " + withSeparators(section.size()) +
                    " bytes",
                {{"version", header.version},
                 {"section", header.sectionNumber},
                 {"last_section", header.lastSectionNumber},
                 {"size", section.size()}});
}

void TableFeed::setTime(uint64_t milliseconds)
{
    now_ = milliseconds;
    hbbtv_kit_feed_time(feed_.get(), now_);
}

/// The table of that PID is the service's.
void TableFeed::writeBook(uint16_t pid)
{
    book_.clear();
    for (const auto& [number, section] : latest_[pid].sections())
        book_.note(section);
}

void TableFeed::complain(const std::string& problem)
{
    problem_ = problem;
    remark_("ait-problem", problem);
}

void TableFeed::hear(const HBBTV_KitFeedReport& report)
{
    switch (report.event) {
    case HBBTV_KIT_FEED_SECTION_REFUSED:
        return hearOfSection(report);
    case HBBTV_KIT_FEED_TABLE_REFUSED:
        return complain(versionText(report.version) +
                        " is refused: " + hbbtv_kit_table_fault_text(report.fault));
    case HBBTV_KIT_FEED_TABLE_INCOMPLETE:
        return complain(versionText(report.version) + " is not complete: of " +
                        std::to_string(report.sections) + " sections, number " +
                        std::to_string(report.missing + 1) + " did not come");
    case HBBTV_KIT_FEED_FLAPPING:
        return complain("the AIT changes all the time");
    case HBBTV_KIT_FEED_PID_CHOSEN:
        chosen_ = static_cast<uint16_t>(report.pid);
        return;
    case HBBTV_KIT_FEED_TABLE_SENT:
        hasSent_ = isInForce_ = true;
        writeBook(static_cast<uint16_t>(report.pid));
        log_.report(Source::Receiver, "ait-sent",
                    versionText(report.version) + " is sent as version " +
                        std::to_string(report.sentVersion),
                    {{"version", report.version},
                     {"sent_version", report.sentVersion},
                     {"sections", report.sections},
                     {"applications", report.applications}});
        return;
    case HBBTV_KIT_FEED_WITHDRAWN:
        if (std::exchange(isInForce_, false) && listsTables_)
            log_.report(Source::Air, "ait-gone", "the AIT does not come any more",
                        {{"service", tuned_->programNumber}});
        announced_.clear();
        return;
    default:
        return;
    }
}

void TableFeed::hearOfSection(const HBBTV_KitFeedReport& report)
{
    const bool isSecond =
        report.fault == HBBTV_KIT_SECTION_UNLISTED && chosen_ && *chosen_ != report.pid;
    const std::string what =
        isSecond ? "a second AIT of the service" : hbbtv_kit_section_fault_text(report.fault);
    const std::string pid = "PID " + std::to_string(report.pid);
    if (isForOthers(report.fault))
        remark_("left-out", "left out: " + pid + ", " + what);
    else
        complain("a section of the AIT on " + pid + " is refused: " + what + placeOf(report));
}

}  // namespace receiver
