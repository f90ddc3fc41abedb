/// @file
/// The version of the HbbTV application manager, in this one place. For C and C++.
///
/// Versions follow Semantic Versioning; the shared library's SONAME carries the major one.
#ifndef VESTA_HBBTV_VERSION_H
#define VESTA_HBBTV_VERSION_H

/// Another one: what was compiled before has to be compiled anew.
#define VESTA_HBBTV_VERSION_MAJOR 1
/// A later one: something was added.
#define VESTA_HBBTV_VERSION_MINOR 0
/// A later one: something was mended.
#define VESTA_HBBTV_VERSION_PATCH 0

/// Of the headers that a program was compiled with, as "1.0.0".
#define VESTA_HBBTV_VERSION                                                                        \
    VESTA_HBBTV_VERSION_TEXT_(VESTA_HBBTV_VERSION_MAJOR, VESTA_HBBTV_VERSION_MINOR,                \
                              VESTA_HBBTV_VERSION_PATCH)
/// @cond
#define VESTA_HBBTV_VERSION_TEXT_(major, minor, patch)                                             \
    VESTA_HBBTV_VERSION_QUOTED_(major)                                                             \
    "." VESTA_HBBTV_VERSION_QUOTED_(minor) "." VESTA_HBBTV_VERSION_QUOTED_(patch)
#define VESTA_HBBTV_VERSION_QUOTED_(number) #number
/// @endcond

/// Whether the headers are of this version or a later one, for the preprocessor.
#define VESTA_HBBTV_VERSION_AT_LEAST(major, minor, patch)                                          \
    (VESTA_HBBTV_VERSION_MAJOR > (major) ||                                                        \
     (VESTA_HBBTV_VERSION_MAJOR == (major) &&                                                      \
      (VESTA_HBBTV_VERSION_MINOR > (minor) ||                                                      \
       (VESTA_HBBTV_VERSION_MINOR == (minor) && VESTA_HBBTV_VERSION_PATCH >= (patch)))))

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/// The version of the library that runs, as "1.0.0"; any thread, at any time.
/// @return static; never null
/// @thread{any} @since 1.0
const char* vesta_hbbtv_version(void);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
