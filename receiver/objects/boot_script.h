/// The scripts that begin every document: what stands in scripts/, as one function.
#ifndef VESTA_RECEIVER_OBJECTS_BOOT_SCRIPT_H
#define VESTA_RECEIVER_OBJECTS_BOOT_SCRIPT_H

namespace receiver {

/// The source of a function. It takes a native function (one text in, one text out, both JSON) and
/// whether it runs in a page's main frame, and returns the function that takes the receiver's
/// events (JSON).
extern const char* const bootScript;

}  // namespace receiver

#endif
