/// Finds a smaller record that fails as a whole one does.
#ifndef VESTA_REPLAY_SHRINK_H
#define VESTA_REPLAY_SHRINK_H

#include <functional>
#include <string>
#include <vector>

#include "replay/record.h"
#include "replay/record_writer.h"

namespace replay {

/// How the replay of a part of a record failed, or that it came where the record is cut off; empty
/// where it did neither.
using Failure = std::string;

struct Trial {
    Failure failure;
    size_t line = 0;  ///< place in the part's lines where it ended, as far as that is known
};

/// A small set of pieces, none of which can be left out alone or with some others, whose replay
/// fails as that of all of them does.
/// @param fails tries a part
std::vector<Piece> shrink(std::vector<Piece> pieces,
                          const std::function<bool(const std::vector<Piece>&)>& fails);

/// Those lines of a record, as a record: whole ones.
Record partOf(Record record, const std::vector<Piece>& pieces);

/// Replays a part in another process, so that a crash, or a library that does not come back,
/// is that process's.
/// @param play replays it; to be called there, and to fill in Progress::code and signature
Trial tryInAnotherProcess(const std::function<void()>& play);

}  // namespace replay

#endif
