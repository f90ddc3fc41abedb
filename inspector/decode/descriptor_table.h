/// Which descriptors are known, and how each is read.
#ifndef VESTA_INSPECTOR_DECODE_DESCRIPTOR_TABLE_H
#define VESTA_INSPECTOR_DECODE_DESCRIPTOR_TABLE_H

#include <cstdint>

#include "inspector/decode/field_reader.h"

namespace inspector {

struct DescriptorKind {
    uint8_t tag;
    const char* name;
    /// Reads the payload; null where the bytes are shown as they are.
    void (*decode)(FieldReader& payload, Node& into);
};

struct DescriptorTable {
    const DescriptorKind* begin;
    const DescriptorKind* end;
};

DescriptorTable aitDescriptors();
DescriptorTable otherDescriptors();

/// Of both: ETSI EN 300 468, 6.2.28.
void decodeParentalRating(FieldReader& payload, Node& into);
/// Of both: ETSI EN 300 468, 6.2.31.
void decodePrivateDataSpecifier(FieldReader& payload, Node& into);

}  // namespace inspector

#endif
