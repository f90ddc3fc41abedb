/// What happens where memory runs out.
#ifndef VESTA_FOUNDATION_OUT_OF_MEMORY_H
#define VESTA_FOUNDATION_OUT_OF_MEMORY_H

#include <new>

#include "foundation/visibility.h"

namespace VestaHbbTV {

/// Writes an ERR line, if there is memory for that. Exported for the kit.
VESTA_EXPORTED void reportOutOfMemory() noexcept;

/// Runs the body of whatever must not fail for want of memory: every function that others call, so
/// that nothing is thrown at them, and every notice of an end, so that the end goes on without it.
/// What the body was doing is given up. Exceptions of others, such as a listener's, pass.
/// @param otherwise the result where memory ran out
template <typename Result, typename Body>
Result guarded(Result otherwise, Body&& body)
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        reportOutOfMemory();
        return otherwise;
    }
}

template <typename Body>
void guarded(Body&& body)
{
    guarded(true, [&body] {
        body();
        return true;
    });
}

/// A block of the C library that its owner frees; throws where there was no memory for it.
template <typename Block>
Block* allocated(Block* block)
{
    if (!block)
        throw std::bad_alloc();
    return block;
}

}  // namespace VestaHbbTV

#endif
