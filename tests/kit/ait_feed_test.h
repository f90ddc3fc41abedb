/// What the tests of the feed share.
#ifndef VESTA_TESTS_KIT_AIT_FEED_TEST_H
#define VESTA_TESTS_KIT_AIT_FEED_TEST_H

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "signalling/ait.h"
#include "tests/kit/pmt_bytes.h"
#include "tests/support/library_test.h"
#include "vesta_hbbtv_kit.h"

namespace VestaHbbTV {

using namespace vesta::test;

constexpr uint16_t pid = 0x101;
constexpr uint16_t otherPid = 0x102;

inline AITEntry entry(uint16_t applicationId, const std::string& page = "index.html")
{
    return AITEntry(0x0A, applicationId).http(1, "http://a.example/").location(page);
}

inline AITSection table(uint8_t version, uint16_t applicationId)
{
    return AITSection().version(version).add(entry(applicationId));
}

/// A feed that is tuned to the service 1.2.3, whose AITs are on `pid`.
class AITFeedTest : public LibraryTest {
public:  // for its listeners
    AITFeedTest()
    {
        hbbtv_kit_feed_get_defaults(&options);
        options.listener = [](const HBBTV_KitFeedReport* report, void* self) {
            static_cast<AITFeedTest*>(self)->hear(*report);
        };
        options.context = this;
        make();
    }
    ~AITFeedTest() override { hbbtv_kit_feed_destroy(feed); }

    /// Anew, with the options as they are.
    void make()
    {
        hbbtv_kit_feed_destroy(feed);
        feed = hbbtv_kit_feed_create(&options);
        tune();
        givePMT({{5, pid, {}}});
    }

    void tune()
    {
        tuning = hbbtv_kit_feed_tune(feed, 1, 2, 3, &channel);
        tickAll();
    }

    void givePMT(const std::vector<PMTStream>& streams)
    {
        const Bytes section = pmtBytes(streams);
        hbbtv_kit_feed_pmt(feed, tuning, section.data(), section.size(), now);
        tickAll();
    }

    void give(const Bytes& section, uint16_t from = pid)
    {
        const auto block = exactBlock(section);
        hbbtv_kit_feed_section(feed, tuning, from, block.get(), section.size(), now);
        tickAll();
    }
    void give(const AITSection& section, uint16_t from = pid) { give(section.bytes(), from); }

    /// A new table of one application each time.
    void giveChanges(unsigned count)
    {
        for (unsigned i = 0; i < count; ++i)
            give(table(0, ++changes));
    }

    void pass(uint64_t milliseconds)
    {
        now += milliseconds;
        hbbtv_kit_feed_time(feed, now);
        tickAll();
    }

    uint64_t countOf(HBBTV_KitSectionFault fault) { return hbbtv_kit_feed_get_count(feed, fault); }

    /// "1 2" for the ids of the applications of the table in force; "-" without a table.
    std::string inForce()
    {
        const AIT* const ait = window()->getAIT();
        if (!ait)
            return "-";
        std::string ids;
        for (unsigned i = 0; i < ait->getNumApplications(); ++i)
            ids += (i ? " " : "") + std::to_string(ait->getAITApplication(i)->getApplicationId());
        return ids;
    }

    unsigned versionInForce() { return window()->getAIT()->getVersion(); }

    std::vector<std::string> takeReports() { return std::exchange(reports, {}); }

    void hear(const HBBTV_KitFeedReport& report)
    {
        static const char* const events[] = {
            "refused section", "refused table", "held",     "sent",
            "withdrawn",       "chosen",        "flapping", "incomplete"};
        std::string line = events[report.event];
        switch (report.event) {
        case HBBTV_KIT_FEED_SECTION_REFUSED:
            line += " " + std::to_string(report.fault) + " at " + std::to_string(report.offset) +
                    " tag " + std::to_string(report.tag);
            break;
        case HBBTV_KIT_FEED_TABLE_REFUSED:
            line +=
                " " + std::to_string(report.fault) + " version " + std::to_string(report.version);
            break;
        case HBBTV_KIT_FEED_TABLE_HELD_FOR_PMT:
            line += " version " + std::to_string(report.version);
            break;
        case HBBTV_KIT_FEED_TABLE_SENT:
            line += " version " + std::to_string(report.version) + " as " +
                    std::to_string(report.sentVersion) + ", " + std::to_string(report.sections) +
                    " sections, " + std::to_string(report.applications) + " applications";
            break;
        case HBBTV_KIT_FEED_TABLE_INCOMPLETE:
            line += " version " + std::to_string(report.version) + ", " +
                    std::to_string(report.missing) + " of " + std::to_string(report.sections) +
                    " missing";
            break;
        default:
            break;
        }
        if (report.pid)
            line += " of " + std::to_string(report.pid);
        EXPECT_EQ(report.size, sizeof(report));
        reports.push_back(line);
    }

    HBBTV_KitFeedOptions options;
    HBBTV_KitAITFeed* feed = nullptr;
    uint32_t tuning = 0;
    uint64_t now = 1000;
    uint16_t changes = 0;
    int channel = 0;
    std::vector<std::string> reports;
};

}  // namespace VestaHbbTV

#endif
