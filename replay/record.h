/// A record that was read from its file: lines that fit together, and the bytes that they name.
#ifndef VESTA_REPLAY_RECORD_H
#define VESTA_REPLAY_RECORD_H

#include <cstddef>
#include <cstdint>
#include <istream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "replay/bodies.h"

namespace replay {

using Json = nlohmann::ordered_json;

struct Line {
    enum class Kind { In, Out, End, Idle, StateBegin, StateEnd };
    Kind kind = Kind::Idle;
    size_t number = 0;   ///< in the file, from 1
    uint64_t step = 0;   ///< `n` of a call, and of its end; else 0
    std::string name;    ///< the function of a call, and of its end
    Json members;        ///< what a call says, or what it gave; an object
    uint64_t count = 0;  ///< of idle ticks
    bool threw = false;  ///< an end by an exception
};

/// Calls nest properly in it, and functions are known; the last calls may lack their ends, where
/// the recorded program crashed, or the record was full. What stands in `members` is not checked.
struct Record {
    Json head;
    std::vector<Line> lines;
    Bodies bodies;
    bool leavesOutQueries = false;
    /// The places of the calls that have no end, the outermost first: there the record is cut off.
    std::vector<size_t> open;
    bool isFull = false;      ///< it ends since it had its largest size
    bool isOfACrash = false;  ///< it is kept as one, and may be cut off
    std::string
        remark;  ///< of a last line that is none, for people; empty where all of them are whole
};

/// @param problem receives what is wrong, for people
std::optional<Record> readRecord(std::istream& input, std::string& problem);

}  // namespace replay

#endif
