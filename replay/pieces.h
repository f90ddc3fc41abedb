/// Files are read at once, and handed on to the browser in pieces.
#ifndef VESTA_REPLAY_PIECES_H
#define VESTA_REPLAY_PIECES_H

#include <cstddef>
#include <vector>

#include "replay/bodies.h"

namespace replay {

/// How far the library has handed on what it has read.
class Pieces {
public:
    /// The library reads this, which has to outlive the pieces: they go on from its first byte.
    void begin(const Body& body);

    /// Whether these are the next bytes of something that was read; they are handed on then.
    bool goOnWith(const void* bytes, size_t length);

private:
    struct Rest {
        const Body* body;
        size_t place;
    };
    std::vector<Rest> rests_;  ///< the one that was read last at the end
};

}  // namespace replay

#endif
