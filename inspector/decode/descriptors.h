/// Descriptors by name, those of AITs and those of the other tables.
#ifndef VESTA_INSPECTOR_DECODE_DESCRIPTORS_H
#define VESTA_INSPECTOR_DECODE_DESCRIPTORS_H

#include <cstdint>
#include <string>

#include "inspector/decode/field_reader.h"
#include "inspector/decode/node.h"

namespace inspector {

/// In which tables tags mean what they mean.
enum class TagSpace {
    AIT,    ///< ETSI TS 102 809, 5.3; those of EN 300 468 that are used there
    Others  ///< ISO/IEC 13818-1 and -6, ETSI EN 300 468
};

/// Adds a loop's descriptors to an object, as a list of objects with `tag`, `descriptor` (the name;
/// "unknown"), `length` and the fields. Where the fields do not fit into the payload `malformed` is
/// set, and where anything is left of it or the descriptor is unknown `payload` has the bytes.
/// @return false where a descriptor leaves the loop: the list ends before it
bool decodeDescriptors(TagSpace space, FieldReader loop, Node& into, const char* listName);

/// "AUTOSTART"; empty for a number that means nothing.
std::string nameOfControlCode(uint64_t code);

/// "HbbTV"; empty for a type that is not known.
std::string nameOfApplicationType(uint64_t type);

}  // namespace inspector

#endif
