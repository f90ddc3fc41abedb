// Why a section or a table is not taken.

#include "tests/stories/reasons_fixture.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class SectionReasons : public ReasonsTest {
protected:
    static AITSection table(uint8_t version) { return AITSection().version(version).add(entry()); }
    static AITEntry entry() { return httpApplication(1, 1); }

    /// A table whose entry is these bytes.
    void tuneToEntry(const Bytes& bytes) { tune(AITSection().version(1).add(bytes)); }

    /// A listener does so when it hears of the next table.
    static void putANewerTableInForceMeanwhile()
    {
        listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [](HBBTV_NotificationData*) {
            listener().onNotification.clear();
            sendAIT(table(9));
            vesta_hbbtv_tick();
        };
    }

    /// Where the first entry stands in a section without common descriptors.
    static constexpr uint32_t firstEntry = 12;
};

TEST_F(SectionReasons, NoBroadcastWindow)
{
    vesta_hbbtv_release_window(window());
    tune(table(1));
    expectReason(HBBTV_REASON_SECTION_NO_BROADCAST_WINDOW);
}

TEST_F(SectionReasons, NotRunning)
{
    platform().whileIn["hbbtv_ait_start"] = [] {
        vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
        deliver(table(1));
        vesta_hbbtv_tick();
    };
    vesta_hbbtv_shutdown();
    vesta_hbbtv_init(browser().handle());
    platform().whileIn.clear();
    expectReason(HBBTV_REASON_SECTION_NOT_RUNNING);
}

TEST_F(SectionReasons, AnotherTable)
{
    tune(table(1).tableId(0x70));
    expectReason(HBBTV_REASON_SECTION_NOT_AIT, "0.0", 0x74, 0x70);
}

TEST_F(SectionReasons, TooShort)
{
    tune(table(1).sectionLength(4));
    expectReason(HBBTV_REASON_SECTION_TOO_SHORT, "0.0", 0, 4);
}

TEST_F(SectionReasons, TheCommonLoopLeavesTheSection)
{
    tune(table(1).commonLength(0xFFF));
    expectReason(HBBTV_REASON_SECTION_COMMON_LOOP, "0.0", 8, 0xFFF);
}

TEST_F(SectionReasons, TheApplicationLoopLeavesTheSection)
{
    tune(table(1).applicationLoopLength(0xFFF));
    expectReason(HBBTV_REASON_SECTION_APPLICATION_LOOP, "0.0", 10, 0xFFF);
}

TEST_F(SectionReasons, AnApplicationLeavesTheSection)
{
    tuneToEntry(entry().loopLength(0xFFE).bytes());
    expectReason(HBBTV_REASON_SECTION_APPLICATION, "1.1", firstEntry, 0xFFE);
}

TEST_F(SectionReasons, ADescriptorLeavesItsLoop)
{
    tuneToEntry(AITEntry(1, 2).withoutApplicationDescriptor().raw({0x15, 9, 'a'}).bytes());
    expectReason(HBBTV_REASON_SECTION_DESCRIPTOR, "1.2", firstEntry + 9, 0x15);
    send(E_CHANNEL_CHANGE);
    tune(AITSection().version(2).common({0x02, 9, 0}));
    expectReason(HBBTV_REASON_SECTION_DESCRIPTOR, "0.0", 10, 0x02);
}

TEST_F(SectionReasons, ADescriptorIsEmpty)
{
    tuneToEntry(AITEntry(1, 2).withoutApplicationDescriptor().usage(1).raw({0x5F, 0}).bytes());
    expectReason(HBBTV_REASON_SECTION_EMPTY_DESCRIPTOR, "1.2", firstEntry + 9 + 3, 0x5F);
}

TEST_F(SectionReasons, ANameLeavesItsLoop)
{
    tuneToEntry(
        AITEntry(1, 2).withoutApplicationDescriptor().raw({0x01, 4, 'e', 'n', 'g', 9}).bytes());
    expectReason(HBBTV_REASON_SECTION_NAME, "1.2", firstEntry + 9, 0x01);
}

TEST_F(SectionReasons, AnotherVersionIsBeingCollected)
{
    tune(table(1).number(0, 1));
    tune(table(2));
    expectReason(HBBTV_REASON_SECTION_OTHER_VERSION, "0.0", 1, 2);
}

TEST_F(SectionReasons, ARefusedSectionClosesItsTable)
{
    tuneToEntry({0, 0, 0});
    forgetReasons();
    tune(table(2));
    expectReason(HBBTV_REASON_SECTION_TABLE_CLOSED, "0.0", 1, 2);
}

TEST_F(SectionReasons, ARepetitionWhileATableIsCollected)
{
    tune(table(1).number(1, 2));
    expectReason(HBBTV_REASON_TABLE_INCOMPLETE, "0.0", 0, 2);
    tune(table(1).number(1, 2));
    expectReason(HBBTV_REASON_SECTION_REPEATED, "0.0", 0, 1);
    tune(table(1).number(0, 2));
    expectReason(HBBTV_REASON_TABLE_INCOMPLETE, "0.0", 2, 2);
}

TEST_F(SectionReasons, TheVersionIsInForce)
{
    tune(table(3));
    expectReason(HBBTV_REASON_TABLE_IN_FORCE, "0.0", 0, 3);
    tune(table(3));
    expectReason(HBBTV_REASON_SECTION_VERSION_IN_FORCE, "0.0", 0, 3);
}

TEST_F(SectionReasons, AListenerPutANewerTableInForce)
{
    putANewerTableInForceMeanwhile();
    tune(table(3));
    expectReason(HBBTV_REASON_TABLE_SUPERSEDED, "0.0", 0, 3);
}

TEST_F(SectionReasons, AnXMLTableThatIsOvertakenOrLateIsSaid)
{
    putANewerTableInForceMeanwhile();
    sendXMLAIT({entry()});
    tickAll();
    expectReason(HBBTV_REASON_TABLE_SUPERSEDED);
    Window* const other = createWindow("other");
    sendXMLAIT({entry()}, other);
    vesta_hbbtv_release_window(other);
    tickAll();
    expectReason(HBBTV_REASON_TABLE_NO_WINDOW);
    sendXMLAIT({entry()});
    tickAll();
    expectReason(HBBTV_REASON_TABLE_IN_FORCE);
}

TEST_F(SectionReasons, TheChannelChangedOrTheTableIsGone)
{
    tune(table(3));
    send(E_CHANNEL_CHANGE);
    tickAll();
    expectReason(HBBTV_REASON_TABLE_VOID);
    send(E_AIT_SECTION, noSectionRecord(0));
    tickAll();
    expectReason(HBBTV_REASON_TABLE_GONE);
}

TEST_F(SectionReasons, ATableWithoutAutostart)
{
    tune(AITSection().add(entry().controlCode(2)).add(AITEntry(1, 2)));
    EXPECT_EQ(heard.lines(),
              Lines({HeardDecisions::describe(HBBTV_REASON_TABLE_IN_FORCE),
                     HeardDecisions::describe(HBBTV_REASON_START_NO_TRANSPORT, "1.2"),
                     HeardDecisions::describe(HBBTV_REASON_TABLE_WITHOUT_AUTOSTART, "0.0", 0, 2)}));
    EXPECT_EQ(heard.decisions[0].window, window());
    EXPECT_EQ(heard.decisions[0].verdict, 1);
    EXPECT_EQ(heard.decisions[2].verdict, 0);
}

}  // namespace
