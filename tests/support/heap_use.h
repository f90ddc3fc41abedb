/// How much of the heap is in use.
#ifndef VESTA_TESTS_SUPPORT_HEAP_USE_H
#define VESTA_TESTS_SUPPORT_HEAP_USE_H

#include <cstddef>
#include <malloc.h>

namespace vesta::test {

/// Bytes of all blocks that are in use, with what the allocator needs for each of them.
inline size_t heapInUse()
{
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

}  // namespace vesta::test

#endif
