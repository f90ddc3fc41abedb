/// Whatever comes, the applications are those of the last whole table.
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "lifecycle/window.h"
#include "signalling/ait.h"
#include "tests/kit/pmt_bytes.h"
#include "tests/support/library_test.h"
#include "vesta_hbbtv_kit.h"

namespace VestaHbbTV {
namespace {

using namespace vesta::test;

const uint16_t pid = 0x101;
const uint16_t otherPid = 0x102;
const size_t mostMixed = 4;  // tables that are on air at the same time

/// A table on air: one application in each section, like none of any other table.
struct Broadcast {
    std::vector<Bytes> sections;
    std::set<int> applications;
    std::set<size_t> received;  // sections, since another table was whole
};

class AITFeedProperty : public LibraryTest {
protected:
    AITFeedProperty()
    {
        HBBTV_KitFeedOptions options;
        hbbtv_kit_feed_get_defaults(&options);
        options.mostChanges = 1000000;
        options.heedsAnnouncedVersion = 0;
        feed_ = hbbtv_kit_feed_create(&options);
        tune();
    }
    ~AITFeedProperty() override { hbbtv_kit_feed_destroy(feed_); }

    void tune()
    {
        onAir_.clear();
        last_.clear();
        tuning_ = hbbtv_kit_feed_tune(feed_, 1, 2, 3, nullptr);
        const Bytes pmt =
            pmtBytes({{5, otherPid, {}}, {5, pid, signallingDescriptor({{0x10, 0}})}});
        hbbtv_kit_feed_pmt(feed_, tuning_, pmt.data(), pmt.size(), now_);
        tickAll();
    }

    size_t below(size_t limit)
    {
        return std::uniform_int_distribution<size_t>(0, limit - 1)(random_);
    }
    bool chance(unsigned percent) { return below(100) < percent; }

    /// A table of a version that no other one on air has; that of the last whole table may come
    /// again with another content. Of a table that has begun the rest may come at any time, so it
    /// stays on air.
    void beginTable()
    {
        if (onAir_.size() == mostMixed) {
            const auto idle = std::find_if(onAir_.begin(), onAir_.end(), [](const auto& each) {
                return each.second.received.empty();
            });
            if (idle == onAir_.end())
                return;
            onAir_.erase(idle);
        }
        uint8_t version = 0;
        do
            version = static_cast<uint8_t>(below(32));
        while (onAir_.count(version) != 0);
        Broadcast& table = onAir_[version];
        const auto last = static_cast<uint8_t>(below(4));
        for (uint8_t number = 0; number <= last; ++number) {
            nextId_ = static_cast<uint16_t>(nextId_ % 0x7FFE + 1);
            table.applications.insert(nextId_);
            AITEntry entry = AITEntry(1, nextId_).http(1, "http://a.example/").location("i");
            if (chance(20))
                entry.raw(descriptor(0x77, {}));
            table.sections.push_back(
                AITSection().version(version).number(number, last).add(entry).bytes());
        }
    }

    void giveSection()
    {
        auto place = std::next(onAir_.begin(), static_cast<long>(below(onAir_.size())));
        Broadcast& table = place->second;
        const size_t number = below(table.sections.size());
        give(table.sections[number], pid);
        if (table.applications == last_)
            return;
        table.received.insert(number);
        if (table.received.size() < table.sections.size())
            return;
        last_ = table.applications;
        for (auto& [version, other] : onAir_)
            other.received.clear();
    }

    void giveDamaged()
    {
        const Broadcast& table =
            std::next(onAir_.begin(), static_cast<long>(below(onAir_.size())))->second;
        Bytes section = table.sections[below(table.sections.size())];
        switch (below(3)) {
        case 0:
            section[below(section.size())] ^= static_cast<unsigned char>(1 << below(8));
            break;
        case 1:
            section.resize(below(section.size()));
            break;
        default:
            for (int i = 0; i < 5; ++i)
                section[below(section.size())] ^= static_cast<unsigned char>(1 + below(255));
            break;
        }
        // Several changes may leave nothing changed.
        const bool isIntact = std::find(table.sections.begin(), table.sections.end(), section) !=
                              table.sections.end();
        if (!isIntact)
            give(section, pid);
    }

    void giveForeign()
    {
        const AITSection section =
            AITSection().version(static_cast<uint8_t>(below(32))).add(AITEntry(1, 0x7FFF));
        if (chance(50))
            give(section.bytes(), otherPid);
        else
            give(AITSection(section).applicationType(1).bytes(), pid);
    }

    void give(const Bytes& section, uint16_t from)
    {
        const auto block = exactBlock(section);
        now_ += below(300);
        hbbtv_kit_feed_section(feed_, tuning_, from, block.get(), section.size(), now_);
    }

    std::set<int> inForce()
    {
        std::set<int> ids;
        const AIT* const table = window()->getAIT();
        for (unsigned i = 0; table && i < table->getNumApplications(); ++i)
            ids.insert(table->getAITApplication(i)->getApplicationId());
        return ids;
    }

    std::mt19937 random_{20261122};
    HBBTV_KitAITFeed* feed_ = nullptr;
    uint32_t tuning_ = 0;
    uint64_t now_ = 0;
    uint16_t nextId_ = 0;
    std::map<uint8_t, Broadcast> onAir_;  // by version
    std::set<int> last_;                  // applications of the last whole table
};

TEST_F(AITFeedProperty, TheApplicationsAreThoseOfTheLastWholeTable)
{
    const char* const steps = std::getenv("VESTA_PROPERTY_STEPS");
    const unsigned long count = steps ? std::strtoul(steps, nullptr, 10) : 100000;
    unsigned changes = 0;
    std::set<int> former;
    for (unsigned long step = 0; step < count; ++step) {
        if (onAir_.empty() || chance(4))
            beginTable();
        if (chance(15))
            giveDamaged();
        else if (chance(10))
            giveForeign();
        else
            giveSection();
        tickAll();
        if (!last_.empty()) {
            ASSERT_EQ(inForce(), last_) << "step " << step;
        }
        if (last_ != former)
            ++changes;
        former = last_;
        if (chance(30))
            forgetJournal();
        if (step % 1000 == 999) {
            tune();
            former.clear();
        }
    }
    EXPECT_GT(changes, count / 50) << "too few tables came whole to show anything";
}

}  // namespace
}  // namespace VestaHbbTV
