#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <thread>
#include <unistd.h>

#include "tests/receiver/support/datagram_sender.h"
#include "tests/receiver/support/played_session.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

const size_t chunks = 100;
const size_t packetsInChunk = 32;

Bytes nothing(size_t packets)
{
    Bytes bytes;
    for (size_t count = 0; count < packets; ++count)
        bytes = bytes + PacketWriter(0x1FFF).packet(false, {}, Bytes(184, 0xFF));
    return bytes;
}

/// A service, and then chunks of which each brings a section of its PID, or nothing.
class ChunkedStream {
public:
    explicit ChunkedStream(const Bytes& section)
    {
        std::ofstream file(path_, std::ios::binary);
        const auto write = [&file](const Bytes& bytes) {
            file.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
        };
        write(PacketWriter(0).section(makePat(1, 0, {{1, 0x100}})));
        write(PacketWriter(0x100).section(makePmt(1, 0, {{0x05, 0x200, {}}})));
        PacketWriter sections(0x200);
        for (size_t count = 0; count < chunks; ++count) {
            const Bytes packets = section.empty() ? Bytes() : sections.section(section);
            write(packets + nothing(packetsInChunk - packets.size() / 188));
        }
    }
    ~ChunkedStream() { std::filesystem::remove(path_); }

    std::string path() const { return path_; }

private:
    const std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("vesta-chunks-" + std::to_string(::getpid()));
};

TEST(Middleware, ChunksThatBringNothingAreNotHandedOver)
{
    const ChunkedStream stream({});
    PlayedSession played(stream.path());
    EXPECT_EQ(played.play({"wait end"}), exitSuccess);
    EXPECT_LT(played.doorbell().waits(), 10u);
}

TEST(Middleware, ChunksThatBringASectionAreEachWaitedFor)
{
    // Another type of table: the application manager does not get it, but the receiver may report
    // it.
    const Bytes section = makeSection({0x74, 0x0001}, {0xF0, 0, 0xF0, 0});
    const ChunkedStream stream(section);
    PlayedSession played(stream.path());
    EXPECT_EQ(played.play({"wait end"}), exitSuccess);
    EXPECT_GE(played.doorbell().waits(), chunks);
}

Bytes station()
{
    std::ifstream file(VESTA_SAMPLES "/station.ts", std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

/// An address of this machine that no other process uses.
std::string ownAddress()
{
    const auto process = static_cast<unsigned>(::getpid());
    return "127." + std::to_string(64 + ((process >> 16) & 0x3F)) + "." +
           std::to_string((process >> 8) & 0xFF) + "." + std::to_string(process & 0xFF);
}

/// Sends samples/station.ts to a session again and again, no faster than it is taken.
class StationOnAir {
public:
    static constexpr uint16_t port = 5004;

    explicit StationOnAir(PlayedSession& played, bool rtp)
        : middleware_(played.session().middleware()), rtp_(rtp), thread_([this] { run(); })
    {
    }
    ~StationOnAir()
    {
        stopping_ = true;
        thread_.join();
    }

private:
    void run()
    {
        const Bytes stream = station();
        const size_t size = size_t(7) * 188;
        while (!stopping_ && !middleware_.networkStatistics())
            std::this_thread::yield();
        const DatagramSender sender(ownAddress(), port);
        for (uint64_t sent = 0; !stopping_; ++sent) {
            while (!stopping_ && sent > middleware_.networkStatistics()->datagrams + 20)
                std::this_thread::yield();
            // With RTP the second of two comes first.
            const uint64_t number = rtp_ ? sent ^ 1 : sent;
            const auto begin =
                stream.begin() + std::ptrdiff_t(number % (stream.size() / size) * size);
            const Bytes payload(begin, begin + std::ptrdiff_t(size));
            sender.send(rtp_ ? rtpDatagram(unsigned(number + 65500) & 0xFFFF, payload) : payload);
        }
    }

    Middleware& middleware_;
    const bool rtp_;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

TEST(Middleware, AStreamFromTheNetworkStartsItsApplication)
{
    PlayedSession played("udp://" + ownAddress() + ":" + std::to_string(StationOnAir::port));
    {
        const StationOnAir station(played, false);
        EXPECT_EQ(played.play({"wait loaded", "zap 28112", "wait loaded", "status"}), exitSuccess)
            << played.problem();
    }
    EXPECT_TRUE(played.says("listening to " + ownAddress())) << played.output();
    EXPECT_TRUE(played.says("\nnetwork: ")) << "in the status\n" << played.output();
    EXPECT_TRUE(played.says("receiver  network: ")) << "at the end\n" << played.output();
    EXPECT_FALSE(played.says("RTP")) << played.output();
    EXPECT_FALSE(played.says("not whole")) << played.output();
    EXPECT_EQ(played.session().middleware().networkStatistics()->overflows, 0u);
}

TEST(Middleware, AStreamInRtpStartsItsApplicationThoughItsPacketsChangePlaces)
{
    PlayedSession played("rtp://@" + ownAddress() + ":" + std::to_string(StationOnAir::port));
    {
        const StationOnAir station(played, true);
        EXPECT_EQ(played.play({"wait loaded"}), exitSuccess) << played.problem();
    }
    const auto counts = played.session().middleware().networkStatistics();
    ASSERT_TRUE(counts);
    EXPECT_GT(counts->reordered, 0u);
    EXPECT_LE(counts->late, 1u) << "the one before the first";
    EXPECT_EQ(counts->lost, 0u);
    EXPECT_FALSE(played.says("not whole")) << played.output();
}

TEST(Middleware, AFollowedFileIsPlayedAsItGrowsAndFromItsBeginningWhenItGetsShorter)
{
    const auto path =
        std::filesystem::temp_directory_path() / ("vesta-growing-" + std::to_string(::getpid()));
    const Bytes stream = station();
    const size_t packets = stream.size() / 188;
    const auto append = [&path](const unsigned char* bytes, size_t count) {
        std::ofstream(path, std::ios::binary | std::ios::app)
            .write(reinterpret_cast<const char*>(bytes), std::streamsize(count));
    };
    const size_t first = packets / 2 * 188 + 100;
    append(stream.data(), first);
    PlayedSession played(path.string(), true);
    std::thread writer([&] {
        const Middleware& middleware = played.session().middleware();
        const auto waitForPackets = [&middleware](size_t wanted) {
            while (middleware.statistics().packets < wanted)
                std::this_thread::yield();
        };
        waitForPackets(packets / 2);
        append(stream.data() + first, stream.size() - first);
        waitForPackets(packets);
        append(stream.data(), 100);  // a packet that does not become whole
        std::filesystem::resize_file(path, 188 * 100);
        waitForPackets(packets + 100);
        played.session().quit();
    });
    EXPECT_EQ(played.play({"wait end within 600"}), exitSuccess) << played.problem();
    writer.join();
    std::filesystem::remove(path);
    EXPECT_TRUE(played.says("got shorter")) << played.output();
    EXPECT_TRUE(played.says("index.html: 336 bytes")) << played.output();
    EXPECT_FALSE(played.says("not whole")) << played.output();
}

}  // namespace
}  // namespace receiver
