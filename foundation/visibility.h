/// @file
/// What the shared library exports: of its own names those that say so here, and of the classes
/// that do all but the members that take it back. The public headers export what they declare.
#ifndef VESTA_FOUNDATION_VISIBILITY_H
#define VESTA_FOUNDATION_VISIBILITY_H

/// Of a class or a function: users of the shared library find it.
#define VESTA_EXPORTED __attribute__((visibility("default")))

/// Of a member of such a class: they do not find it.
#define VESTA_HIDDEN __attribute__((visibility("hidden")))

#endif
