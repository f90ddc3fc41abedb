/// What the shared library exports: of its own names those that say so here, and of the classes
/// that do all but the members that take it back. The public headers export what they declare.
#ifndef VESTA_FOUNDATION_VISIBILITY_H
#define VESTA_FOUNDATION_VISIBILITY_H

#define VESTA_EXPORTED __attribute__((visibility("default")))
#define VESTA_HIDDEN __attribute__((visibility("hidden")))

#endif
