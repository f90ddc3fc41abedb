/// What came before it was known which PIDs matter.
#ifndef VESTA_RECEIVER_STREAM_EARLY_PACKETS_H
#define VESTA_RECEIVER_STREAM_EARLY_PACKETS_H

#include <cstddef>
#include <vector>

namespace receiver {

/// Keeps the latest packets of a stream, so that a capture of one carousel cycle that begins with
/// blocks and not with tables comes out whole.
class EarlyPackets {
public:
    /// Tables come at least twice a second: so much is more than goes by meanwhile.
    static constexpr size_t mostBytes = size_t(8) << 20;

    /// @param packet 188 bytes, copied
    void add(const unsigned char* packet);

    /// @return the packets one behind the other, in order; nothing is kept from here on
    std::vector<unsigned char> takeAll();

private:
    std::vector<unsigned char> bytes_;
    bool isKeeping_ = true;
};

}  // namespace receiver

#endif
