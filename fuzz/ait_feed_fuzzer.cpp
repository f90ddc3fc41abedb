// Whatever the demultiplexer delivers, the application manager gets whole tables that it accepts:
// none is left half received. Sections and PMTs are taken from the input and made right enough to
// be looked at.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "fuzz/choices.h"
#include "kit/ait_section.h"
#include "lifecycle/window.h"
#include "signalling/ait.h"
#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"
#include "tests/support/journal.h"
#include "tests/support/section_builder.h"
#include "vesta_hbbtv_kit.h"

using namespace VestaHbbTV;
using namespace vesta::test;
using namespace vesta::fuzz;

namespace {

const uint16_t pids[] = {0x100, 0x101, 0x102, 0x1FFF};

class Driver {
public:
    Driver(const uint8_t* data, size_t size) : choices_(data, size)
    {
        FakeBrowser::instance().reset();
        FakePlatform::instance().reset();
        vesta_hbbtv_init(FakeBrowser::instance().handle());
        window_ = vesta_hbbtv_create_window();
        vesta_hbbtv_set_broadcast_window(window_);
        hbbtv_kit_feed_get_defaults(&options_);
        options_.joinsPIDs = choices_.flag();
        options_.takesOutEmptyDescriptors = choices_.flag();
        options_.numbersVersions = choices_.flag();
        options_.heedsAnnouncedVersion = choices_.flag();
        options_.carriedMajor = choices_.below(3);
        options_.carriedMinor = choices_.byte();
        options_.applicationType = choices_.flag() ? 0x0010 : 0;
        options_.mostApplications = choices_.byte();
        options_.mostTextBytes = choices_.byte() * 16U;
        options_.mostLabels = choices_.byte();
        options_.mostChanges = choices_.byte();
        options_.changesWithin = choices_.byte() * 64U;
        options_.heldUntilQuiet = choices_.byte() * 16U;
        options_.withdrawnAfter = choices_.byte() * 64U;
        options_.listener = [](const HBBTV_KitFeedReport* report, void* driver) {
            ++static_cast<Driver*>(driver)->reports_[report->event];
        };
        options_.context = this;
        feed_ = hbbtv_kit_feed_create(&options_);
        tuning_ = hbbtv_kit_feed_tune(feed_, 1, 2, 3, nullptr);
        givePMT();
    }
    ~Driver()
    {
        hbbtv_kit_feed_destroy(feed_);
        vesta_hbbtv_shutdown();
        Journal::instance().clear();
    }

    void run()
    {
        while (!choices_.empty()) {
            step();
            while (vesta_hbbtv_tick()) {
            }
            if (static_cast<Window*>(window_)->getAssemblyAIT()) {
                std::fputs("violated: a table is left half received\n", stderr);
                std::abort();
            }
        }
    }

private:
    void step()
    {
        now_ += choices_.byte() * 16U;
        switch (choices_.below(8)) {
        case 0:
            service_ = choices_.byte();
            tuning_ = hbbtv_kit_feed_tune(feed_, 1, 2, service_, nullptr);
            givePMT();
            break;
        case 1:
            givePMT();
            break;
        case 2:
            hbbtv_kit_feed_time(feed_, now_);
            break;
        case 3:
            give(rawBytes());
            break;
        default:
            give(section());
            break;
        }
    }

    Bytes rawBytes()
    {
        Bytes bytes(choices_.byte());
        for (unsigned char& byte : bytes)
            byte = choices_.byte();
        return bytes;
    }

    /// With any content, but with the length and the checksum that it should have.
    Bytes section()
    {
        Bytes content = rawBytes();
        const uint8_t last = choices_.below(3);
        AITSection made;
        made.version(choices_.byte() & 0x1F).number(choices_.below(last + 1), last);
        made.common(choices_.flag() ? httpTransport(1, "http://a.example/") : Bytes());
        if (choices_.flag())
            made.add(AITEntry(1, choices_.byte()).http(1, "http://a.example/").location("i"));
        made.add(content);
        Bytes bytes = made.bytes();
        bytes[choices_.byte() % bytes.size()] ^= static_cast<unsigned char>(choices_.below(4));
        if (bytes.size() >= AITLayout::leastSize && choices_.byte() != 0)
            setChecksum(bytes);
        return bytes;
    }

    void give(const Bytes& section)
    {
        const auto block = exactBlock(section);
        const uint32_t tuning = choices_.byte() == 0 ? tuning_ - 1 : tuning_;
        hbbtv_kit_feed_section(feed_, tuning, choices_.of(pids), block.get(), section.size(), now_);
    }

    void givePMT()
    {
        Bytes section = {0x02, 0xB0, 0, 0, service_, 0xC1, 0, 0, 0xE1, 0, 0xF0, 0};
        for (uint8_t streams = choices_.below(4); streams > 0; --streams) {
            Bytes descriptors;
            if (choices_.flag())
                descriptors = descriptor(0x6F, {0x80, choices_.flag() ? uint8_t{0x10} : uint8_t{1},
                                                static_cast<uint8_t>(choices_.byte() & 0x1F)});
            const uint16_t pid = choices_.of(pids);
            section = section + Bytes{5, static_cast<uint8_t>(0xE0 | (pid >> 8)),
                                      static_cast<uint8_t>(pid), 0xF0,
                                      static_cast<uint8_t>(descriptors.size())};
            section = section + descriptors;
        }
        section = section + Bytes(4);
        section[2] = static_cast<uint8_t>(section.size() - AITLayout::headerSize);
        setChecksum(section);
        if (choices_.below(8) == 0)
            section[choices_.byte() % section.size()] = choices_.byte();
        const auto block = exactBlock(section);
        hbbtv_kit_feed_pmt(feed_, tuning_, block.get(), section.size(), now_);
    }

    Choices choices_;
    HBBTV_KitFeedOptions options_;
    void* window_ = nullptr;
    HBBTV_KitAITFeed* feed_ = nullptr;
    uint32_t tuning_ = 0;
    uint8_t service_ = 3;
    uint64_t now_ = 0;
    unsigned reports_[HBBTV_KIT_FEED_FLAPPING + 1] = {};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Driver(data, size).run();
    return 0;
}
