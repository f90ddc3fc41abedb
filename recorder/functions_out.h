/// The recorder's functions in the place of the browser's and the platform's.
#ifndef VESTA_RECORDER_FUNCTIONS_OUT_H
#define VESTA_RECORDER_FUNCTIONS_OUT_H

#include <vector>

#include "recorder/relocation_slots.h"

namespace recorder {

/// One for each function that the library looks up and the process has.
/// @param library any address in it
std::vector<Replacement> replacementsFor(const void* library);

}  // namespace recorder

#endif
