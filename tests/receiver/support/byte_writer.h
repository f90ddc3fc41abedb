/// Writes big-endian bytes for hand-made sections.
#ifndef VESTA_TESTS_RECEIVER_SUPPORT_BYTE_WRITER_H
#define VESTA_TESTS_RECEIVER_SUPPORT_BYTE_WRITER_H

#include <cstdint>
#include <string>
#include <vector>

namespace receiver {

using Bytes = std::vector<unsigned char>;

class ByteWriter {
public:
    ByteWriter& u8(unsigned value)
    {
        bytes_.push_back(static_cast<unsigned char>(value & 0xFF));
        return *this;
    }
    ByteWriter& u16(unsigned value) { return u8(value >> 8).u8(value); }
    ByteWriter& u32(uint32_t value) { return u16(value >> 16).u16(value & 0xFFFF); }
    ByteWriter& add(const Bytes& bytes)
    {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    ByteWriter& add(const std::string& text) { return add(Bytes(text.begin(), text.end())); }
    ByteWriter& fill(size_t count, unsigned value)
    {
        bytes_.resize(bytes_.size() + count, static_cast<unsigned char>(value));
        return *this;
    }
    /// Length fields in front of the bytes that they count.
    ByteWriter& with8(const Bytes& bytes) { return u8(unsigned(bytes.size())).add(bytes); }
    ByteWriter& with16(const Bytes& bytes) { return u16(unsigned(bytes.size())).add(bytes); }
    ByteWriter& with32(const Bytes& bytes) { return u32(uint32_t(bytes.size())).add(bytes); }
    ByteWriter& with8(const std::string& text) { return with8(Bytes(text.begin(), text.end())); }
    ByteWriter& with32(const std::string& text) { return with32(Bytes(text.begin(), text.end())); }

    const Bytes& bytes() const { return bytes_; }
    operator const Bytes&() const { return bytes_; }  // NOLINT: a writer stands for its bytes

private:
    Bytes bytes_;
};

}  // namespace receiver

#endif
