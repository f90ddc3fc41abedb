/// Which sanitizers watch the program: VESTA_ADDRESS_SANITIZER and VESTA_THREAD_SANITIZER are 1 or
/// 0.
#ifndef VESTA_FOUNDATION_SANITIZERS_H
#define VESTA_FOUNDATION_SANITIZERS_H

// g++ defines a macro for each; clang++ has a question for them.
#ifdef __has_feature
#define VESTA_HAS_FEATURE(name) __has_feature(name)
#else
#define VESTA_HAS_FEATURE(name) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || VESTA_HAS_FEATURE(address_sanitizer)
#define VESTA_ADDRESS_SANITIZER 1
#else
#define VESTA_ADDRESS_SANITIZER 0
#endif

#if defined(__SANITIZE_THREAD__) || VESTA_HAS_FEATURE(thread_sanitizer)
#define VESTA_THREAD_SANITIZER 1
#else
#define VESTA_THREAD_SANITIZER 0
#endif

#undef VESTA_HAS_FEATURE

#endif
