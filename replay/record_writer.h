/// Writes a record, or a part of it.
#ifndef VESTA_REPLAY_RECORD_WRITER_H
#define VESTA_REPLAY_RECORD_WRITER_H

#include <ostream>
#include <vector>

#include "replay/record.h"

namespace replay {

/// What belongs together: a call of the integrator's with all that came of it, idle ticks, or a
/// whole state.
struct Piece {
    size_t begin;  ///< places in the record's lines
    size_t end;
};

std::vector<Piece> piecesOf(const Record& record);

/// Those that have ended before that step.
std::vector<Piece> piecesBefore(const Record& record, uint64_t step);

/// Those lines, and the bytes that they name, without times and threads: they do not matter to a
/// replay, and the same record is the same text.
void writeRecord(std::ostream& output, const Record& record, const std::vector<Piece>& pieces);

}  // namespace replay

#endif
