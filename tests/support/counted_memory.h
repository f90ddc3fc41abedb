/// The memory that the test's integrator and platform hand to the library.
///
/// Test programs are linked with --wrap=free, so that every free() of the library is seen. Built
/// without it (benchmarks, fuzzers), nothing is counted.
#ifndef VESTA_TESTS_SUPPORT_COUNTED_MEMORY_H
#define VESTA_TESTS_SUPPORT_COUNTED_MEMORY_H

#include <cstddef>

namespace vesta::test {

/// malloc'ed, zeroed and counted until it is freed. Callable from any thread.
void* countedMalloc(size_t size);

/// A counted copy; null for null.
char* countedString(const char* text);

/// Counts a block that somebody else malloc'ed.
void* counted(void* block);

/// How many blocks have not been freed yet.
size_t outstandingBlocks();

}  // namespace vesta::test

#endif
