/// @file
/// Small helpers for the library and its integrator.
#ifndef VESTA_FOUNDATION_UTILITIES_H
#define VESTA_FOUNDATION_UTILITIES_H

#include <string>
#include <sys/time.h>

#include "foundation/visibility.h"

namespace VestaHbbTV {

/// The local time of day as "hh:mm:ss:uuuuuu" (u: microseconds).
/// @return one static buffer that every call overwrites: not to be kept, nor shared by threads
/// @thread{one at a time} @since 1.0
VESTA_EXPORTED const char* getFormattedTime();

/// Adds microseconds to a time and normalises it by truncating division, so that a negative sum
/// leaves a negative tv_usec. The sum is taken modulo 2^32.
/// @thread{any} @since 1.0
VESTA_EXPORTED void usec_increase(timeval& tv, int usec);

/// Whether the text is one or more of "0123456789abcdefABCDEF" and nothing else.
/// @thread{any} @since 1.0
VESTA_EXPORTED bool isHexadecimalNumberString(std::string text);

/// Whether the text ends with the suffix, case-sensitively; an empty suffix always matches.
/// @thread{any} @since 1.0
VESTA_EXPORTED bool endsWith(std::string text, std::string suffix);

/// A script's or the integrator's number as an int: truncated toward zero, held at the type's
/// limits, 0 for what is not a number.
/// @thread{any} @since 1.0
VESTA_EXPORTED int toInt(double number);

}  // namespace VestaHbbTV

#endif
