/// What all descriptors of a table have in common: a tag, a length of one byte, a payload.
#ifndef VESTA_SIGNALLING_DESCRIPTOR_H
#define VESTA_SIGNALLING_DESCRIPTOR_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "signalling/byte_reader.h"

namespace VestaHbbTV {

/// Bytes that stand before a descriptor's payload: its tag and its length.
constexpr size_t descriptorHeaderSize = 2;

/// transport_protocol_descriptor(): ETSI TS 102 809, 5.3.6. It stands in both loops of an AIT.
constexpr uint8_t transportProtocolTag = 0x02;

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
