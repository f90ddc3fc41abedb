/// Finds the packets of a transport stream in a run of bytes.
#ifndef VESTA_RECEIVER_STREAM_PACKET_FRAMER_H
#define VESTA_RECEIVER_STREAM_PACKET_FRAMER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace receiver {

/// Cuts bytes that arrive in pieces of any size into 188-byte packets (ISO/IEC 13818-1, 2.4.3.2).
/// Recordings with a 4-byte time stamp before each packet (192 bytes) or 16 bytes of error
/// correction after it (204 bytes) are recognised by the distance of their sync bytes. One thread.
class PacketFramer {
public:
    static constexpr size_t packetSize = 188;
    static constexpr unsigned char syncByte = 0x47;

    enum class State {
        Searching,           ///< no packet yet, or the place was lost and is looked for again
        Synchronised,        ///< the next packet's place is known
        NotATransportStream  ///< nothing like a packet where the stream should begin; final
    };

    /// Called for every packet, in order, within feed() and finish(); the 188 bytes are borrowed
    /// for the call. Must not call the framer.
    using PacketHandler = std::function<void(const unsigned char* packet)>;

    explicit PacketFramer(PacketHandler handler);

    /// Takes the next bytes of the stream. Ignored once the input proved to be something else.
    void feed(const unsigned char* bytes, size_t count);

    /// Says that no more bytes follow: short streams are recognised by what is there, and a last
    /// packet that is not whole is dropped. The next feed() begins a new stream.
    void finish();

    /// What came last does not go on: a packet that is not whole is dropped.
    void restart();

    State state() const { return state_; }

    /// Bytes that belonged to no packet, other than the extra bytes of 192 and 204.
    uint64_t skippedBytes() const { return skippedBytes_; }

    /// How often a sync byte was not where it had to be.
    uint64_t syncLosses() const { return syncLosses_; }

private:
    void process(bool atEnd);
    bool search(bool atEnd);
    bool takePacket();
    size_t distanceOfPacketsAt(size_t offset, bool atEnd) const;
    bool packetsFollow(size_t offset, size_t distance, bool atEnd) const;
    void synchroniseAt(size_t offset, size_t distance);
    void skipTo(size_t offset);
    void discardConsumedBytes();

    PacketHandler handler_;
    std::vector<unsigned char> buffer_;
    size_t position_ = 0;  // of the next packet or search; may lie beyond the bytes received
    size_t distance_ = 0;
    State state_ = State::Searching;
    bool everSynchronised_ = false;
    uint64_t skippedBytes_ = 0;
    uint64_t skippedInSearch_ = 0;
    uint64_t syncLosses_ = 0;
};

}  // namespace receiver

#endif
