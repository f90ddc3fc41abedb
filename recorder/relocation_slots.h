/// Functions in the place of those that a loaded object looks up by their names.
#ifndef VESTA_RECORDER_RELOCATION_SLOTS_H
#define VESTA_RECORDER_RELOCATION_SLOTS_H

#include <vector>

namespace recorder {

struct Replacement {
    const char* name;
    void* function;  ///< called in its place
};

/// Writes the replacements into the slots through which one object calls functions that it may not
/// define itself, or takes their addresses. A definition that comes before every other in the
/// look-up (the program's own, say) is replaced like that, which no library could do by its order.
/// @param inside any address of the object
/// @return false where a slot cannot be written, or the processor's slots are not known
bool replaceInSlots(const void* inside, const std::vector<Replacement>& replacements);

}  // namespace recorder

#endif
