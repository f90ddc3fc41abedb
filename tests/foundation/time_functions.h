/// What the functions of the time are called that the linker wraps for the tests. With 64-bit times
/// on a 32-bit processor the C library has them under names of their own.
#ifndef VESTA_TESTS_FOUNDATION_TIME_FUNCTIONS_H
#define VESTA_TESTS_FOUNDATION_TIME_FUNCTIONS_H

#if defined(_TIME_BITS) && _TIME_BITS == 64 && __SIZEOF_LONG__ == 4
#define VESTA_TIME_FUNCTION(prefix, name) prefix##__##name##64
#else
#define VESTA_TIME_FUNCTION(prefix, name) prefix##name
#endif

#endif
