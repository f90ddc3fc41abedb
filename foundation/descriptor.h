/// @file
/// What all descriptors of a table have in common: a tag, a length of one byte, a payload.
#ifndef VESTA_FOUNDATION_DESCRIPTOR_H
#define VESTA_FOUNDATION_DESCRIPTOR_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "foundation/byte_reader.h"

namespace VestaHbbTV {

/// Bytes that stand before a descriptor's payload: its tag and its length. @since 1.0
constexpr size_t descriptorHeaderSize = 2;

/// The payload of a descriptor of which only the start is known: its own length byte is trusted.
/// @param descriptor points at the tag; null gives an empty payload
/// @return reads the payload where it stands, so the descriptor is borrowed while the reader lives
/// @thread{any} @since 1.0
inline ByteReader descriptorPayload(const unsigned char* descriptor)
{
    if (!descriptor)
        return ByteReader();
    return ByteReader(descriptor + descriptorHeaderSize, descriptor[1]);
}

/// Walks a loop of descriptors, in their order.
/// @param visit called with tag, payload and all that the loop holds from the descriptor's tag on;
///        false ends the walk
/// @return false where the walk was ended or a descriptor leaves the loop
/// @thread{any} @since 1.0
template <typename Visit>
bool forEachDescriptor(ByteReader loop, Visit visit)
{
    while (!loop.empty()) {
        const ByteReader toLoopEnd = loop;
        const uint8_t tag = loop.u8();
        const uint8_t length = loop.u8();
        const ByteReader payload = loop.take(length);
        if (!loop.ok() || !visit(tag, payload, toLoopEnd))
            return false;
    }
    return true;
}

/// Adds bytes to a text as they stand.
/// @param bytes all that are left in it; none changes nothing
/// @thread{any} @since 1.0
inline void append(std::string& text, ByteReader bytes)
{
    if (!bytes.empty())
        text.append(reinterpret_cast<const char*>(bytes.data()), bytes.remaining());
}

}  // namespace VestaHbbTV

#endif
