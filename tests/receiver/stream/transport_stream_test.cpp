#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "receiver/stream/transport_stream.h"
#include "tests/receiver/support/recording_listener.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

constexpr uint16_t aitPid = 0x200;
constexpr uint16_t otherPid = 0x201;

Bytes anAit(unsigned version, bool current = true)
{
    return makeSection({0x74, 0x0010, version, current}, {0xF0, 0x00, 0xF0, 0x00});
}

Bytes aLongSection(unsigned fill)
{
    return makeSection({0x3C, 1}, ByteWriter().fill(1000, fill));
}

class TransportStreamTest : public ::testing::Test {
protected:
    // In heap blocks of exactly their size, so that a sanitizer sees one byte too far.
    void feed(const Bytes& bytes)
    {
        const auto block = std::make_unique<unsigned char[]>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), block.get());
        stream_.feed(block.get(), bytes.size());
    }

    void play(const Bytes& bytes)
    {
        feed(bytes);
        stream_.finish();
    }

    /// One section, and its header as far as eight bytes.
    void expectLeftOut(LeftOutSection::Reason reason, const Bytes& section)
    {
        ASSERT_EQ(heard_.leftOut[aitPid].size(), 1u);
        EXPECT_EQ(heard_.leftOut[aitPid].front().reason, reason);
        EXPECT_EQ(heard_.leftOut[aitPid].front().header,
                  Bytes(section.begin(), section.begin() + 8));
    }

    RecordingListener heard_;
    TransportStream stream_{heard_};
};

TEST_F(TransportStreamTest, ThousandsOfServicesFindTheirNames)
{
    const unsigned parts = 20;
    const unsigned perPart = 100;
    PacketWriter pat(0), sdt(0x11);
    Bytes bytes;
    for (unsigned part = 0; part < parts; ++part) {
        ByteWriter programs, descriptions;
        descriptions.u16(0x20FA).u8(0xFF);
        for (unsigned index = 0; index < perPart; ++index) {
            const unsigned id = part * perPart + index + 1;
            programs.u16(id).u16(0xE100);
            const Bytes name = ByteWriter().u8(1).u8(0).with8(std::to_string(id));
            const Bytes descriptor = makeDescriptor(0x48, name);
            descriptions.u16(id).u8(0xFC).u16(0x8000 | unsigned(descriptor.size()));
            descriptions.add(descriptor);
        }
        bytes = bytes + pat.section(makeSection({0, 0x441, 0, true, part, parts - 1}, programs));
        bytes =
            bytes + sdt.section(makeSection({0x42, 0x441, 0, true, part, parts - 1}, descriptions));
    }
    feed(bytes);
    const std::vector<Service>& services = stream_.services();
    ASSERT_EQ(services.size(), size_t(parts) * perPart);
    for (const Service& service : services)
        EXPECT_EQ(service.name, std::to_string(service.programNumber));
    EXPECT_EQ(services.back().originalNetworkId, 0x20FA);
    EXPECT_EQ(heard_.services.size(), 2u);
}

TEST_F(TransportStreamTest, AnSdtThatChangesAllTheTimeIsReadTwiceForAPieceOfTheStream)
{
    StreamWriter writer;
    writer.add(0, makePat(0x441, 0, {{1, 0x100}}));
    for (int number = 0; number <= 20; ++number)
        writer.add(0x11, makeSdt(0x441, 0x20FA, {{1, "name " + std::to_string(number)}}));
    writer.pause();
    RecordingListener listener;
    TransportStream stream(listener);
    stream.feed(writer.bytes().data(), writer.bytes().size());
    ASSERT_EQ(listener.services.size(), 3u);
    EXPECT_EQ(listener.services[0][0].name, "");
    EXPECT_EQ(listener.services[1][0].name, "name 0");
    EXPECT_EQ(listener.services[2][0].name, "name 20");
}

TEST_F(TransportStreamTest, ThereAreNoMoreServicesThanPids)
{
    StreamWriter writer;
    for (unsigned section = 0; section < 40; ++section) {
        ByteWriter entries;
        for (unsigned entry = 0; entry < 250; ++entry)
            entries.u16(section * 250 + entry + 1).u16(0xE100);
        writer.add(0, makeSection({0x00, 0x441, 0, true, section, 39}, entries));
    }
    writer.pause();
    RecordingListener listener;
    TransportStream stream(listener);
    stream.feed(writer.bytes().data(), writer.bytes().size());
    EXPECT_EQ(stream.services().size(), 8192u);
}

TEST_F(TransportStreamTest, ServicesComeFromThePatAndTheirNamesFromTheSdt)
{
    PacketWriter pat(0), sdt(0x11);
    play(pat.section(makePat(0x441, 0, {{0, 0x10}, {7, 0x50}, {8, 0x51}})) +
         sdt.section(makeSdt(0x441, 0x20FA, {{7, "Seven"}, {9, "Nine"}})) +
         sdt.section(makeSdt(0x442, 0x20FA, {{8, "another stream's"}}, 0x46)));

    ASSERT_EQ(heard_.services.size(), 2u);
    EXPECT_FALSE(heard_.services[0][0].originalNetworkId);
    const std::vector<Service> expected = {{7, 0x50, 0x441, 0x20FA, "Seven", 1},
                                           {8, 0x51, 0x441, 0x20FA, ""}};
    EXPECT_TRUE(heard_.services[1] == expected);
    EXPECT_TRUE(stream_.services() == expected);
}

TEST_F(TransportStreamTest, ARepeatedPmtIsToldOnceAndAnotherVersionAgain)
{
    PacketWriter pat(0), pmt(0x50);
    const Bytes first = makePmt(7, 1, {});
    const Bytes second = makePmt(7, 2, {{5, aitPid, {}}});
    play(pat.section(makePat(1, 0, {{7, 0x50}})) + pmt.section(first) + pmt.section(first) +
         pmt.section(second));

    ASSERT_EQ(heard_.pmts.size(), 2u);
    EXPECT_EQ(heard_.pmts[0].second, first);
    EXPECT_EQ(heard_.pmts[1].second, second);
    EXPECT_EQ(heard_.pmts[1].first.programNumber, 7);
}

TEST_F(TransportStreamTest, TwoServicesMayShareOnePmtPid)
{
    PacketWriter pat(0), pmt(0x50);
    play(pat.section(makePat(1, 0, {{7, 0x50}, {8, 0x50}})) + pmt.section(makePmt(8, 0, {})) +
         pmt.section(makePmt(7, 0, {})) + pmt.section(makePmt(9, 0, {})));

    ASSERT_EQ(heard_.pmts.size(), 2u);
    EXPECT_EQ(heard_.pmts[0].first.programNumber, 8);
    EXPECT_EQ(heard_.pmts[1].first.programNumber, 7);
}

TEST_F(TransportStreamTest, ANewPatReplacesServicesAndMovesTheirPmts)
{
    PacketWriter pat(0), oldPmt(0x50), newPmt(0x60);
    play(pat.section(makePat(1, 0, {{7, 0x50}})) + oldPmt.section(makePmt(7, 0, {})) +
         pat.section(makePat(1, 1, {{7, 0x60}})) + oldPmt.section(makePmt(7, 1, {})) +
         newPmt.section(makePmt(7, 2, {})));

    ASSERT_EQ(heard_.services.size(), 2u);
    EXPECT_EQ(heard_.services[1][0].pmtPid, 0x60);
    ASSERT_EQ(heard_.pmts.size(), 2u);
    EXPECT_EQ(readSectionHeader(heard_.pmts[1].second).version, 2);
}

TEST_F(TransportStreamTest, APatInTwoSectionsCountsWhenBothAreThere)
{
    PacketWriter pat(0);
    const Bytes first = makeSection({0, 1, 0, true, 0, 1}, ByteWriter().u16(7).u16(0xE050));
    const Bytes second = makeSection({0, 1, 0, true, 1, 1}, ByteWriter().u16(8).u16(0xE051));
    feed(pat.section(second));
    EXPECT_TRUE(heard_.services.empty());
    play(pat.section(first));
    ASSERT_EQ(heard_.services.size(), 1u);
    ASSERT_EQ(heard_.services[0].size(), 2u);
    EXPECT_EQ(heard_.services[0][1].programNumber, 8);
}

TEST_F(TransportStreamTest, ATableThatIsNotYetInForceIsLeftOutOfTheServices)
{
    PacketWriter pat(0);
    play(pat.section(makeSection({0, 1, 0, false}, ByteWriter().u16(7).u16(0xE050))));
    EXPECT_TRUE(heard_.services.empty());
}

TEST_F(TransportStreamTest, SectionsOfSubscribedPidsArriveWholeWithEveryRepetition)
{
    PacketWriter ait(aitPid), other(otherPid);
    stream_.subscribe(aitPid);
    play(ait.section(anAit(1)) + other.section(anAit(2)) + ait.section(anAit(1)) +
         ait.section(anAit(3, false)));

    ASSERT_EQ(heard_.sections.size(), 1u);
    ASSERT_EQ(heard_.sections[aitPid].size(), 3u);
    EXPECT_EQ(heard_.sections[aitPid][0], anAit(1));
    EXPECT_TRUE(readSectionHeader(heard_.sections[aitPid][1]).current);
    EXPECT_FALSE(readSectionHeader(heard_.sections[aitPid][2]).current);
    EXPECT_EQ(readSectionHeader(heard_.sections[aitPid][2]).version, 3);
}

TEST_F(TransportStreamTest, AListenerMayUnsubscribeThePidWhoseSectionItGets)
{
    PacketWriter ait(aitPid);
    stream_.subscribe(aitPid);
    heard_.onSection = [this](uint16_t pid, const SectionBytes&) { stream_.unsubscribe(pid); };
    ByteWriter twoSections;
    twoSections.u8(0).add(anAit(1)).add(anAit(2));
    twoSections.fill(184 - twoSections.bytes().size(), 0xFF);
    play(ait.packet(true, {}, twoSections) + ait.section(anAit(3)));
    EXPECT_EQ(heard_.sections[aitPid].size(), 1u);
    EXPECT_FALSE(stream_.isSubscribed(aitPid));
}

TEST_F(TransportStreamTest, ASubscribedPmtPidStillServesTheServiceListAfterUnsubscribing)
{
    PacketWriter pat(0), pmt(0x50);
    feed(pat.section(makePat(1, 0, {{7, 0x50}})));
    stream_.subscribe(0x50);
    stream_.unsubscribe(0x50);
    play(pmt.section(makePmt(7, 0, {})));
    EXPECT_EQ(heard_.pmts.size(), 1u);
    EXPECT_TRUE(heard_.sections.empty());
}

TEST_F(TransportStreamTest, ASectionWithAWrongCrcIsDroppedAndCounted)
{
    PacketWriter ait(aitPid);
    stream_.subscribe(aitPid);
    Bytes wrong = anAit(1);
    wrong.back() ^= 1;
    play(ait.section(wrong) + ait.section(anAit(2)));
    ASSERT_EQ(heard_.sections[aitPid].size(), 1u);
    EXPECT_EQ(heard_.sections[aitPid][0], anAit(2));
    EXPECT_EQ(stream_.statistics().crcErrors, 1u);
    EXPECT_EQ(stream_.statistics().sections, 1u);
    expectLeftOut(LeftOutSection::Reason::WrongCrc, wrong);
}

TEST_F(TransportStreamTest, ASectionThatIsCutShortIsDroppedAndCounted)
{
    PacketWriter ait(aitPid);
    stream_.subscribe(aitPid);
    Bytes first = makeSection({0x74, 0x10, 7}, Bytes(400, 1));
    const Bytes next = anAit(2);
    // All of one packet and a part of the next one, after which another section begins.
    const Bytes begin(first.begin(), first.begin() + 183);
    const Bytes rest(first.begin() + 183, first.begin() + 203);
    feed(ait.packet(true, {}, Bytes{0} + begin));
    feed(ait.packet(true, {}, Bytes{20} + rest + next + Bytes(163 - next.size(), 0xFF)));
    play(ait.section(anAit(3)));
    ASSERT_EQ(heard_.sections[aitPid].size(), 2u);
    EXPECT_EQ(heard_.sections[aitPid][0], next);
    EXPECT_EQ(stream_.statistics().cutSections, 1u);
    EXPECT_EQ(stream_.statistics().crcErrors, 0u);
    expectLeftOut(LeftOutSection::Reason::CutShort, first);
}

TEST_F(TransportStreamTest, ASectionOfWhichAPacketIsMissingIsNotCutShort)
{
    PacketWriter ait(aitPid);
    stream_.subscribe(aitPid);
    Bytes packets = ait.section(makeSection({0x74, 0x10, 7}, Bytes(400, 1)));
    packets.resize(188);
    play(packets + ait.section(anAit(3)));
    EXPECT_EQ(heard_.sections[aitPid].size(), 1u);
    EXPECT_EQ(stream_.statistics().cutSections, 0u);
    EXPECT_EQ(heard_.leftOut[aitPid].size(), 0u);
    EXPECT_EQ(stream_.continuityErrors(), (std::map<uint16_t, uint64_t>{{aitPid, 1}}));
}

TEST_F(TransportStreamTest, ASectionThatAnnouncesMoreThanASectionHasIsDroppedAndCounted)
{
    PacketWriter ait(aitPid);
    stream_.subscribe(aitPid);
    Bytes tooLong = anAit(1);
    tooLong[1] = 0xFF;
    tooLong[2] = 0xFF;
    play(ait.section(tooLong) + ait.section(anAit(2)));
    EXPECT_EQ(heard_.sections[aitPid].size(), 1u);
    EXPECT_EQ(stream_.statistics().cutSections, 1u);
    ASSERT_EQ(heard_.leftOut[aitPid].size(), 1u);
    EXPECT_EQ(heard_.leftOut[aitPid][0].reason, LeftOutSection::Reason::TooLong);
    EXPECT_EQ(heard_.leftOut[aitPid][0].header, (Bytes{0x74, 0xFF, 0xFF}));
}

TEST_F(TransportStreamTest, ASectionWithoutCrcIsDroppedAndCounted)
{
    PacketWriter ait(aitPid);
    stream_.subscribe(aitPid);
    const Bytes shortForm = ByteWriter().u8(0x3C).u16(0x7000 | 20U).fill(20, 0);
    const Bytes tooShort = ByteWriter().u8(0x74).u16(0xB000 | 8U).fill(8, 0);
    const Bytes empty = ByteWriter().u8(0x74).u16(0xB000);
    play(ait.section(shortForm) + ait.section(tooShort) + ait.section(empty) +
         ait.section(anAit(2)));
    EXPECT_EQ(heard_.sections[aitPid].size(), 1u);
    EXPECT_GE(stream_.statistics().uncheckedSections, 1u);
    EXPECT_EQ(heard_.leftOut[aitPid].size(),
              stream_.statistics().uncheckedSections + stream_.statistics().crcErrors);
}

TEST_F(TransportStreamTest, ALostPacketCostsItsSectionAndNoOther)
{
    PacketWriter data(otherPid);
    stream_.subscribe(otherPid);
    const Bytes first = data.section(aLongSection(1));
    Bytes second = data.section(aLongSection(2));
    second.erase(second.begin() + 188, second.begin() + 2 * 188);
    play(first + second + data.section(aLongSection(3)));
    ASSERT_EQ(heard_.sections[otherPid].size(), 2u);
    EXPECT_EQ(heard_.sections[otherPid][1], aLongSection(3));
    EXPECT_EQ(stream_.statistics().continuityErrors, 1u);
}

TEST_F(TransportStreamTest, ARepeatedPacketIsLeftOut)
{
    PacketWriter data(otherPid);
    stream_.subscribe(otherPid);
    Bytes packets = data.section(aLongSection(1));
    const Bytes second(packets.begin() + 188, packets.begin() + 2 * 188);
    packets.insert(packets.begin() + 2 * 188, second.begin(), second.end());
    play(packets);
    ASSERT_EQ(heard_.sections[otherPid].size(), 1u);
    EXPECT_EQ(heard_.sections[otherPid][0], aLongSection(1));
    EXPECT_EQ(stream_.statistics().duplicatePackets, 1u);
    EXPECT_EQ(stream_.statistics().continuityErrors, 0u);
}

TEST_F(TransportStreamTest, SixteenLostPacketsAreNotTakenForARepetition)
{
    PacketWriter ait(aitPid);
    stream_.subscribe(aitPid);
    const Bytes before = ait.section(anAit(1));
    ait.skipCounter(15);
    play(before + ait.section(anAit(2)));
    EXPECT_EQ(heard_.sections[aitPid].size(), 2u);
}

TEST_F(TransportStreamTest, PacketsWithoutPayloadDoNotDisturbASection)
{
    PacketWriter data(otherPid);
    stream_.subscribe(otherPid);
    Bytes packets = data.section(aLongSection(1));
    const Bytes empty = data.packet(false, ByteWriter().fill(183, 0), {});
    // It repeats the counter of the packet before it.
    Bytes placed = empty;
    placed[3] = static_cast<unsigned char>((placed[3] & 0xF0) | (packets[188 + 3] & 0x0F));
    packets.insert(packets.begin() + 2 * 188, placed.begin(), placed.end());
    play(packets);
    EXPECT_EQ(heard_.sections[otherPid].size(), 1u);
    EXPECT_EQ(stream_.statistics().continuityErrors, 0u);
}

TEST_F(TransportStreamTest, ASignalledDiscontinuityIsNoError)
{
    PacketWriter ait(aitPid);
    stream_.subscribe(aitPid);
    const Bytes first = ait.section(anAit(1));
    ait.skipCounter(5);
    ByteWriter payload;
    payload.u8(0).add(anAit(2));
    payload.fill(182 - payload.bytes().size(), 0xFF);
    play(first + ait.packet(true, {0x80}, payload));
    EXPECT_EQ(heard_.sections[aitPid].size(), 2u);
    EXPECT_EQ(stream_.statistics().continuityErrors, 0u);
}

TEST_F(TransportStreamTest, ScrambledAndDamagedPacketsAreLeftOut)
{
    PacketWriter ait(aitPid);
    stream_.subscribe(aitPid);
    Bytes scrambled = ait.section(anAit(1));
    scrambled[3] |= 0x80;
    Bytes damaged = ait.section(anAit(2));
    damaged[1] |= 0x80;
    play(scrambled + damaged + ait.section(anAit(3)));
    ASSERT_EQ(heard_.sections[aitPid].size(), 1u);
    EXPECT_EQ(heard_.sections[aitPid][0], anAit(3));
    EXPECT_EQ(stream_.statistics().scrambledPackets, 1u);
    EXPECT_EQ(stream_.statistics().damagedPackets, 1u);
    EXPECT_EQ(stream_.statistics().packets, 3u);
}

TEST_F(TransportStreamTest, EveryPointerAndAdaptationFieldLengthIsSurvived)
{
    stream_.subscribe(aitPid);
    Bytes packets;
    for (unsigned value = 0; value < 256; ++value) {
        PacketWriter ait(aitPid);
        Bytes pointer = ait.packet(true, {}, ByteWriter().fill(184, 0x74));
        pointer[4] = static_cast<unsigned char>(value);
        Bytes adaptation = ait.packet(true, {0x10}, ByteWriter().fill(182, 0x74));
        adaptation[4] = static_cast<unsigned char>(value);
        feed(pointer + adaptation);
    }
    play(PacketWriter(aitPid).section(anAit(1)));
    EXPECT_EQ(stream_.statistics().packets, 513u);
    EXPECT_GT(stream_.statistics().damagedPackets, 72u);  // adaptation fields of 184 and more
    ASSERT_FALSE(heard_.sections[aitPid].empty());
    EXPECT_EQ(heard_.sections[aitPid].back(), anAit(1));
}

TEST_F(TransportStreamTest, ClockReferencesAreToldInTicksOf27Megahertz)
{
    PacketWriter video(0x100);
    // Base 0x123456789 and extension 299.
    const Bytes clock = {0x10, 0x91, 0xA2, 0xB3, 0xC4, 0xFF, 0x2B};
    const Bytes jump = {0x90, 0x00, 0x00, 0x00, 0x00, 0x7E, 0x00};
    play(video.packet(false, clock, ByteWriter().fill(176, 0)) +
         video.packet(false, jump, ByteWriter().fill(176, 1)));
    ASSERT_EQ(heard_.clocks.size(), 2u);
    EXPECT_EQ(heard_.clocks[0].pid, 0x100);
    EXPECT_EQ(heard_.clocks[0].ticks, 0x123456789ULL * 300 + 299);
    EXPECT_FALSE(heard_.clocks[0].discontinuity);
    EXPECT_EQ(heard_.clocks[1].ticks, 0u);
    EXPECT_TRUE(heard_.clocks[1].discontinuity);
}

TEST_F(TransportStreamTest, ARestartLosesNothingAndTellsNothingTwice)
{
    PacketWriter pat(0), ait(aitPid);
    stream_.subscribe(aitPid);
    const Bytes all = pat.section(makePat(1, 0, {{7, 0x50}})) + ait.section(anAit(1));
    play(all);
    stream_.restart();
    play(all);
    EXPECT_EQ(heard_.services.size(), 1u);
    EXPECT_EQ(heard_.sections[aitPid].size(), 2u);
    EXPECT_EQ(stream_.statistics().continuityErrors, 0u);
}

TEST_F(TransportStreamTest, PidsThatCannotBeAreNotSubscribed)
{
    stream_.subscribe(0x1FFF);
    stream_.subscribe(0xFFFF);
    EXPECT_FALSE(stream_.isSubscribed(0x1FFF));
    EXPECT_FALSE(stream_.isSubscribed(0xFFFF));
}

TEST_F(TransportStreamTest, BytesThatAreNoTransportStreamGiveAClearError)
{
    EXPECT_TRUE(stream_.error().empty());
    EXPECT_FALSE(stream_.feed(Bytes(300 * 1024, 0x20).data(), 300 * 1024));
    EXPECT_NE(stream_.error().find("not a transport stream"), std::string::npos);
    EXPECT_FALSE(stream_.finish());
}

TEST_F(TransportStreamTest, AnEmptyInputIsNoTransportStream)
{
    EXPECT_FALSE(stream_.finish());
    EXPECT_NE(stream_.error().find("not a transport stream"), std::string::npos);
}

}  // namespace
}  // namespace receiver
