#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

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

}  // namespace
}  // namespace receiver
