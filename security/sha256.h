/// @file
/// A hasher, to name cached files for example.
#ifndef VESTA_SECURITY_SHA256_H
#define VESTA_SECURITY_SHA256_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "foundation/visibility.h"

/// An incremental SHA-256 hasher (FIPS 180-4), offered to the integration, for example to name
/// cached files. All state lies in the object, so that copies go on independently of each other.
/// Nothing is allocated but the text of getResultString().
///
/// Read the result once and call reset() before hashing something else: every result() and
/// getResultString() pads and compresses again, so a second one without reset() differs.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED SHA256 {
public:
    /// Ready to hash, as after reset().
    SHA256();

    /// Forgets everything fed so far and starts a new message.
    void reset();

    /// Feeds bytes to the message. Whole blocks are hashed straight from the caller's memory.
    /// @param data borrowed for the duration of the call. Null does nothing, whatever the length.
    /// @param length in bytes; 0 does nothing.
    void input(const char* data, unsigned int length);

    /// Feeds one byte to the message.
    void input(char c);

    /// Feeds the characters of a text, without its terminator.
    /// @param text NUL-terminated, borrowed for the duration of the call. Null feeds nothing.
    /// @return this hasher, for chaining.
    SHA256& operator<<(const char* text);

    /// Compresses the 64 bytes of the block buffer as they stand into the hash words and empties
    /// the buffer. input() and pad() call it for each block; the message length does not change.
    /// Called on a partly filled buffer, it takes the bytes after the filled part as the message's
    /// previous block or the padding left them (zeros in a hasher that has not seen that many).
    void digest();

    /// Appends the standard's final padding (a one bit, zeros, the message length in bits as 64-bit
    /// big-endian) and compresses the last block or two.
    void pad();

    /// Pads, then copies the hash out. Call reset() before hashing something else.
    /// @param out receives eight words in the machine's byte order, the most significant word of
    ///        the hash first. Null does nothing: the message is not padded either.
    void result(unsigned int* out);

    /// Pads, then formats the hash.
    /// @return 64 lowercase hexadecimal digits.
    std::string getResultString();

private:
    static constexpr std::size_t blockSize = 64;

    VESTA_HIDDEN void append(const unsigned char* data, std::size_t length);
    VESTA_HIDDEN void countBits(std::size_t bytes);
    VESTA_HIDDEN void fillWithZerosTo(std::size_t end);

    // The order is part of the interface.
    std::uint32_t lengthHigh_ = 0;  // of the message in bits, with lengthLow_
    std::uint32_t lengthLow_ = 0;
    std::uint32_t hash_[8] = {};
    int buffered_ = 0;  // bytes of the current block in buffer_
    // Behind the buffered bytes lie those of the block before, whether it came through the buffer
    // or straight from the caller: digest() shows them.
    unsigned char buffer_[blockSize] = {};
    // Deliberate: nothing ever sets it, so every result() pads and compresses again.
    bool computed_ = false;
};

#endif
