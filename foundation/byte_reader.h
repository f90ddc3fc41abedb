/// @file
/// The one place where a length read from the air meets the bytes that are really there.
#ifndef VESTA_FOUNDATION_BYTE_READER_H
#define VESTA_FOUNDATION_BYTE_READER_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace VestaHbbTV {

/// Reads big-endian fields from borrowed bytes. A read that does not fit yields 0, consumes what is
/// left and turns ok() false for good. Counts are compared, no pointer past the end is ever formed.
/// @thread{one at a time} @since 1.0
class ByteReader {
public:
    /// Has no bytes, and is ok().
    ByteReader() = default;

    /// Reads `count` bytes, fewer than 2^32.
    /// @param data borrowed while the reader and the readers taken from it live; null only with 0
    ByteReader(const unsigned char* data, size_t count)
        : data_(data), remaining_(static_cast<uint32_t>(count))
    {
    }

    /// Consumes one byte.
    uint8_t u8()
    {
        if (!has(1))
            return 0;
        --remaining_;
        return *data_++;
    }

    /// Consumes two bytes, the more significant one first.
    uint16_t u16()
    {
        if (!has(2))
            return 0;
        const unsigned value = (static_cast<unsigned>(data_[0]) << 8) | data_[1];
        advance(2);
        return static_cast<uint16_t>(value);
    }

    /// Consumes four bytes, the most significant one first.
    uint32_t u32()
    {
        if (!has(4))
            return 0;
        const uint32_t value = (static_cast<uint32_t>(data_[0]) << 24) |
                               (static_cast<uint32_t>(data_[1]) << 16) |
                               (static_cast<uint32_t>(data_[2]) << 8) | data_[3];
        advance(4);
        return value;
    }

    /// Consumes two bytes for their low 12 bits: the length fields of sections and loops.
    uint16_t length12() { return u16() & 0x0FFF; }

    /// Consumes `count` bytes as a reader of their own; an empty reader that is not ok() when they
    /// are not there.
    ByteReader take(size_t count)
    {
        if (!has(count)) {
            ByteReader none;
            none.ok_ = false;
            return none;
        }
        const ByteReader part(data_, count);
        advance(count);
        return part;
    }

    /// Consumes `count` bytes that nobody wants.
    void skip(size_t count)
    {
        if (has(count))
            advance(count);
    }

    /// Consumes `count` bytes as they stand; empty when they are not there.
    std::string text(size_t count)
    {
        const ByteReader part = take(count);
        return part.remaining_ == 0
                   ? std::string()
                   : std::string(reinterpret_cast<const char*>(part.data_), part.remaining_);
    }

    /// The next byte without consuming it; 0 when there is none.
    uint8_t peek() const { return remaining_ > 0 ? *data_ : uint8_t(0); }

    /// How many bytes are left.
    size_t remaining() const { return remaining_; }

    /// Whether no byte is left, be it that all were read or that a read did not fit.
    bool empty() const { return remaining_ == 0; }

    /// Whether every read so far fitted.
    bool ok() const { return ok_; }

    /// The next byte's address; only valid while remaining() is not 0.
    const unsigned char* data() const { return data_; }

private:
    bool has(size_t count)
    {
        if (count <= remaining_)
            return true;
        remaining_ = 0;
        ok_ = false;
        return false;
    }

    void advance(size_t count)
    {
        data_ += count;
        remaining_ -= static_cast<uint32_t>(count);
    }

    const unsigned char* data_ = nullptr;
    /// Not a size_t, so that a reader fits into two registers and is passed without the stack.
    uint32_t remaining_ = 0;
    bool ok_ = true;
};

}  // namespace VestaHbbTV

#endif
