/// What all descriptors of a table have in common: a tag, a length of one byte, a payload.
#ifndef VESTA_FOUNDATION_DESCRIPTOR_H
#define VESTA_FOUNDATION_DESCRIPTOR_H

#include <cstddef>
#include <string>

#include "foundation/byte_reader.h"

namespace VestaHbbTV {

/// Bytes that stand before a descriptor's payload: its tag and its length.
constexpr size_t descriptorHeaderSize = 2;

/// The payload of a descriptor of which only the start is known: its own length byte is trusted.
/// @param descriptor points at the tag; null gives an empty payload
inline ByteReader descriptorPayload(const unsigned char* descriptor)
{
    if (!descriptor)
        return ByteReader();
    return ByteReader(descriptor + descriptorHeaderSize, descriptor[1]);
}

/// Adds bytes to a text as they stand.
inline void append(std::string& text, ByteReader bytes)
{
    if (!bytes.empty())
        text.append(reinterpret_cast<const char*>(bytes.data()), bytes.remaining());
}

}  // namespace VestaHbbTV

#endif
