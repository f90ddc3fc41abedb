/// Writes big-endian bytes.
#ifndef VESTA_STATION_BYTES_BYTE_WRITER_H
#define VESTA_STATION_BYTES_BYTE_WRITER_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace station {

using Bytes = std::vector<unsigned char>;

/// More than a length field, or a number, can count.
class TooLong : public std::length_error {
public:
    explicit TooLong(size_t size, size_t limit)
        : std::length_error(std::to_string(size) + " where " + std::to_string(limit) +
                            " are the most")
    {
    }
};

/// @return the size @throws TooLong
inline unsigned checkedSize(size_t size, size_t limit)
{
    if (size > limit)
        throw TooLong(size, limit);
    return static_cast<unsigned>(size);
}

class ByteWriter {
public:
    ByteWriter& u8(unsigned value)
    {
        bytes_.push_back(static_cast<unsigned char>(value & 0xFF));
        return *this;
    }
    ByteWriter& u16(unsigned value) { return u8(value >> 8).u8(value); }
    ByteWriter& u24(uint32_t value) { return u8(value >> 16).u16(value & 0xFFFF); }
    ByteWriter& u32(uint32_t value) { return u16(value >> 16).u16(value & 0xFFFF); }
    ByteWriter& add(const Bytes& bytes)
    {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    ByteWriter& add(const std::string& text)
    {
        bytes_.insert(bytes_.end(), text.begin(), text.end());
        return *this;
    }
    ByteWriter& fill(size_t count, unsigned value)
    {
        bytes_.resize(bytes_.size() + count, static_cast<unsigned char>(value));
        return *this;
    }
    /// Length fields in front of the bytes that they count. @throws TooLong
    ByteWriter& with8(const Bytes& bytes) { return u8(checkedSize(bytes.size(), 0xFF)).add(bytes); }
    ByteWriter& with16(const Bytes& bytes)
    {
        return u16(checkedSize(bytes.size(), 0xFFFF)).add(bytes);
    }
    ByteWriter& with32(const Bytes& bytes) { return u32(uint32_t(bytes.size())).add(bytes); }
    ByteWriter& with8(const std::string& text) { return with8(Bytes(text.begin(), text.end())); }
    ByteWriter& with32(const std::string& text) { return with32(Bytes(text.begin(), text.end())); }
    /// A length of 12 bits, with what stands in the four bits before it.
    ByteWriter& with12(unsigned upperBits, const Bytes& bytes)
    {
        return u16((upperBits << 12) | checkedSize(bytes.size(), 0xFFF)).add(bytes);
    }

    size_t size() const { return bytes_.size(); }
    const Bytes& bytes() const { return bytes_; }
    operator const Bytes&() const { return bytes_; }  // NOLINT: a writer stands for its bytes

private:
    Bytes bytes_;
};

}  // namespace station

#endif
