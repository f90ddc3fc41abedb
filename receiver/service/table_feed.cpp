#include "receiver/service/table_feed.h"

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
    rounds_ = 0;
    chosen_.reset();
    announced_.clear();
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
    if (hasBegun_)
        givePMT();
    else if (service.originalNetworkId || map.signalling() == ApplicationSignalling::None)
        begin();
}

void TableFeed::learn(const Service& service)
{
    if (!service_)
        return;
    service_ = service;
    if (!hasBegun_ && service.originalNetworkId)
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
    if (held_[pid].add(section))
        ++rounds_;
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
    const auto [known, isNew] = announced_.try_emplace({pid, header.sectionNumber}, checksum);
    if (!isNew && std::exchange(known->second, checksum) == checksum)
        return;
    book_.note(section);
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

bool TableFeed::hasCome() const
{
    return !held_.empty() || taken() > takenBefore_;
}

void TableFeed::hear(const HBBTV_KitFeedReport& report)
{
    switch (report.event) {
    case HBBTV_KIT_FEED_SECTION_REFUSED:
        return hearOfSection(report);
    case HBBTV_KIT_FEED_TABLE_REFUSED:
        return remark_("ait-problem", versionText(report.version) + " is refused: " +
                                          hbbtv_kit_table_fault_text(report.fault));
    case HBBTV_KIT_FEED_TABLE_INCOMPLETE:
        return remark_("ait-problem", versionText(report.version) + " is not complete: of " +
                                          std::to_string(report.sections) + " sections, number " +
                                          std::to_string(report.missing + 1) + " did not come");
    case HBBTV_KIT_FEED_FLAPPING:
        return remark_("ait-problem", "the AIT changes all the time");
    case HBBTV_KIT_FEED_PID_CHOSEN:
        chosen_ = static_cast<uint16_t>(report.pid);
        return;
    case HBBTV_KIT_FEED_TABLE_SENT:
        hasSent_ = isInForce_ = true;
        log_.report(Source::Receiver, "ait-sent",
                    versionText(report.version) + " is sent as version " +
                        std::to_string(report.sentVersion),
                    {{"version", report.version},
                     {"sent_version", report.sentVersion},
                     {"sections", report.sections},
                     {"applications", report.applications}});
        return;
    case HBBTV_KIT_FEED_WITHDRAWN:
        isInForce_ = false;
        announced_.clear();
        return;
    default:
        return;
    }
}

void TableFeed::hearOfSection(const HBBTV_KitFeedReport& report)
{
    // The PMT lists it: the other sections do not come here.
    const std::string what = report.fault == HBBTV_KIT_SECTION_UNLISTED
                                 ? "a second AIT of the service"
                                 : hbbtv_kit_section_fault_text(report.fault);
    const std::string pid = "PID " + std::to_string(report.pid);
    if (isForOthers(report.fault))
        remark_("left-out", "left out: " + pid + ", " + what);
    else
        remark_("ait-problem",
                "a section of the AIT on " + pid + " is refused: " + what + placeOf(report));
}

}  // namespace receiver
